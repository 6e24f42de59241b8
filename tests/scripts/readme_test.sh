#!/bin/sh
# readme_test.sh <project>: the example in the README, and what it is said to print, are those of
# examples/report_failure.
set -eu
cd "$1"

# quoted <heading> <number>: the n-th indented block below a heading of the README, not indented.
quoted() {
  awk -v heading="## $1" -v wanted="$2" '
    /^## / { inside = $0 == heading; blocks = 0; before = 0 }
    inside && /^    / { if (!before) blocks++; before = 1; if (blocks == wanted) print substr($0, 5) }
    inside && /^$/ && blocks == wanted && before { print "" }
    inside && /^[^ ]/ { before = 0 }' README.md | sed -e :a -e '/^\n*$/{$d;N;ba' -e '}'
}

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
quoted "Ten lines" 1 > "$work/source"
quoted "Ten lines" 2 > "$work/output"
sed '/^\/\/ /d' examples/report_failure.cpp | diff -u - "$work/source"
diff -u examples/expected/report_failure.txt "$work/output"
