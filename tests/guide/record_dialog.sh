#!/usr/bin/env bash
# record_dialog.sh PROGRAMS DATA: prints what a user sees who changes a profile of two folders of address files in the
# message service dialog: the real programs on a terminal, typed into whenever they wait. Folders are shown as Ada's.
set -euo pipefail
programs=$(realpath "$1") data=$(realpath "$2")
root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT
export XDG_CONFIG_HOME=$root/config PATH=$programs:$PATH
cd "$root"
mkdir Phones Office Clients
cp "$data/phone.vcf" Phones/
cp "$data/office.vcf" Office/
cp "$data/mail.vcf" Clients/
keluab profile create Fax >log
for folder in Phones Office; do
  keluab service add VCard --text "$root/$folder" --profile Fax >>log
done
keluab profile default Fax >>log

# Types each line at a prompt of its own, "> " or "...]: ": the n-th when n of them are on the screen.
type_lines() {
  local line count=0
  for line in "$@"; do
    count=$((count + 1))
    while [ "$(grep -aoE '^> |\]: ' seen | wc -l)" -lt $count ]; do sleep 0.05; done
    printf '%s\n' "$line"
  done
}
: >seen
type_lines 'select 2' 'press configure' "$root/Clients" ok |
  timeout 30 script --quiet --flush --return --command 'keluab profile configure Fax' seen >log

{
  echo '$ keluab profile configure Fax'
  tr -d '\r' <seen | sed '/^Script \(started\|done\)/d'
  echo '$ keluab tree'
  keluab tree
} | sed "s|$root|/home/ada|g"
