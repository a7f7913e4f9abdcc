#!/bin/sh
# The report of ten thousand records against one that awk and date make:
# report_host.sh HOST MAKE_RECORDS
set -eu
LC_ALL=C
export LC_ALL
host=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
"$2" "$work"
cd "$work"

fail() {
    echo "FAILED: $*"
    exit 1
}

# Day 732 is 1 January 1970.
am=$(printf '\376')
cut -d "$am" -f 3 INVOICES | awk '{ print "@" ($1 - 732) * 86400 }' > seconds
date -u -f seconds '+%-d %b %Y' > dates
cut -d "$am" -f 3 --complement INVOICES | tr '\375' ';' | paste -d "$am" dates - |
    awk -F "$am" '
        function row(a, b, c, d, line) {
            line = sprintf("%-*s  %-*s  %-*s  %-*s", w[1], a, w[2], b, w[3], c, w[4], d)
            sub(/ +$/, "", line)
            return line
        }
        BEGIN { n = split("NUMBER DATE PARTS STATUS", name, " ") }
        NR == 1 { for (i = 1; i <= n; i++) w[i] = length(name[i]) }
        {
            cell[NR, 1] = $2; cell[NR, 2] = $1; cell[NR, 3] = $5; cell[NR, 4] = $6
            for (i = 1; i <= n; i++) if (length(cell[NR, i]) > w[i]) w[i] = length(cell[NR, i])
        }
        END {
            print row(name[1], name[2], name[3], name[4])
            for (i = 1; i <= n; i++) { rule[i] = sprintf("%*s", w[i], ""); gsub(/ /, "-", rule[i]) }
            print row(rule[1], rule[2], rule[3], rule[4])
            for (r = 1; r <= NR; r++) print row(cell[r, 1], cell[r, 2], cell[r, 3], cell[r, 4])
        }' > wanted

VRLDATE=INTERNATIONAL
export VRLDATE
for size in 50000 300000 100000000; do
    VRLCACHESIZE=$size "$host" INVOICES.DICT INVOICES NUMBER DATE PARTS STATUS > out
    sed '$d' out | cmp - wanted || fail "the table differs with a cache of $size bytes"
    tail -n 1 out
done
tail -n 1 out | grep -q 'released 0, and 0 were' || fail "a large cache released something"

# A folder of records, and what is not there.
mkdir folder
head -n 3 INVOICES | split -l 1 - folder/
"$host" INVOICES.DICT folder CUSTOMER DATE > out
[ "$(sed -n 3p out)" = "MERRICK   20 Nov 1959" ] || fail "folder: $(sed -n 3p out)"
touch folder/aa.b12345 folder/__locks folder/XX.b12345
"$host" INVOICES.DICT folder NUMBER > out
tail -n 1 out | grep -q '^4 records' || fail "the lock file or a temporary file is a record"
printf 'DATE\n\nCUSTOMER 2\n' > PARTLY.DICT
while read -r dictionary path field message; do
    status=0
    "$host" "$dictionary" "$path" "$field" > out 2> errors || status=$?
    [ "$status" -eq 2 ] || fail "$dictionary $path $field: exit code $status, not 2"
    grep -qF "report_host: $message" errors || fail "$dictionary $path $field: $(cat errors)"
done << 'END'
NONE INVOICES DATE NONE: no such file that can be read as a dictionary
INVOICES.DICT NONE DATE NONE: no such file or folder of records
PARTLY.DICT INVOICES DATE PARTLY.DICT:1: ignored: not NAME ATTRIBUTE [date]
PARTLY.DICT INVOICES DATE DATE: no such field; the dictionary has: CUSTOMER
END
# Devices and pipes have no records, and some never end.
mkfifo pipe
for device in /dev/null /dev/zero pipe; do
    for arguments in "INVOICES.DICT $device DATE" "$device INVOICES DATE"; do
        status=0
        timeout 20 "$host" $arguments > out 2> errors || status=$?
        [ "$status" -eq 2 ] && [ ! -s out ] || fail "report_host $arguments: exit code $status"
        grep -q "^report_host: $device: no such" errors || fail "$arguments: $(cat errors)"
    done
done
echo "the reports agree"
