#!/bin/sh
# signal_logger.sh SCENARIOS CSV COMMAND...: runs the example for two seconds, ended by a signal, with its rows in CSV; then
# without NR 5G; then with a modem that goes and comes back; then, until a signal, with one that never comes. Passes when
# each run ends with status 0, with the rows and the reports that belong to it.
scenarios=$1
csv=$2
shift 2
dir=$(mktemp -d) || exit 1
trap 'rm -rf "$dir"' EXIT

fail() {
    echo "$*"
    cat "$dir/rows" "$dir/reports"
    exit 1
}

# expect COUNT FILE PATTERN: so many lines, or more, are of this form, time first.
expect() {
    [ "$(grep -cE "^[0-9-]{10}T[0-9:.]{12}Z$3\$" "$dir/$2")" -ge "$1" ] || fail "not in $2 $1 times: $3"
}

ZEB_SCENARIO=$scenarios/default.toml "$@" -i 0.25 "$dir/rows" 2>"$dir/reports" &
sleep 2
kill -TERM $!
wait $! || fail "SIGTERM ended it with status $?"
[ "$(head -n 1 "$dir/rows")" = "time,lte_rsrp_dbm,lte_rsrq_db,lte_sinr_db,nr5g_rsrp_dbm,nr5g_rsrq_db,nr5g_sinr_db" ] ||
    fail "another header"
expect $(($(wc -l <"$dir/rows") - 1)) rows '(,-[0-9]+,-[0-9]+,[0-9]+\.[0-9]){2}'
expect 5 rows '.*'
expect 1 reports ' registration: LTE with NR 5G'
expect 1 reports ' indication: LTE Serving Cell SINR [0-9]+\.[0-9] dB'
cp "$dir/rows" "$csv" || exit 1

ZEB_SCENARIO=$scenarios/lte_only.toml "$@" -i 0.1 -n 2 >"$dir/rows" 2>"$dir/reports" || fail "ended with status $?"
expect 2 rows ',-140,-10,-20\.0,,,'

cat >"$dir/restart.toml" <<'SCENARIO'
lte = { srv_status = "service", rsrp = -90 }
[[change]]
at_ms = 500
present = false
[[change]]
at_ms = 2500
present = true
SCENARIO
ZEB_SCENARIO=$dir/restart.toml "$@" -i 0.1 -n 10 >"$dir/rows" 2>"$dir/reports" || fail "ended with status $?"
expect 2 rows ',,,,,,'
expect 2 reports ' registration: LTE'
tail -n 1 "$dir/rows" >"$dir/last" && expect 1 last ',-90,-10,10\.0,,,'

echo 'appear_ms = 600000' >"$dir/away.toml"
ZEB_SCENARIO=$dir/away.toml "$@" >"$dir/waiting" &
until grep -qs time "$dir/waiting"; do
    sleep 0.1
done
kill -INT $!
wait $! || fail "SIGINT ended it with status $?"
