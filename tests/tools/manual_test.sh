#!/bin/sh
# manual_test.sh <groff> <folder of twreg> <twreg> <version>: the manual renders without a warning,
# is that version's, and knows every option that --help tells of.
set -eu
warnings=$("$1" -man -ww -Tutf8 -z "$2/twreg.1" 2>&1)
if [ -n "$warnings" ]; then
  echo "$warnings"
  exit 1
fi
grep -q "^\.TH TWREG .*\"Tesselkit $4\"" "$2/twreg.1" || { echo "the manual is not of $4"; exit 1; }
manual=$(sed 's/\\-/-/g' "$2/twreg.1")
for option in $("$3" --help | grep -o -e '--[a-z-][a-z-]*' | sort -u); do
  case $manual in
    *"$option"*) ;;
    *) echo "the manual lacks $option"; exit 1 ;;
  esac
  grep -q -e "$option" "$2/completion/twreg" || { echo "the completion lacks $option"; exit 1; }
done
