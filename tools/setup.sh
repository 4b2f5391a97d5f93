#!/bin/sh
# Installs what is missing of the Debian packages that the given lists name (tools/packages-*.txt), as root; without root
# it prints the one line to run and ends with 1. Without dpkg it names them all, as nothing tells what is missing.
set -eu
here=$(dirname "$0")
if ! command -v dpkg-query >/dev/null; then
  echo "No dpkg to ask: this needs what Debian has in $(for list in "$@"; do
    sed 's/ *#.*//; /^$/d' "$here/packages-$list.txt"; done | tr '\n' ' ')"
  exit 0
fi
missing=
for list in "$@"; do
  for package in $(sed 's/#.*//' "$here/packages-$list.txt"); do
    # One line for each architecture that has it: the package's own after a colon, or else this machine's.
    case $package in *:*) architecture=${package##*:} ;; *) architecture=$(dpkg --print-architecture) ;; esac
    dpkg-query -W -f='${Architecture} ${db:Status-Status}\n' "$package" 2>/dev/null |
      grep -qxE "($architecture|all) installed" || missing="$missing $package"
  done
done
[ -n "$missing" ] || exit 0
if [ "$(id -u)" != 0 ]; then
  echo "Missing packages. Run this as root, then try again:"
  echo "apt-get install$missing"
  exit 1
fi
echo "Installing$missing"
log=$(mktemp)
export DEBIAN_FRONTEND=noninteractive
# shellcheck disable=SC2086  # a list of words
if ! { apt-get update && apt-get install -y --no-install-recommends $missing; } >"$log" 2>&1; then
  tail -n 20 "$log"
  echo "The packages could not be installed (whole log: $log)."
  exit 1
fi
rm -f "$log"
