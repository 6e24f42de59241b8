#!/bin/sh
# tools.sh <prefix> <bin> <man> <data>: the installed registry editor finds its libraries, also when
# the prefix is moved, and its manual and completion are there.
set -eu
moved=$(mktemp -d)
trap 'rm -rf "$moved"' EXIT
cp -a "$1/." "$moved"
export TESSELKIT_REGISTRY_USER="$moved/user.hive" TESSELKIT_REGISTRY_MACHINE="$moved/machine.hive"
unset LD_LIBRARY_PATH
"$moved/$2/twreg" set 'HKCU\Software' answer 42 --type dword
test "$("$moved/$2/twreg" get 'HKCU\Software' answer)" = 42
test -s "$moved/$3/man1/twreg.1"
test -s "$moved/$4/bash-completion/completions/twreg"
