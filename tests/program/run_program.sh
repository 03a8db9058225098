#!/bin/sh
# run_program.sh SCENARIO NAME COMMAND...: runs the program against the virtual modem with the lines of NAME.in, of which
# "wait N TEXT" waits until TEXT stands in N lines of the output. Passes when the program ends with status 0 and its output
# is NAME.out, as compare.sh compares.
#
# The log must be there too, and nothing but lines of the agreed form.
export ZEB_SCENARIO="$1"
name=$2
shift 2
dir=$(mktemp -d) || exit 1
trap 'rm -rf "$dir"' EXIT
: >"$dir/out"

wait_for() {
    for _ in $(seq 600); do
        [ "$(grep -c "$2" "$dir/out")" -ge "$1" ] && return
        sleep 0.05
    done
    echo "did not see $1 times: $2" >&2
}

feed() {
    while read -r word count text; do
        case $word in
        wait) wait_for "$count" "$text" ;;
        *) echo "$word${count:+ $count}${text:+ $text}" ;;
        esac
    done <"$name.in"
}

export DIAG_LOG="$dir/log"
feed | "$@" >"$dir/out"
status=$?
[ "$status" -eq 0 ] || { echo "ended with status $status" && unset CPE_DM_ACCEPT; }
form='^[0-9TZ:. -]*(info|error) +[0-9]+ +cpe_dm_[a-z_]+\.cpp:[0-9]+ [A-Za-z0-9]'
grep -vE "$form" "$dir/log" && echo "lines of another form in the log" && status=1
[ -s "$dir/log" ] || status=1
"$(dirname "$0")/../support/compare.sh" "$name.out" "$dir/out" && [ "$status" -eq 0 ]
