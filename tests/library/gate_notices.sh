#!/bin/sh
# Whether the interface gate notices what it is there for: compares LIBRARY with references that differ from it in one
# respect each. 0: every difference is told.
#
# usage: gate_notices.sh TOOLS_ABI_DIRECTORY LIBRARY
set -eu
gate=$1
library=$2
temporary=$(mktemp -d)
trap 'rm -rf "$temporary"' EXIT
cp "$gate"/* "$temporary"
"$temporary/check-abi" "$library" --write >/dev/null
for made in "$temporary"/*.abi; do
  cmp -s "$made" "$gate/$(basename "$made")" || reference=$made
done
reference=${reference:-$(ls -t "$temporary"/*.abi | head -n 1)}
cp "$reference" "$temporary/whole"
missed=0

# notices NAME SED_SCRIPT WORD: what the gate says about a reference changed in this way contains WORD
notices() {
  sed -E "$2" "$temporary/whole" >"$reference"
  if cmp -s "$temporary/whole" "$reference"; then
    echo "$1: the reference could not be changed"
    missed=1
  elif "$temporary/check-abi" "$library" >"$temporary/told" 2>&1 || [ $? -ne 1 ]; then
    echo "$1: not noticed"
    missed=1
  elif ! grep -q "$3" "$temporary/told"; then
    echo "$1: expected '$3' to be told, found:"
    cat "$temporary/told"
    missed=1
  fi
}

notices "a removed symbol" \
  "s|^( *)<elf-symbol name='createInstance'(.*)|&\n\1<elf-symbol name='createAnother'\2|" createAnother
notices "an added symbol" "/<elf-symbol name='gLogLevel'/d" gLogLevel
notices "a moved entry" \
  "/name='RegisterSensorMonitor'/,/vtable-offset/ b; s/vtable-offset='5'/vtable-offset='6'/" "vtable"
notices "a changed member" \
  "/class-decl name='CalcOISValueInput'/,/class-decl>/ s/(layout-offset-in-bits=)'320'/\1'328'/" "offset changed"
notices "a larger class" "s/(class-decl name='VeyraShadingUtil' size-in-bits=)'[0-9]+'/\1'2048'/" "size changed"
notices "another value of an enumerator" \
  "s/(enumerator name='kShadingCapture' value=)'1'/\1'2'/" "kShadingCapture"
exit $missed
