#!/usr/bin/env bash
# Compares the dynamic symbols a built library defines with the list it must export and,
# given the linker version script, the names that script exports with the same list.
# Usage: check_exports.sh LIBRARY EXPECTED_LIST [NM] [VERSION_SCRIPT]
set -euo pipefail
lib=$1
expected=$2
nm=${3:-nm}
script=${4:-}
actual=$("$nm" -D --defined-only -C "$lib" | cut -d' ' -f3- |
         grep -v -E '^(_init|_fini|_edata|_end|__bss_start)$' | LC_ALL=C sort -u)
wanted=$(grep -v -E '^\s*(#|$)' "$expected" | LC_ALL=C sort -u)
status=0
compare() {  # compare WHAT NAMES: reports names missing from or beyond the list
  local missing leaked
  missing=$(LC_ALL=C comm -13 <(echo "$2") <(echo "$wanted"))
  leaked=$(LC_ALL=C comm -23 <(echo "$2") <(echo "$wanted"))
  if [ -n "$missing" ]; then
    echo "missing from $1:"; echo "$missing" | sed 's/^/  /'; status=1
  fi
  if [ -n "$leaked" ]; then
    echo "in $1 but not in the interface:"; echo "$leaked" | sed 's/^/  /'; status=1
  fi
}
compare "$lib" "$actual"
if [ -n "$script" ]; then
  listed=$(sed -n -E -e 's/^\s+"(.+)";$/\1/p' -e 's/^\s+([A-Za-z_][A-Za-z0-9_]*);$/\1/p' "$script" |
           LC_ALL=C sort -u)
  compare "$script" "$listed"
fi
[ $status -eq 0 ] && echo "$(echo "$wanted" | wc -l) exported symbols, as listed"
exit $status
