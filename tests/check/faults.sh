#!/bin/sh
# Each mistake of the host is reported in the line that stands here, with nothing else, and a
# host without a mistake gets no line: faults.sh VR_CHECK FAULTS
# N stands for the number of a block, ADDRESS for an address.
set -eu
check=$1 faults=$2
work=$(mktemp -d "${TMPDIR:-/tmp}/vrcheck-XXXXXX")
trap 'rm -r "$work"' EXIT
unset VRCHECK_LOG VRCHECK_STATUS

# Without a terminal, so that no message box waits for an answer.
run() { setsid -w "$check" "$faults" "$1" > "$work/out" 2> "$work/errors"; }
failed=0
expect() {
    sed -n 's/^vrcheck: //p' "$work/$2" | sed 's/\(,\|is\) number [0-9]*/\1 number N/g; s/0x[0-9a-f]*/ADDRESS/' |
        diff - "$work/expected" || { echo "for the mistake $1"; failed=1; }
}

rows=0
while IFS='|' read -r fault lines; do
    printf '%s\n' "$lines" | tr '|' '\n' > "$work/expected"
    run "$fault" || { echo "$fault: exits with $?"; failed=1; }
    expect "$fault" errors
    rows=$((rows + 1))
done << 'END'
twice|host:104: given back twice: block of 12 bytes, number N, taken at host:101, given back at host:103
inside|host:113: not a block: ADDRESS is byte 4 of a block of 12 bytes, number N, taken at host:111
stranger|host:123: not a block: nothing was taken at ADDRESS
number|host:242: not a block: the number 7
end|host:133: written past the end: block of 12 bytes, number N, taken at host:131
start|host:143: written before the start: block of 300 bytes, number N, taken at host:141
header|host:153: written before the start: block of 12 bytes, number N, taken at host:151
long|host:264: written past the end: string of 154 bytes, number N, taken at host:262
after|MemCheckBounds: written after it was given back: block of 12 bytes, number N, taken at host:161, given back at host:163
resized|host:174: resized after it was given back: block of 12 bytes, number N, taken at host:171, given back at host:173
length|host:183: longer than its capacity: length 24, capacity 20, string of 20 bytes, number N, taken at host:181
memo|UtilInsertReplace: memo beside its attribute: attribute 3 at cursor 105, string of 200 bytes, number N, taken at host:12
edited|UtilInsertReplace: edited after it was given back: string of 200 bytes, number N, taken at host:12, given back at host:213
shared|MemCheckBounds: shared string written to: the string of FalseVrStr
scratch|MemCheckBounds: scratch area used past its size: MemBuf2, of 10240 bytes
unended|the end: written past the end: block of 10 bytes, number N, taken at host:252
out|still out: 1 block, 33 bytes, taken at host:234, the first is number N|still out: 2 blocks, 20 bytes, taken at host:233, the first is number N
END
[ "$rows" -eq 17 ]

# The state on demand is no finding; the file and the status are those of the environment.
export VRCHECK_LOG="$work/log" VRCHECK_STATUS=77
run none
grep -q '^vrcheck: out: 1 block, 20480 bytes, taken at vrmem:' "$work/log"
if grep -v '^vrcheck: out: \|^vrcheck: held back: ' "$work/log"; then failed=1; fi
rm "$work/log"
status=0
run end || status=$?
[ "$status" -eq 77 ] || { echo "exits with $status"; failed=1; }
[ ! -s "$work/errors" ] || { cat "$work/errors"; failed=1; }
echo 'host:133: written past the end: block of 12 bytes, number N, taken at host:131' > "$work/expected"
expect "end, in the file" log
exit $failed
