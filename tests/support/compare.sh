#!/bin/sh
# compare.sh EXPECTED ACTUAL: condenses the output in ACTUAL with condense.awk, and passes when the result is EXPECTED byte
# for byte. With CPE_DM_ACCEPT set, the result replaces EXPECTED.
{ cat "$2" && echo '[end]'; } | awk -f "$(dirname "$0")/condense.awk" >"$2.condensed"
[ -z "$CPE_DM_ACCEPT" ] || cp "$2.condensed" "$1"
diff -u "$1" "$2.condensed"
status=$?
rm "$2.condensed"
exit $status
