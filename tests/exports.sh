#!/bin/sh
# List of exports, version script, headers and built library name the same functions
# and data: exports.sh LIST VERSION_SCRIPT INCLUDE_FOLDER LIBRARY CC
set -eu
LC_ALL=C
export LC_ALL
work=$(mktemp -d)
trap 'rm -r "$work"' EXIT

sed -n 's/^ *\([A-Za-z0-9_]*\) *@[0-9]*/\1/p' "$1" | sort > "$work/list"
sed -n 's/^    \([A-Za-z0-9_]*\);$/\1/p' "$2" | sort > "$work/script"
nm --dynamic --defined-only --format=posix "$4" | sed -n 's/@@VRBASE_1 / /p' |
    sed 's/ [TW] .*//; s/ [A-Z] .*/ DATA/' | sort > "$work/library"
# Declarations one a line: the name stands before its arguments or its array size.
"$5" -m32 -E -P -DVR_NO_POSITION_MACROS -I"$3" "$3/vr/vr.h" | tr '\n;' ' \n' |
    sed -n 's/__attribute__((visibility("default")))//p' |
    sed 's/__attribute__((warn_unused_result))//; s/__attribute__((malloc))//; s/[[(].*//; s/ *$//; /extern /s/$/@/; s/.*[ *]//; s/@/ DATA/' |
    sort > "$work/headers"

sed -n 's/.*@\([0-9]*\).*/\1/p' "$1" > "$work/ordinals"
sort -n -u -c "$work/ordinals" || { echo "ordinals are not in order"; exit 1; }
[ "$(wc -l < "$work/list")" -eq 218 ] || { echo "the interface has 218 names"; exit 1; }
diff "$work/list" "$work/library"
diff "$work/list" "$work/headers"
sed 's/ DATA//' "$work/list" | sort | diff - "$work/script"
for name in $(sed -n 's/^_\(.*\)/\1/p' "$work/list"); do
    grep -q "^#define $name(" "$3"/vr/*.h || { echo "no macro for _$name"; exit 1; }
done
echo "218 names agree"
