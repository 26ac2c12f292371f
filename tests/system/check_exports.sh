#!/usr/bin/env bash
# Fails unless the shared object defines exactly the dynamic symbols that are given.
# Usage: check_exports.sh LIBRARY SYMBOL...
set -euo pipefail
library=$1
shift
expected=$(printf '%s\n' "$@" | sort)
# Defined (section index not UND) global or weak symbols of the dynamic symbol table.
actual=$(readelf --dyn-syms --wide "$library" |
  awk '$5 == "GLOBAL" || $5 == "WEAK" { if ($7 != "UND") print $8 }' | sed 's/@.*//' | sort -u)
if [ "$actual" != "$expected" ]; then
  echo "$library exports:"
  printf '%s\n' "$actual"
  echo "expected exactly:"
  printf '%s\n' "$expected"
  exit 1
fi
echo "$library exports exactly the $(printf '%s\n' "$@" | wc -l) expected symbols"
