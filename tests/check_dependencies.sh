#!/usr/bin/env bash
# Checks what a built library asks of the process that loads it: no library beyond the C and
# C++ runtimes, the Android log and sanitizer runtimes (in particular neither the DSP runtime
# nor its host emulation), and every entry point of the DSP runtime and of the platform's
# debug log as a weak undefined symbol.
# Usage: check_dependencies.sh LIBRARY [READELF] [NM]
set -euo pipefail
lib=$1
readelf=${2:-readelf}
nm=${3:-nm}
status=0
needed=$("$readelf" -d "$lib" | sed -n 's/.*(NEEDED).*\[\(.*\)\]$/\1/p')
for n in $needed; do
  case "$n" in
    liblog.so* | libstdc++.so* | libm.so* | libgcc_s.so* | libc.so* | ld-linux*) ;;
    libc++.so* | libc++abi.so* | libunwind.so*) ;;
    libasan.so* | libubsan.so* | libtsan.so*) ;;
    *) echo "unexpected dependency: $n"; status=1 ;;
  esac
done
symbols=$("$nm" -D "$lib")
for s in remote_handle64_open remote_handle64_invoke remote_handle64_close rpcmem_alloc \
         rpcmem_free DRT_debug_v2 DRT_debug_runtime; do
  if ! grep -qE "^ +w $s\$" <<<"$symbols"; then
    echo "$s is not a weak undefined symbol"
    status=1
  fi
done
[ $status -eq 0 ] && echo "needs: $(echo $needed); the DSP runtime is bound weakly"
exit $status
