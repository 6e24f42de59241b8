#!/bin/sh
# install.sh <cmake> <build tree> <prefix>: installs into the prefix, emptied before.
set -eu
rm -rf "$3"
"$1" --install "$2" --prefix "$3"
