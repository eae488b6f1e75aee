#!/usr/bin/env bash
# The exported interface is the checked-in list, no more and no less. After a change that is meant:
# ExportedSymbolsTest.sh <library> <list> --update
set -euo pipefail
library=$1
list=$2
exported() { nm -D --defined-only "$library" | c++filt | cut -d' ' -f3- | LC_ALL=C sort -u; }
if [ "${3:-}" = --update ]; then
    exported >"$list"
else
    diff <(exported) "$list" && echo "$(wc -l <"$list") symbols, as listed"
fi
