#!/usr/bin/env bash
# run_session.sh SESSION PROGRAM CMAKE DATA LIBRARY_SUFFIX [EMULATOR]: runs the commands of a session, as they are typed
# in a terminal, and compares what they print with what the session shows. One session serves both systems.
#   $ COMMAND    bash, where keluab is the program; its two outputs follow, and "[exit N]" unless it is 0
#   % COMMAND    the same where dialogs are held in the terminal
#   # ...        a remark
# Identifiers are shown as <id>, the folder of the session as <here>; empty lines are left out. An escape sequence, or JSON that is none, fails.
set -uo pipefail
session=$(realpath "$1") program=$2 cmake=$3 data=$4 suffix=$5
emulator=("${@:6}")
here=$(mktemp -d)
trap 'rm -rf "$here"' EXIT
export XDG_CONFIG_HOME=$here/config XDG_DATA_HOME=$here/data LC_ALL=C.UTF-8
mkdir "$here/Phones" "$here/Office"
cp "$data/phone.vcf" "$data/mail.vcf" "$here/Phones/"
cp "$data/office.vcf" "$here/Office/"
cd "$here" || exit 1

# The key of a session is its own: on Windows all sessions share one registry.
keluab() {
  "${emulator[@]}" "$program" --app-key "keluab-test-$$" "$@"
}

# Prints what the program printed when that is JSON: an array or an object.
json() {
  local text
  text=$(cat)
  printf 'string(JSON kind TYPE "${TEXT}")\nif(NOT kind MATCHES "ARRAY|OBJECT")\n message(FATAL_ERROR no)\nendif()\n' >json.cmake
  if "$cmake" "-DTEXT=$text" -P json.cmake 2>/dev/null; then printf '%s\n' "$text"; else printf 'not JSON: %s\n' "$text"; fi
}

plain() {
  sed -E -e 's/\r$//' -e 's/ +$//' -e '/^$/d' -e 's/[0-9a-f]{32,}/<id>/g' -e "s#([A-Z]:)?${here//\//[\\\\/]}#<here>#g" \
    -e '/<here>/s#\\#/#g' -e "s/(vcard|minimal_provider)\\$suffix/\\1.so/g"
}

expected=$here/expected actual=$here/actual
: >"$expected"
: >"$actual"
skipped=
while IFS= read -r line; do
  case $line in
    '#'* | '') continue ;;
    '% '* | '$ '*) skipped= ;;
  esac
  [[ $line == '% '* && ${#emulator[@]} -gt 0 ]] && skipped=1
  [ -n "$skipped" ] && continue
  printf '%s\n' "$line" >>"$expected"
  [[ $line == '% '* || $line == '$ '* ]] || continue
  printf '%s\n' "$line" >>"$actual"
  eval "${line:2}" >output 2>&1 </dev/null
  result=$?
  plain <output >>"$actual"
  [ $result = 0 ] || printf '[exit %s]\n' $result >>"$actual"
done <"$session"

if grep -q $'\x1b' "$actual"; then
  echo "an escape sequence in an output that is no terminal"
  exit 1
fi
[ "$(grep -c '^[$%] ' "$actual")" -gt 20 ] && diff -u "$expected" "$actual"
