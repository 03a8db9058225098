#!/bin/sh
# run_transcript.sh INPUT EXPECTED COMMAND...: runs the command with INPUT as its standard input. Passes when it ends with
# status 0 and its standard output is, byte for byte, EXPECTED.
input=$1
expected=$2
shift 2
actual=$(mktemp) || exit 1
trap 'rm -f "$actual"' EXIT
"$@" <"$input" >"$actual"
status=$?
[ "$status" -eq 0 ] || echo "ended with status $status"
grep ' points, ' "$actual"
diff -u "$expected" "$actual" && [ "$status" -eq 0 ]
