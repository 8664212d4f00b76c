#!/usr/bin/env bash
# Compares the dynamic symbols a built library defines with the list it must export.
# Usage: check_exports.sh LIBRARY EXPECTED_LIST [NM]
set -euo pipefail
lib=$1
expected=$2
nm=${3:-nm}
actual=$("$nm" -D --defined-only -C "$lib" | cut -d' ' -f3- |
         grep -v -E '^(_init|_fini|_edata|_end|__bss_start)$' | LC_ALL=C sort -u)
wanted=$(grep -v -E '^\s*(#|$)' "$expected" | LC_ALL=C sort -u)
missing=$(LC_ALL=C comm -13 <(echo "$actual") <(echo "$wanted"))
leaked=$(LC_ALL=C comm -23 <(echo "$actual") <(echo "$wanted"))
status=0
if [ -n "$missing" ]; then echo "missing from $lib:"; echo "$missing" | sed 's/^/  /'; status=1; fi
if [ -n "$leaked" ]; then echo "exported but not in the interface:"; echo "$leaked" | sed 's/^/  /'; status=1; fi
[ $status -eq 0 ] && echo "$(echo "$wanted" | wc -l) exported symbols, as listed"
exit $status
