#!/bin/sh
# The cases of a test program pass under the checking library without a finding:
#   clean.sh VR_CHECK PROGRAM
# Left out are cases that plant a wrong memo on purpose, and one that never gives a string
# back.
set -eu
check=$1 program=$2
left_out=*TheNearerOfMemoAndStart*:*StringsThatAreNotWhatTheySeem*:*LogLevelTest*
work=$(mktemp -d "${TMPDIR:-/tmp}/vrcheck-XXXXXX")
trap 'rm -r "$work"' EXIT
export VRCHECK_LOG="$work/log"

cases=$("$program" --gtest_list_tests --gtest_filter="-$left_out" |
    sed 's/ *#.*//' | awk '/^[^ ].*\.$/ { suite = $1 } /^  / { print suite $1 }')
ran=0
for case in $cases; do
    setsid -w "$check" "$program" --gtest_filter="$case" > "$work/out" 2>&1 ||
        { cat "$work/out"; exit 1; }
    if [ -e "$work/log" ]; then
        echo "$case:"; cat "$work/log"; exit 1
    fi
    ran=$((ran + 1))
done
[ "$ran" -gt 0 ]
