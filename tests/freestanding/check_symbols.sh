#!/usr/bin/env bash
# Fails when the driver's object files need any symbol from outside themselves, except the
# memory intrinsics a compiler may emit. Usage: check_symbols.sh NM OBJECT...
set -euo pipefail
nm="$1"
shift

allowed="memcpy memmove memset memcmp"

defined=$(for object in "$@"; do "$nm" -j --defined-only "$object"; done | sort -u)
status=0
for object in "$@"; do
  while read -r symbol; do
    [ -z "$symbol" ] && continue
    if grep -qxF -- "$symbol" <<<"$defined"; then
      continue
    fi
    if grep -qw -- "$symbol" <<<"$allowed"; then
      continue
    fi
    echo "$(basename "$object") needs $symbol"
    status=1
  done < <("$nm" -j -u "$object")
done

if [ $status -ne 0 ]; then
  echo "The driver must not depend on any library: the symbols above come from outside it."
fi
exit $status
