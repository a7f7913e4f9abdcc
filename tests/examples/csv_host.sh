#!/bin/sh
# Records out to CSV and in again: csv_host.sh HOST MAKE_RECORDS RECORD_HOST
set -eu
LC_ALL=C
export LC_ALL
host=$1
record_host=$3
work=$(mktemp -d)
holder=
trap 'kill $holder 2> "$work/out" || :; rm -rf "$work"' EXIT
"$2" "$work"
cd "$work"

fail() {
    echo "FAILED: $*"
    exit 1
}

# expect STATUS COMMAND...: runs it with its output in `out` and its messages in `errors`.
expect() {
    status=0
    wanted=$1
    shift
    "$@" > out 2> errors || status=$?
    [ "$status" -eq "$wanted" ] || { cat out errors; fail "$*: exit code $status, not $wanted"; }
}

# Every byte that a record may hold, awkward names, and empty elements at every place.
mkdir from to
cp CUSTOMER ORDER from
: > from/EMPTY
printf '\376\376a\375\375\374\374\376' > 'from/a,"b"
c'
awk 'BEGIN { for (i = 0; i < 255; i++) if (i != 92 && i != 93) printf "%c", i }' > from/bytes
printf '\376"\376,\376\n\376\r\376 \376' > "$(printf 'from/\357\273\277mark')"
expect 0 "$host" export from
grep -q '^"a,""b""$' out || fail "the key is not quoted: $(head -n 3 out)"
cp out from.csv
expect 0 "$host" import to from.csv
[ "$(cat out)" = "6 of 6 records stored" ] || fail "import: $(cat out)"
diff -r -x __locks from to || fail "a record is not the same"
rm from/[A-z]*
expect 0 "$host" export from
[ "$(head -c 1 out)" = '"' ] || fail "a byte order mark in the first key is not quoted"

printf 'x,"Mill Lane, 4",a]b\\c\r\n' > wanted
printf 'Mill Lane, 4\376a\375b\374c' > to/X
rm -r from to/[!X]*
expect 0 "$host" export to
sed 's/^X/x/' out | cmp - wanted || fail "the row: $(cat out)"

# The lines of a file, whose last one has no end; rows that end in LF alone.
head -n 3 INVOICES > three
printf 'last' >> three
expect 0 "$host" export three
tr -d '\r' < out > three.csv
mkdir lines
expect 0 "$host" import lines three.csv
for line in 1 2 3; do echo >> "lines/$line"; done
cat lines/1 lines/2 lines/3 lines/4 | cmp - three || fail "the lines of a file"

# A text with a character that stands for a mark: the others go, or other characters are chosen.
mkdir marks other
printf 'a]b\375c' > marks/1
printf 'fine' > marks/2
printf 'a\377b' > marks/3
expect 2 "$host" export marks
[ "$(tr -d '\r' < out)" = "2,fine" ] || fail "beside a record that has no row: $(cat out)"
grep -q '^csv_host: 1: .*--marks$' errors && grep -q '^csv_host: 3: .*255$' errors ||
    fail "no message: $(cat errors)"
rm marks/3
expect 0 "$host" --marks '|~' export marks
cp out marks.csv
expect 0 "$host" --marks '|~' import other marks.csv
diff -r -x __locks marks other || fail "other characters for marks"
for marks in x xx xyz "$(printf 'a\374')"; do
    expect 2 "$host" --marks "$marks" export marks
done

# A record that somebody else holds stays; the one after it is stored.
mkfifo holding
"$record_host" --hold 600 to/X get 1 > holding &
holder=$!
while read -r line; do
    case $line in holding*) break ;; esac
done < holding
printf 'x,new\ny,new\n' > new.csv
cp to/X before
expect 3 "$host" import to new.csv
[ "$(cat out)" = "1 of 2 records stored" ] && cmp -s to/X before || fail "a held record changed"
grep -q 'to.x: another process holds the key$' errors || fail "held: $(cat errors)"
"$host" --wait import to new.csv > out &
waiter=$!
sleep 1
kill "$holder"
holder=
wait "$waiter" || fail "an import that waits for a key"
[ "$(cat to/X)$(cat to/y)" = newnew ] || fail "what the waiting import stored"

# Text that is no CSV, and rows that are no records, store nothing: not the good row before them.
bad() {
    printf "good,new\n$2" > bad.csv
    expect 2 "$host" import to bad.csv
    grep -q "^csv_host: row 2: $1" errors || fail "$2: $(cat errors)"
    [ ! -e to/good ] || fail "$2: the row before it was stored"
}
bad "a quote in a field" 'k,a"b\n'
bad "a quoted field without an end" 'k,"a""\n'
bad "text after a quoted field" 'k,"a"b\n'
bad "a CR without its LF" 'k,a\rb\n'
bad "the key" '\n'
bad "the key" ',a\n'
bad "the key" '../k,a\n'
bad "the key" '"..\\\\k",a\n'
bad "the key" '.,a\n'
bad "the key" '..,a\n'
bad "the key" '__LOCKS,a\n'
bad "the key" 'k\0,a\n'
bad "a byte from 252" 'k,a\374\n'
bad "a byte from 252" 'k,a,\377\n'
bad "a key that was there" 'GOOD,a\n'
{ printf 'good,new\nk,'; head -c 13980997 /dev/zero; echo ,x; } > bad.csv
expect 2 "$host" import to bad.csv
grep -q 'row 2: too long' errors || fail "a record that is too long: $(cat errors)"

expect 2 "$host" import none new.csv
grep -q 'none: no such folder$' errors || fail "no folder: $(cat errors)"
expect 2 "$host" import to none.csv
expect 2 "$host" export none
expect 2 "$host" export /dev/zero
expect 2 "$host" export
expect 2 "$host" --wait
echo "records and CSV agree"
