#!/bin/sh
# closed_descriptors.sh COMMAND...: runs the program with standard output and standard error closed, and then with
# standard error alone closed. The log file may get the number of a closed descriptor. Passes when the program ends with
# status 0, and the log file has log lines and nothing that the program prints.
dir=$(mktemp -d) || exit 1
trap 'rm -rf "$dir"' EXIT
echo 1 | DIAG_LOG="$dir/neither" "$@" >&- 2>&- || exit 1
echo 1 | DIAG_LOG="$dir/no_error" "$@" >/dev/full 2>&- || exit 1
for log in "$dir"/*; do
    grep -q ' cpe_dm_' "$log" || exit 1
    ! grep -vE '^[0-9TZ:. -]*(info|error) ' "$log" || exit 1
done
