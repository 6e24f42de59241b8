#!/bin/sh
# pkg_config.sh <compiler> <source> <program>: builds the program with what pkg-config says, and
# runs it.
set -eu
# shellcheck disable=SC2046  # the answers are several words
"$1" -std=c++20 -Wall -Wextra -Wpedantic -Werror "$2" -o "$3" \
  $(pkg-config --variable=native_exceptions_cflags tesselkit) \
  $(pkg-config --cflags --libs tesselkit)
"$3"
