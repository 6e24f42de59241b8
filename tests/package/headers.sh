#!/bin/sh
# headers.sh <compiler> <include directory>: compiles every header there on its own.
set -eu
cd "$2"
headers=$(find . -name '*.h' | sed 's|^\./||' | sort)
test -n "$headers"
export compiler="$1"
echo "$headers" | xargs -P "$(nproc)" -I '{}' sh -c '
  echo "#include <{}>" |
    "$compiler" -std=c++20 -Wall -Wextra -Wpedantic -Werror -I. -x c++ -fsyntax-only - ||
    { echo "does not stand alone: {}"; exit 1; }'
