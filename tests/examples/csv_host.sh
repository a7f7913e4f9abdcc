#!/bin/sh
# Records out to CSV and in again: csv_host.sh HOST MAKE_RECORDS RECORD_HOST
. "$(dirname "$0")/common.sh"
record_host=$3

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
prints "6 of 6 records stored" "$host" import to from.csv
diff -r -x __locks from to || fail "a record is not the same"
rm from/[A-z]*
expect 0 "$host" export from
[ "$(head -c 1 out)" = '"' ] || fail "a byte order mark in the first key is not quoted"

rm to/*
printf 'Mill Lane, 4\376a\375b\374c' > to/X
prints "$(printf 'X,"Mill Lane, 4",a]b\\c\r\n')" "$host" export to

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
refuses 2 '^csv_host: 1: .*--marks$' "$host" export marks
[ "$(tr -d '\r' < out)" = "2,fine" ] || fail "beside a record that has no row: $(cat out)"
refuses 2 '^csv_host: 3: .*255$' "$host" export marks
rm marks/3
expect 0 "$host" --marks '|~' export marks
cp out marks.csv
expect 0 "$host" --marks '|~' import other marks.csv
diff -r -x __locks marks other || fail "other characters for marks"
for marks in x xx xyz "$(printf 'a\374')"; do
    expect 2 "$host" --marks "$marks" export marks
done

# A record that somebody else holds stays; the one after it is stored.
hold "$record_host" --hold 600 to/X get 1
printf 'x,new\ny,new\n' > new.csv
cp to/X before
refuses 3 'to.x: another process holds the key$' "$host" import to new.csv
[ "$(cat out)" = "1 of 2 records stored" ] || fail "beside a held record: $(cat out)"
cmp to/X before || fail "a held record changed"
"$host" --wait import to new.csv > out &
waiter=$!
sleep 1
kill "$holder"
holder=
wait "$waiter" || fail "an import that waits for a key"
[ "$(cat to/X)$(cat to/y)" = newnew ] || fail "what the waiting import stored"

# Text that is no CSV, and rows that are no records, store nothing: not the good row before them.
{ printf 'k,'; head -c 13980997 /dev/zero; echo ,x; } > long
while IFS='|' read -r message row; do
    { printf 'good,new\n'; [ "$row" = long ] && cat long || printf "$row"; } > bad.csv
    refuses 2 "^csv_host: row 2: $message" "$host" import to bad.csv
    [ ! -e to/good ] || fail "$row: the row before it was stored"
done << 'END'
a quote in a field|k,a"b\n
a quoted field without an end|k,"a""\n
text after a quoted field|k,"a"b\n
a CR without its LF|k,a\rb\n
the key|\n
the key|,a\n
the key|../k,a\n
the key|"..\\\\k",a\n
the key|.,a\n
the key|..,a\n
the key|__LOCKS,a\n
the key|k\0,a\n
a byte from 252|k,a\374\n
a byte from 252|k,a,\377\n
a key that was there|GOOD,a\n
too long|long
END

refuses 2 'none: no such folder$' "$host" import none new.csv
for arguments in "import to none.csv" "export none" "export /dev/zero" "export" "--wait"; do
    expect 2 "$host" $arguments
done
echo "records and CSV agree"
