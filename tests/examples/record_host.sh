#!/bin/sh
# The example host on its sample records: record_host.sh HOST MAKE_RECORDS
# What an edit must give is worked out by cut, sed and cmp on the bytes themselves.
. "$(dirname "$0")/common.sh"

expect 0 "$host" CUSTOMER
grep -q '^ *2,3  TN23 1AB$' out || fail "tree without 2,3"
grep -q '^ *3,2,1  workshop$' out || fail "tree without 3,2,1"
grep -q '^5  $' out || fail "tree without the empty attribute 5"

prints workshop "$host" CUSTOMER get 3,2,1
expect 0 "$host" CUSTOMER get -1,0
expect 0 "$host" CUSTOMER replace 3,2,1 "spare parts"
grep -q 'workshop' out && grep -q 'spare parts' out || fail "the change is not told"
expect 0 "$host" CUSTOMER insert 2,2 Kingsnorth
expect 0 "$host" CUSTOMER append 3 mobile
expect 0 "$host" CUSTOMER append 3,3 "+44 7700 900123"
expect 0 "$host" CUSTOMER insert -1 "last"
expect 0 "$host" CUSTOMER replace 4 ""
prints 'Hartwell & Sons Ltd^Unit 4, Mill Lane]Kingsnorth]Ashford]TN23 1AB^office\+44 1233 555 010]spare parts\+44 1233 555 011]mobile\+44 7700 900123^^^GBP^11204^Ask for Mrs Tilling]Deliveries before noon^last' \
    "$host" --raw CUSTOMER

cp ORDER before
while read -r arguments; do
    expect 2 "$host" $arguments
done << 'END'
MISSING
. get 1
ORDER get 1,2,3,4
ORDER get one
ORDER replace 1,, x
ORDER append 1,1,1 x
ORDER replace 99999999 x

--hold x ORDER
--ini
END
refuses 2 '^record_host: swap: no such command' "$host" ORDER swap 1 x
refuses 2 '^record_host: --hold: needs' "$host" --hold -1 ORDER
cmp ORDER before || fail "a bad place changed the record"
chmod 444 before
expect 0 "$host" before replace 1 x # the folder, not the file, must be writable
[ "$(stat -c %a before)" = 444 ] || fail "the permissions changed"
rm -f before

# Two hosts, which name the file in different ways; the first holds the key until it is killed.
hold "$host" --hold 600 ORDER replace 8 "in delivery"
refuses 3 'order: another process holds the key' "$host" ./order replace 8 lost
expect 0 "$host" --key 8 ORDER get 8
expect 0 "$host" --key other ORDER replace 7 "another key"
"$host" --wait "$work/ORDER" replace 8 closed > out &
kill "$holder"
wait
prints closed "$host" ORDER get 8
[ -e __locks ] && [ ! -s __locks ] || fail "the lock file is not empty"

printf '[ENVIRONMENT]\nDATA=%s\n' "$work" > settings.ini
expect 0 "$host" --ini settings.ini '$DATA/ORDER' get 8

# The long record: attribute by attribute as lines.
lines() {
    tr '\376' '\n' < CATALOGUE
    echo
}
for number in 1 25000 24999 50000; do
    lines > old
    expect 0 "$host" CATALOGUE replace "$number,2" "edited $number, and longer than before"
    lines > new
    sed "${number}s/\o375[^\o375]*/\o375edited $number, and longer than before/" old > wanted
    cmp new wanted || fail "CATALOGUE replace $number,2"
    prints "edited $number, and longer than before" "$host" CATALOGUE get "$number,2"
done
lines > old
expect 0 "$host" CATALOGUE insert 30000 "P30000a"
lines > new
sed '30000i P30000a' old > wanted
cmp new wanted || fail "CATALOGUE insert"
expect 0 "$host" CATALOGUE append 50001,4 shelf
prints shelf "$host" CATALOGUE get 50001,4,3
ls | grep -q '\.[a-z][0-9]*$' && fail "a temporary file was left behind"

# What would steer a terminal reaches none, whichever host shows it; a pipe gets each byte.
bad=$(printf 'A\033[31m\233B')
cp ORDER "$bad"
expect 0 "$host" "$bad" replace 1 "$bad"
printf '  now  %s\n' "$bad" > wanted
sed -n 3p out | cmp - wanted || fail "a change in a pipe is not exact"
printf '%s 1\n' "$bad" > DICT
cat > on_terminal <<'END'
hosts=${1%/*}
"$1" --key "$2" --hold 2 ORDER get 8 > held &
until grep -q holding held; do sleep 0.1; done
"$1" --key "$2" ORDER append x
"$1" --plain "$2"
"$1" --raw "$2"
"$1" "$2" get 1
"$1" "$2" get "$2"
"$1" "$2" replace 1 "$2"
"$1" "$2.none"
"$1" "/none/$2" replace 1 x
"$hosts/run_host" find "$2.none"
cp "$(command -v sleep)" program && mv program "$2.run"
"./$2.run" 60 &
until readlink "/proc/$!/exe" | grep -q 'run$'; do sleep 0.1; done
"$hosts/run_host" find "$2.run"
"$hosts/run_host" list
kill $!
"$hosts/run_host" dll "$2"
"$hosts/report_host" "$2.none" . "$2"
"$hosts/report_host" DICT "$2.none" "$2"
"$hosts/report_host" DICT . "$2.none"
"$hosts/report_host" DICT "$2" "$2"
wait
END
if script -qec 'test -t 1' /dev/null > out 2>&1 < /dev/null; then
    script -qc "sh ./on_terminal '$host' '$bad'" /dev/null > out < /dev/null
    tr -d '\r\n\040-\176\240-\377' < out | cmp - /dev/null || fail "a control byte on a terminal"
    [ "$(grep -ic 'A\.\[31m\.B' out)" -eq 18 ] || { cat out; fail "what a terminal shows"; }
else
    echo "no terminal here: $(cat out)"
fi

# The longest record, and one that is longer. An append brings a mark.
truncate -s 13980999 LONG
refuses 2 'too long' "$host" LONG get 2
truncate -s 13980998 LONG
expect 0 "$host" LONG get 2
refuses 2 'grow too long' "$host" LONG append ""
truncate -s 13980996 LONG
expect 0 "$host" LONG append x
[ "$(stat -c %s LONG)" -eq 13980998 ] || fail "an append to a long record"
rm LONG

# A disk that fills up, at any page of the new record, takes no change and loses nothing. Not
# every user may mount one.
cat > on_small_disk << 'END'
mount -t tmpfs -o size=64k none disk && cd disk && cp ../before ORDER || exit 77
for room in 0 4 8 12; do
    head -c $(((60 - room) * 1024)) /dev/zero > filler
    code=0
    "$1" ORDER replace 8 "$(head -c 9000 /dev/zero | tr '\0' x)" > ../out 2>&1 || code=$?
    echo "$room $code $(cmp ORDER ../before > ../out && echo old) $(echo *)"
    rm filler
done
END
cp ORDER before
mkdir disk
status=0
unshare -rm sh on_small_disk "$host" > edits 2> errors || status=$?
if [ "$status" -eq 0 ]; then
    cat > wanted << 'END'
0 2 old ORDER __locks filler
4 2 old ORDER __locks filler
8 2 old ORDER __locks filler
12 0  ORDER __locks filler
END
    cmp edits wanted || { cat edits; fail "a record on a disk that fills up"; }
else
    echo "no small disk here: $(cat errors)"
fi
echo "all edits are as expected"
