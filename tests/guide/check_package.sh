#!/usr/bin/env bash
# check_package.sh BUILD CMAKE CPACK linux|windows COMPILER FLAGS...: packs what was built, unpacks it elsewhere, and
# builds and runs the guides' programs against it, by find_package and by pkg-config, outside of the source tree.
set -euo pipefail
build=$1 cmake=$2 cpack=$3 system=$4 compiler=$5
shift 5
flags=("$@")
tests=$(cd "$(dirname "$0")" && pwd)
root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT
cd "$root"

suffix=.so library=lib/keluab/KELUAB.so extension='' archive='*-linux-x86_64.tar.gz' emulator=''
files='lib/keluab/KELUAB.so lib/keluab/KELUAB.ini lib/keluab/vcard.so bin/keluab'
configure=("-DCMAKE_PREFIX_PATH=$root/moved") link=()
if [ "$system" = windows ]; then
  suffix=.dll library=bin/KELUAB.dll extension=.exe archive='*-windows-x86_64.zip' emulator=wine
  files='bin/KELUAB.dll bin/KELUAB.ini bin/vcard.dll bin/keluab.exe bin/dialog-host.exe lib/KELUAB.lib'
  # The tool chain looks for packages in its own folders only.
  configure=("-DKELUAB_DIR=$root/moved/lib/cmake/KELUAB" "-DCMAKE_TOOLCHAIN_FILE=$tests/../../cmake/mingw-w64.cmake")
  link=(-static)
fi
files+=' include/keluab/keluab.h lib/pkgconfig/keluab.pc share/doc/KELUAB/host-guide.md share/doc/KELUAB/provider-guide.md'

"$cpack" --config "$build/CPackConfig.cmake" -B packed >log || { cat log; exit 1; }
"$cmake" -E tar xf packed/$archive
mv KELUAB-*/ moved
for file in $files; do
  [ -s "moved/$file" ] || { echo "missing: $file"; exit 1; }
done
if [ -e "$build/bin/KELUAB$suffix.debug" ]; then
  [ ! -e "moved/$library.debug" ] || { echo "the symbols are in the archive of the library"; exit 1; }
  "$cmake" -E tar xf packed/*-symbols.*
  cmp KELUAB-*/"$library.debug" "$build/bin/KELUAB$suffix.debug"
fi
if grep -rIl "$build" moved; then
  echo "these name the build's folder"
  exit 1
fi

# The host of the package works where it was unpacked.
export XDG_CONFIG_HOME=$root/config
$emulator "moved/bin/keluab$extension" --help >log || { cat log; exit 1; }

cp -r moved/share/doc/KELUAB/examples/guide source
"$cmake" -S source -B by-cmake -G Ninja -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_COMPILER="$compiler" \
  -DCMAKE_CXX_FLAGS="${flags[*]}" "${configure[@]}" >log 2>&1 && "$cmake" --build by-cmake >>log 2>&1 ||
  { cat log; exit 1; }

mkdir by-pkg-config
export PKG_CONFIG_LIBDIR=$root/moved/lib/pkgconfig
for host in host_profiles host_session; do
  # shellcheck disable=SC2046  # words are what is asked for
  "$compiler" "${flags[@]}" -std=c++17 source/$host.cpp -o by-pkg-config/$host$extension "${link[@]}" \
    $(pkg-config --cflags --libs keluab)
done

# A provider is added by putting it beside the library and naming it in the definition file.
cp by-cmake/minimal_provider$suffix "moved/$(dirname $library)/"
definitions=moved/$(dirname $library)/KELUAB.ini
sed -i 's/^\[Services\]$/&\nMinimal = People/' "$definitions"
printf '\n[Minimal]\nPR_DISPLAY_NAME = People\nPR_SERVICE_DLL_NAME = minimal_provider%s\n' $suffix >>"$definitions"
printf 'PR_SERVICE_ENTRY_NAME = MinimalServiceEntry\n' >>"$definitions"

run() {  # folder: its hosts over the guide's provider; on Windows they lie beside the library
  local programs=$root/$1
  if [ "$system" = windows ]; then
    programs=$root/moved/bin
    cp "$1"/*.exe "$programs"
  fi
  "$cmake" -DPROGRAMS="$programs" -DLIBRARY="$root/moved/$library" -DEMULATOR=$emulator -DSUFFIX=$suffix -DDIALOG=OFF \
    -P "$tests/run_guide.cmake"
}
run by-cmake
cp by-cmake/host_load$extension by-pkg-config
run by-pkg-config
