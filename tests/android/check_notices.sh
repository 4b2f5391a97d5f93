#!/bin/sh
# Puts one difference at a time into copies of the build files; the check is to tell each of them.
#
# usage: check_notices.sh CHECK TREE
set -eu
check=$1
tree=$2
copy=$(mktemp -d)
trap 'rm -rf "$copy"' EXIT

# notices FILE EDIT TOLD: the edit, as a script of sed, and what is to be told then.
notices() {
  for file in Android.bp lsc/CMakeLists.txt cmake/Hardening.cmake capture/CMakeLists.txt platform/desktop/CMakeLists.txt; do
    mkdir -p "$copy/$(dirname "$file")"
    cp "$tree/$file" "$copy/$file"
  done
  sed -i "$2" "$copy/$1"
  ! cmp -s "$tree/$1" "$copy/$1" || { echo "$2: changes nothing in $1"; exit 1; }
  status=0
  told=$("$check" "$copy") || status=$?
  case $status:$told in
    1:*"$3"*) ;;
    *) echo "$2 in $1: expected 1 and '$3', found $status and '$told'"; exit 1 ;;
  esac
}

notices Android.bp '/HallDump.cpp/d' 'sources of lsc/CMakeLists.txt that Android.bp lacks: ois/HallDump.cpp'
notices Android.bp 's/"-Os"/"-O1"/' 'flags of Android.bp that lsc/CMakeLists.txt lacks: -O1'
notices Android.bp '/-mbranch/d' 'flags of lsc/CMakeLists.txt that Android.bp lacks: -mbranch-protection=standard'
notices Android.bp 's/"liblog"/"libslog"/' 'libraries of Android.bp that lsc/CMakeLists.txt lacks: libslog'
notices Android.bp '/version_script/d' 'expected the version script'
notices cmake/Hardening.cmake 's/-Wl,-z,now/-Wl,-z,lazy/' 'flags of lsc/CMakeLists.txt that Android.bp lacks: -Wl,-z,lazy'
notices lsc/CMakeLists.txt 's/^  ReadoutMatch.cpp sensor/  sensor/; s/ois\/ReadoutMatch.cpp sensor/sensor/' \
  'sources built for speed'
notices Android.bp '/RecordingFiles.cpp/d' 'sources of shadingtap of capture/CMakeLists.txt that Android.bp lacks: RecordingFiles.cpp'
notices Android.bp '/-z,nodelete/d' 'link options of taps of capture/CMakeLists.txt that Android.bp lacks: -Wl,-z,nodelete'
echo "every difference is told"
