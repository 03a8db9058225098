#!/bin/sh
# one_metric.sh SCENARIOS COMMAND...: checks the example's output and exit status when the value cannot be written, when
# the modem reports the value, when it does not report it, and when it refuses the registration.
scenarios=$1
shift
dir=$(mktemp -d) || exit 1
trap 'rm -rf "$dir"' EXIT

# expect STATUS TEXT SCENARIO OUTPUT COMMAND...: the command, with its standard output in OUTPUT, must end with STATUS,
# and the file "out" and standard error together must be TEXT.
expect() {
    wanted=$1 text=$2 output=$4
    export ZEB_SCENARIO="$3"
    shift 4
    "$@" >"$output" 2>"$dir/err"
    status=$?
    [ "$status" -eq "$wanted" ] && [ "$(cat "$dir/out" "$dir/err")" = "$text" ] && return
    echo "$ZEB_SCENARIO: status $status, and not: $text"
    cat "$dir/out" "$dir/err"
    exit 1
}

printf 'lte = { srv_status = "service" }\n[[fault]]\nmessage = 0x004D\nresult = 1\n' >"$dir/refuses.toml"
: >"$dir/out"
expect 1 'one_metric: standard output: No space left on device' "$scenarios/steady.toml" /dev/full "$@"
expect 0 'lte.rsrp -93 dBm' "$scenarios/steady.toml" "$dir/out" "$@"
expect 1 'one_metric: lte.rsrp: not reported by the modem' "$scenarios/nr5g_standalone.toml" "$dir/out" "$@"
expect 1 'one_metric: cannot register: the modem or a lower layer failed' "$dir/refuses.toml" "$dir/out" "$@"
