#!/bin/sh
# closed_descriptors.sh COMMAND...: runs the program without standard output and standard error. Passes when it ends with
# status 0 and the log, a file opened meanwhile, has its lines and nothing of the console's.
log=$(mktemp) || exit 1
trap 'rm -f "$log"' EXIT
echo 1 | DIAG_LOG="$log" "$@" >&- 2>&-
status=$?
[ "$status" -eq 0 ] && grep -q ' cpe_dm_' "$log" && ! grep -E 'DEMO|Option' "$log"
