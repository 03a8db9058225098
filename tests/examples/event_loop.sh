#!/bin/sh
# event_loop.sh COMMAND...: checks that the example goes on by itself, with new events, after a hole in coverage and
# after a restart of the modem, and that SIGTERM soon ends it with status 0 at any moment.
dir=$(mktemp -d) || exit 1
trap 'rm -rf "$dir"' EXIT
pid=

fail() {
    echo "FAILED: $*"
    cat "$dir/out"
    [ -z "$pid" ] || kill -KILL "$pid"
    exit 1
}

# start SCENARIO COMMAND...: starts the command in the background; its output goes to the file "out".
start() {
    export ZEB_SCENARIO="$1"
    shift
    : >"$dir/out"
    "$@" >>"$dir/out" 2>&1 &
    pid=$!
}

# says TEXT...: whether the example has printed these lines in this order, with or without other lines between them.
says() {
    for text in "$@"; do
        echo "$text"
    done | awk -v out="$dir/out" '{
        while ((found = getline line <out) > 0 && line != $0) { }
        if (found <= 0) { exit 1 }
    }'
}

wait_until_it_says() {
    tries=0
    until says "$@"; do
        tries=$((tries + 1))
        [ $tries -le 600 ] || fail "did not say: $*"
        sleep 0.1
    done
}

# In the scenarios below, the example would wait for 50 s or more; an end within 30 s has not waited.
end_it() {
    before=$(date +%s)
    kill -TERM "$pid"
    wait "$pid" || fail "SIGTERM ended it with status $?"
    pid=
    [ $(($(date +%s) - before)) -lt 30 ] || fail "SIGTERM took $(($(date +%s) - before)) s to end it"
}

cat >"$dir/gaps.toml" <<'SCENARIO'
repeat_ms = 11000
lte = { srv_status = "service", rsrp = -90 }
[[change]]
at_ms = 1500
lte = { srv_status = "no_service" }
[[change]]
at_ms = 3000
lte = { srv_status = "service", rsrp = -100 }
[[change]]
at_ms = 5000
present = false
[[change]]
at_ms = 8000
present = true
[[change]]
at_ms = 9500
lte = { rsrp = -110 }
SCENARIO
start "$dir/gaps.toml" "$@"
wait_until_it_says 'reg lte' 'reg none' 'reg lte' 'lte.rsrp -100 dBm' \
    'event_loop: watch: the modem or a lower layer failed' 'event_loop: deregistration: success' 'reg none' \
    'event_loop: waiting for the modem' 'event_loop: registration: success' 'reg lte' 'lte.rsrp -110 dBm'
end_it

# SIGTERM comes while the example waits for the modem for the first time, after the modem has gone, and while the
# example waits for an answer that does not come.
echo 'appear_ms = 60000' >"$dir/never.toml"
start "$dir/never.toml" "$@"
wait_until_it_says 'event_loop: waiting for the modem'
end_it

printf 'repeat_ms = 90000\n[[change]]\nat_ms = 500\npresent = false\n' >"$dir/away.toml"
start "$dir/away.toml" "$@"
wait_until_it_says 'event_loop: deregistration: success' 'event_loop: waiting for the modem'
end_it

printf '[[fault]]\nmessage = 0x0003\nnth = 2\ndelay_ms = 60000\n' >"$dir/silent.toml"
start "$dir/silent.toml" "$@"
wait_until_it_says 'event_loop: registration: success'
end_it

# SIGTERM comes 0 to 320 ms after the example's first line. The example deregisters unless that takes too long; it must
# deregister at least once.
deregistered=no
for moment in 0 1 2 3 4 5 6 7 8 8 8 8 8 8 8 8; do
    [ $moment -lt 8 ] || [ $deregistered = no ] || break
    start '' "$@"
    wait_until_it_says 'event_loop: waiting for the modem'
    sleep "$(printf '0.%03d' $((moment * moment * 5)))"
    end_it
    ! says 'event_loop: registration: success' 'event_loop: watch: success' 'event_loop: deregistration: success' ||
        deregistered=yes
done
[ $deregistered = yes ] || fail "it has never deregistered at its end"
