#!/bin/sh
# check_output.sh <program> <expected output>: the program must succeed and print exactly that.
set -eu
actual=$("$1")
printf '%s\n' "$actual" | diff -u "$2" -
