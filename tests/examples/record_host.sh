#!/bin/sh
# The example host on its sample records: record_host.sh HOST MAKE_RECORDS
# What an edit must give is worked out by cut, sed and cmp on the bytes themselves.
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

# expect STATUS COMMAND...: runs it with its output in the file `out`.
expect() {
    status=0
    wanted=$1
    shift
    "$@" > out 2>&1 || status=$?
    [ "$status" -eq "$wanted" ] || { cat out; fail "$*: exit code $status, not $wanted"; }
}

expect 0 "$host" CUSTOMER
grep -q '^ *2,3  TN23 1AB$' out || fail "tree without 2,3"
grep -q '^ *3,2,1  workshop$' out || fail "tree without 3,2,1"
grep -q '^5  $' out || fail "tree without the empty attribute 5"

expect 0 "$host" CUSTOMER get 3,2,1
[ "$(cat out)" = workshop ] || fail "get 3,2,1"
expect 0 "$host" CUSTOMER get -1,0
expect 0 "$host" CUSTOMER replace 3,2,1 "spare parts"
grep -q 'workshop' out && grep -q 'spare parts' out || fail "the change is not told"
expect 0 "$host" CUSTOMER insert 2,2 Kingsnorth
expect 0 "$host" CUSTOMER append 3 mobile
expect 0 "$host" CUSTOMER append 3,3 "+44 7700 900123"
expect 0 "$host" CUSTOMER insert -1 "last"
expect 0 "$host" CUSTOMER replace 4 ""
expect 0 "$host" --raw CUSTOMER
cat > wanted <<'END'
Hartwell & Sons Ltd^Unit 4, Mill Lane]Kingsnorth]Ashford]TN23 1AB^office\+44 1233 555 010]spare parts\+44 1233 555 011]mobile\+44 7700 900123^^^GBP^11204^Ask for Mrs Tilling]Deliveries before noon^last
END
cmp out wanted

cp ORDER before
expect 2 "$host" MISSING
expect 2 "$host" . get 1
expect 2 "$host" ORDER get 1,2,3,4
expect 2 "$host" ORDER get one
expect 2 "$host" ORDER replace 1,, x
expect 2 "$host" ORDER append 1,1,1 x
expect 2 "$host" ORDER replace 99999999 x
expect 2 "$host" ORDER swap 1 x
grep -q '^record_host: swap: no such command' out || fail "an unknown command: $(cat out)"
expect 2 "$host" --hold -1 ORDER
grep -q '^record_host: --hold: needs' out || fail "a bad value: $(cat out)"
expect 2 "$host"
cmp ORDER before || fail "a bad place changed the record"
chmod 444 before
expect 0 "$host" before replace 1 x # the folder, not the file, must be writable
[ "$(stat -c %a before)" = 444 ] || fail "the permissions changed"
rm -f before

# Two hosts, which name the file in different ways. The first says when it has the key, and
# holds it until it is killed.
mkfifo holding
"$host" --hold 600 ORDER replace 8 "in delivery" > holding &
holder=$!
while read -r line; do
    case $line in holding*) break ;; esac
done < holding
expect 3 "$host" ./order replace 8 lost
grep -q 'order: another process holds the key' out || fail "the holder is not told"
expect 0 "$host" --key 8 ORDER get 8
expect 0 "$host" --key other ORDER replace 7 "another key"
"$host" --wait "$work/ORDER" replace 8 closed > out &
kill "$holder"
wait
expect 0 "$host" ORDER get 8
[ "$(cat out)" = closed ] || fail "the waiting host's change is lost"
[ -e __locks ] && [ ! -s __locks ] || fail "the lock file is not empty"
rm holding

printf '[ENVIRONMENT]\nDATA=%s\n' "$work" > settings.ini
expect 0 "$host" --ini settings.ini '$DATA/ORDER' get 8
expect 2 "$host" --hold x ORDER
expect 2 "$host" --ini

# The long record: attribute by attribute as lines.
lines() {
    tr '\376' '\n' < CATALOGUE
    echo
}
for number in 1 2 25000 24999 50000; do
    lines > old
    expect 0 "$host" CATALOGUE replace "$number,2" "edited $number, and longer than before"
    lines > new
    sed "${number}s/\o375[^\o375]*/\o375edited $number, and longer than before/" old > wanted
    cmp new wanted || fail "CATALOGUE replace $number,2"
    expect 0 "$host" CATALOGUE get "$number,2"
    [ "$(cat out)" = "edited $number, and longer than before" ] || fail "CATALOGUE get $number,2"
done
lines > old
expect 0 "$host" CATALOGUE insert 30000 "P30000a"
lines > new
sed '30000i P30000a' old > wanted
cmp new wanted || fail "CATALOGUE insert"
expect 0 "$host" CATALOGUE append 50001,4 shelf
expect 0 "$host" CATALOGUE get 50001,4,3
[ "$(cat out)" = shelf ] || fail "CATALOGUE append 50001,4"
ls | grep -q '\.[a-z][0-9]*$' && fail "a temporary file was left behind"

# What killed hosts left of a record is gone after its next edit, so that its names never run
# out, however the record is spelled: here all names that the host of this number can use.
neighbours="ORDER.A12345 ORDER.a1234 ORDER.a123456 ORDER.1a2345 ORDERa12345 order.a12345 CUSTOMER.a12345"
cat > leave_names <<'END'
for letter in a b c d e f g h i j k l m n o p q r s t u v w x y z; do
    : > ORDER.$letter$(printf %05d $(($$ % 100000)))
done
exec "$@"
END
touch $neighbours ORDER.z00001
expect 2 sh ./leave_names "$host" --key other ORDER replace 7 lost
grep -q 'no free name' out || fail "names run out"
expect 0 sh ./leave_names "$host" ./order replace 7 "after a crash"
[ "$(ls -d ORDER?* order* CUSTOMER.*)" = "$(ls -d $neighbours)" ] || fail "left over: $(ls)"
rm $neighbours leave_names

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
rm "$bad"* DICT

# The longest record, and one that is longer. An append brings a mark.
truncate -s 13980999 LONG
expect 2 "$host" LONG get 2
grep -q 'too long' out || fail "a record that is too long"
truncate -s 13980998 LONG
expect 0 "$host" LONG get 2
expect 2 "$host" LONG append ""
grep -q 'grow too long' out || fail "a record that grows too long"
truncate -s 13980996 LONG
expect 0 "$host" LONG append x
[ "$(stat -c %s LONG)" -eq 13980998 ] || fail "an append to a long record"
rm LONG

# A disk that fills up, at any page of the new record, takes no change and loses nothing. Not
# every user may mount one.
cat > on_small_disk <<'END'
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
unshare -rm sh on_small_disk "$host" > told 2> out || status=$?
if [ "$status" -eq 0 ]; then
    cat > wanted <<'END'
0 2 old ORDER __locks filler
4 2 old ORDER __locks filler
8 2 old ORDER __locks filler
12 0  ORDER __locks filler
END
    cmp told wanted || { cat told; fail "a record on a disk that fills up"; }
else
    echo "no small disk here: $(cat out)"
fi
echo "all edits are as expected"
