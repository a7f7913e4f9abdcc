# What the tests of the example hosts share, which source it with HOST MAKE_RECORDS as their
# arguments: a scratch folder with the sample records as the current one, and expectations.
set -eu
LC_ALL=C
export LC_ALL
host=$1
holder=
work=$(mktemp -d)
trap 'kill $holder 2> "$work/out" || :; rm -rf "$work"' EXIT
[ -z "${2-}" ] || "$2" "$work"
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

# prints TEXT COMMAND...: the text is all that it prints, and it succeeds.
prints() {
    text=$1
    shift
    expect 0 "$@"
    [ "$(cat out)" = "$text" ] || fail "$*: $(cat out)"
}

# refuses STATUS PATTERN COMMAND...: it prints a message that fits.
refuses() {
    code=$1 pattern=$2
    shift 2
    expect "$code" "$@"
    grep -q "$pattern" errors || fail "$*: $(cat errors)"
}

# hold COMMAND...: a record host that says when it has its key; `holder` is its process.
hold() {
    mkfifo holding
    "$@" > holding &
    holder=$!
    while read -r line; do
        case $line in holding*) break ;; esac
    done < holding
    rm holding
}
