#!/bin/sh
# The built library exports exactly what the list says: exports.sh LIST LIBRARY
set -eu
LC_ALL=C
export LC_ALL
work=$(mktemp -d)
trap 'rm -r "$work"' EXIT

sed -n 's/^ *\([A-Za-z0-9_]*\) *@[0-9].*/\1/p' "$1" | sort > "$work/listed"
nm --dynamic --defined-only --format=posix "$2" | cut -d' ' -f1 | sort > "$work/exported"
sed -n 's/.*@\([0-9]*\).*/\1/p' "$1" > "$work/ordinals"

sort -n -u -c "$work/ordinals" || { echo "ordinals are not in order"; exit 1; }
diff "$work/listed" "$work/exported" && echo "$(wc -l < "$work/listed") names agree"
