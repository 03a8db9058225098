#!/bin/sh
# commands.sh RECORDING COMMAND...: checks the exit status and the message of zeb_recording (COMMAND) for right and
# wrong arguments and files, and that a command that fails writes no file.
recording=$(realpath "$1")
shift
dir=$(mktemp -d) || exit 1
trap 'rm -rf "$dir"' EXIT
failed=0

# ends STATUS TEXT COMMAND...: the command must end with STATUS and print at most one line on standard error. That line,
# or without it the first line of standard output, must match TEXT.
ends() {
    status=$1
    text=$2
    shift 2
    "$@" >"$dir/out" 2>"$dir/err"
    ended=$?
    said=$(cat "$dir/err" "$dir/out" | head -n 1)
    if [ $ended -ne "$status" ] || [ "$(wc -l <"$dir/err")" -gt 1 ] || ! echo "$said" | grep -q -e "$text"; then
        echo "status $ended instead of $status ($text): $*: $said"
        failed=1
    fi
}

cd "$dir" || exit 1
echo 'zeb-recording 2' >one
echo '1 event notifier=1' >>one
printf 'zeb-recording 1\n1 event notifier=1 event=1\n' >event
echo 'Option > 7 10' >console
ends 2 'which command' "$@"
ends 2 'no such command: shows' "$@" shows
ends 2 'no such option of diff: --json' "$@" diff --json one one
ends 2 'page takes one -o FILE' "$@" page one
ends 2 'one -o FILE for each file' "$@" redact one -o a --also one
ends 2 'diff takes two recordings' "$@" diff one
ends 2 'no such kind: sent (object, ' "$@" show one --only sent
ends 2 '--from lacks its value' "$@" show "$recording" --from
ends 2 'no such time: noon' "$@" show "$recording" --from noon
ends 2 '^none:0: cannot be read: No such file' "$@" show none
ends 2 '^one:2: event= is missing' "$@" show one
ends 2 '^console:1: is not the first line' "$@" redact console -o a
ends 2 'is not another part' "$@" show "$recording" "$recording"
ends 2 '^console: is there already' "$@" page event -o console
ends 2 '^none/a: cannot be written' "$@" redact event -o a --also console -o none/a
ends 2 'standard output cannot be written: No space' sh -c '"$@" >/dev/full' sh "$@" show "$recording"
if [ -e a ] || [ "$(cat console)" != 'Option > 7 10' ]; then
    echo "something was written"
    failed=1
fi
ends 0 '^usage: ' "$@" --help
ends 0 '^$' "$@" diff event event
ends 1 '^[+-] 2: ' "$@" diff event "$recording"
ends 0 '^replaced: ' "$@" redact "$recording" -o redacted --also console -o told
[ "$(stat -c %a redacted)" = 600 ] || { echo "others may read it" && failed=1; }

# `show` chooses lines by time, over midnight, and by kind. It prints JSON lines, or CSV rows with equally many fields.
ends 0 '^recorded ' "$@" show "$recording" --from 23:59:56 --to 2026-11-24T00:00:10 --only failed --only slow
[ "$(grep -c '^[0-9][0-9]:' out)" -eq 2 ] || { cat out && failed=1; }
ends 0 '^{"kind":"recording"' "$@" show "$recording" --json
python3 -c '
import json, sys
lines = [json.loads(line) for line in open(sys.argv[1])]
signal = next(line for line in lines if line.get("message") == "get signal info")
assert len(lines) == 31 and signal["response"]["lte"]["sinr"] == 10.0 and signal["time"] == "2026-11-23T23:59:56.094Z", signal
' out || failed=1
ends 0 '^time,uptime,lte.rsrp,' "$@" show "$recording" --csv
[ "$(grep -cE '^[^,]*(,[^,]+){7}$' out)" -eq 4 ] || { cat out && failed=1; }
exit $failed
