#!/bin/sh
# Each mistake of the host is reported in the lines of faults.txt, with nothing else, and a host
# without a mistake gets no line: faults.sh VR_CHECK FAULTS
# N stands for the number of a block, ADDRESS for an address; lines of the host are counted
# from the one that names the mistake.
set -eu
check=$1 faults=$2 here=$(dirname "$0")
work=$(mktemp -d "${TMPDIR:-/tmp}/vrcheck-XXXXXX")
trap 'rm -r "$work"' EXIT
unset VRCHECK_LOG VRCHECK_STATUS

# Without a terminal, so that no message box waits for an answer.
run() { setsid -w "$check" "$faults" "$1" > "$work/out" 2> "$work/errors"; }

# reports FAULT FILE
reports() {
    first=$(grep -n "Is(\"$1\")) {" "$here/faults.c" | cut -d: -f1)
    sed -n "s/^vrcheck: /$1: /p" "$2" |
        sed 's/\(,\|is\) number [0-9]*/\1 number N/g; s/0x[0-9a-f]*/ADDRESS/' |
        perl -pe "s/host:(\\d+)/'host:' . (\$1 - $first)/ge"
}

sed -n 's/.*Is("\([a-z]*\)")) {/\1/p' "$here/faults.c" | while read -r fault; do
    run "$fault" || echo "$fault: exits with $?"
    reports "$fault" "$work/errors"
done | diff "$here/faults.txt" -

# The state on demand is no finding; the file and the status are those of the environment.
export VRCHECK_LOG="$work/log" VRCHECK_STATUS=77
run none
grep -q '^vrcheck: out: 1 block, 20480 bytes, taken at vrmem:' "$work/log"
if grep -v '^vrcheck: out: \|^vrcheck: held back: ' "$work/log"; then exit 1; fi
rm "$work/log"
status=0
run end || status=$?
[ "$status" -eq 77 ] || { echo "exits with $status"; exit 1; }
[ ! -s "$work/errors" ] || { cat "$work/errors"; exit 1; }
[ "$(reports end "$work/log")" = "$(grep '^end:' "$here/faults.txt")" ]
