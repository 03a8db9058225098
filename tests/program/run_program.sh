#!/bin/sh
# run_program.sh SCENARIO NAME COMMAND...: runs the program against the virtual modem with the lines of NAME.in, as
# console.sh says. Passes when the program ends with status 0, its output is NAME.out, as compare.sh compares, and its log
# has lines of the agreed form and nothing else. When the lines came too late for the scenario, the program is run again
# with a slower scenario.
here=$(dirname "$0")
# shellcheck source=tests/support/console.sh
. "$here/../support/console.sh"
scenario=$1
name=$2
shift 2
dir=$(mktemp -d) || exit 1
trap 'rm -rf "$dir"' EXIT
export ZEB_SCENARIO="$dir/scenario" DIAG_LOG="$dir/program.log"

for times in 1 4 16 64; do
    slower "$times" "$scenario" >"$ZEB_SCENARIO"
    rm -f "$dir/program.late" "$DIAG_LOG"
    : >"$dir/program.out"
    feed "$name.in" "$dir/program" "$times" | "$@" >"$dir/program.out"
    status=$?
    [ -e "$dir/program.late" ] || break
    echo "too late for the scenario, $times times slower than usual"
done
[ ! -e "$dir/program.late" ] || exit 1
[ "$status" -eq 0 ] || { echo "ended with status $status" && unset CPE_DM_ACCEPT; }
form='^[0-9TZ:. -]*(info|error) +[0-9]+ +cpe_dm_[a-z_]+\.cpp:[0-9]+ [A-Za-z0-9]'
grep -vE "$form" "$DIAG_LOG" && echo "lines of another form in the log" && status=1
[ -s "$DIAG_LOG" ] || status=1
"$here/../support/compare.sh" "$name.out" "$dir/program.out" && [ "$status" -eq 0 ]
