#!/bin/sh
# closed_descriptors.sh COMMAND...: runs the program without standard output and standard error, and without the latter
# alone. Passes when it ends with status 0, and the log, a file opened meanwhile, has its lines and nothing of what the
# program prints or says.
dir=$(mktemp -d) || exit 1
trap 'rm -rf "$dir"' EXIT
echo 1 | DIAG_LOG="$dir/neither" "$@" >&- 2>&- || exit 1
echo 1 | DIAG_LOG="$dir/no_error" "$@" >/dev/full 2>&- || exit 1
for log in "$dir"/*; do
    grep -q ' cpe_dm_' "$log" || exit 1
    ! grep -vE '^[0-9TZ:. -]*(info|error) ' "$log" || exit 1
done
