#!/bin/sh
# json_test.sh <python3> <twreg>: what --json prints is JSON whatever bytes are stored, under every
# kind of code page.
set -eu
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export TESSELKIT_REGISTRY_USER="$work/user.hive" TESSELKIT_REGISTRY_MACHINE="$work/machine.hive"
"$1" - > "$work/all.reg" <<'END'
every_byte = range(1, 256)
print("REGEDIT4\n[HKEY_CURRENT_USER\\all]")
print("@=hex(1):" + ",".join(f"{b:02x}" for b in every_byte))
for b in every_byte:
    print(f'"b{b}"=hex(7):{b:02x},5c,22,00,c3,{b:02x},00,00')
END
"$2" import "$work/all.reg"
for page in 0 1252 932 936 949 950 65001; do
  "$2" --code-page $page list -r --json HKCU > "$work/$page.json"
  "$1" -c 'import json, sys
keys = json.load(open(sys.argv[1], encoding="utf-8"))
assert keys[1]["key"] == "HKEY_CURRENT_USER\\all", keys[1]["key"]
assert len(keys[1]["values"]) == 256, len(keys[1]["values"])' "$work/$page.json"
done
