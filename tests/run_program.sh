#!/bin/sh
# run_program.sh SCENARIO NAME COMMAND...: runs the program against the virtual modem with the lines of NAME.in, of which
# "wait N TEXT" waits until TEXT stands in N lines of the output. Passes when the program ends with status 0 and its output
# is, byte for byte, NAME.out.
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

feed | "$@" >"$dir/out"
status=$?
[ "$status" -eq 0 ] || echo "ended with status $status"
diff -u "$name.out" "$dir/out" && [ "$status" -eq 0 ]
