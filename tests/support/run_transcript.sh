#!/bin/sh
# run_transcript.sh INPUT EXPECTED COMMAND...: runs the command with INPUT as its standard input. Passes when the command
# ends with status 0 and compare.sh finds its standard output equal to EXPECTED.
input=$1
expected=$2
shift 2
actual=$(mktemp) || exit 1
trap 'rm -f "$actual"' EXIT
"$@" <"$input" >"$actual"
status=$?
[ "$status" -eq 0 ] || { echo "ended with status $status" && unset CPE_DM_ACCEPT; }
"$(dirname "$0")/compare.sh" "$expected" "$actual" && [ "$status" -eq 0 ]
