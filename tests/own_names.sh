#!/bin/sh
# A host may have functions of any names: own_names.sh SOURCE_FOLDER LIBRARY_FOLDER CC [FLAG...]
# One that defines a function for each name that the libraries export, bar those that it
# calls, still does its day's work. Its functions end the run. It is no position-independent
# program, and finds the libraries from the current directory, which it leaves.
set -eu
here=$(dirname "$0")
source=$1
libraries=$2
cc=$3
shift 3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

"$cc" -m32 -fno-pie -I"$source/include" -I"$source/platform/include" "$@" \
    -c "$here/support/day.c" -o "$work/host.o"
nm --undefined-only --format=posix "$work/host.o" | cut -d' ' -f1 | sort >"$work/called"
for library in vrbase vrplatform; do
    nm --dynamic --defined-only --format=posix "$libraries/lib$library.so"
done | awk '$2 == "T" { sub(/^vrplatform_/, "", $1); print $1 }' | sort -u |
    comm -23 - "$work/called" |
    awk '{ print "void " $1 "(void) { __builtin_trap(); }" }' >"$work/names.c"
test "$(wc -l <"$work/names.c")" -gt 200
"$cc" -m32 -no-pie -fno-builtin "$@" "$work/host.o" "$work/names.c" -o "$work/host" \
    -L"$libraries" -lvrbase -lvrplatform -Wl,-rpath-link,"$libraries"

cd "$work"
printf '[Section]\nKey=value\n[Log]\nLOG=63\n' >day.ini
ln -s "$libraries" libraries
VRPLATFORM_DRIVE_D="$work" LD_LIBRARY_PATH=libraries ./host
grep -q '@@@ [0-9]' '$$VRDB.LOG'
