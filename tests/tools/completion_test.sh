#!/usr/bin/env bash
# completion_test.sh <completion file>: what is offered behind some words.
set -uo pipefail  # a completion that finds nothing ends with 1
source "$1" || exit 1
compopt() { :; }  # there is no completion under way

# offers <expected> <word...>: completes the last word.
offers() {
  local expected=$1
  COMP_WORDS=("${@:2}")
  COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
  _twreg
  if [[ ${COMPREPLY[*]-} != "$expected" || ${#COMPREPLY[@]} != "${count-${#COMPREPLY[@]}}" ]]; then
    echo "behind \"${*:2}\": \"${COMPREPLY[*]-}\", expected \"$expected\""
    exit 1
  fi
}

offers "list get set delete export import login check" twreg ""
offers "import" twreg --json i
offers "show save" twreg login ""
offers "--password" twreg login show ENTRY --p
offers "--tree" twreg delete --t
offers "dword dword_big_endian" twreg set KEY NAME --type d
offers "" twreg set KEY ""
offers 'HKCU\\ HKCR\\ HKCC\\' twreg --color never get HKC
offers 'HKDD\\' twreg list HKD
offers 'HKPD\\' twreg --color = never get HKP
offers "always" twreg --color = al
offers "auto always never" twreg list --color =
offers "binary" twreg set KEY NAME -t b
offers "" twreg delete -- --t
offers "" twreg login save ENTRY --user --j
offers "" twreg get HKCU -- --type ""

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work" || exit 1
count=1  # a name with a blank is one
touch -- "a b.reg" "d*.reg" "d1.reg" "-.reg"
offers "a b.reg" twreg import a
offers "d*.reg" twreg import --file-page = 932 'd*'
offers "a b.reg" twreg export KEY "a "
offers "a b.reg" twreg export KEY = x "a "
offers "-.reg" twreg export KEY -- -
