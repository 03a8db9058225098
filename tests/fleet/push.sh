#!/bin/bash
# push.sh tls|plain SHELL [WORD]: checks fleet/box/cpe_dm_push with a real broker. SHELL runs cpe_dm_push: `sh`, for
# example, or `busybox sh`.
set -euo pipefail
if [[ ${1:-} != inside ]]; then # runs in a session of its own, whose processes are all killed at the end
    setsid "$0" inside "$@" &
    trap 'kill -KILL -- -$! 2>/dev/null' EXIT
    wait $!
    exit
fi
shift
# shellcheck source=tests/fleet/common.sh
source "$(dirname "$0")/common.sh"
security=$1
shell=("${@:2}")
dir=$(mktemp -d)
cd "$dir"
broker=
end() {
    trap - EXIT
    # shellcheck disable=SC2046
    { kill -KILL $(jobs -p) && wait; } 2>/dev/null || true
    rm -rf "$dir"
}
trap end EXIT
trap 'exit 1' INT TERM

cp "$source/fleet/mqtt/acl" .
printf '%s:secret\n' box1 box2 fleet >passwords
mosquitto_passwd -U passwords
cat >broker.conf <<END
listener $port 127.0.0.1
user $(id -un)
password_file $dir/passwords
acl_file $dir/acl
persistence true
persistence_location $dir/
max_queued_messages 0
END
if [[ $security = tls ]]; then
    openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 1 -subj /CN=127.0.0.1 \
        -addext subjectAltName=IP:127.0.0.1 -keyout key.pem -out ca.pem 2>/dev/null
    printf '%s\n' "certfile $dir/ca.pem" "keyfile $dir/key.pem" >>broker.conf
fi
for user in box1 fleet; do
    mkdir $user
    printf '%s\n' '-h 127.0.0.1' "-p $port" '-V mqttv5' "-u $user" '-P secret' >$user/mosquitto_pub
    [[ $security = plain ]] || echo "--cafile $dir/ca.pem" >>$user/mosquitto_pub
done
cp fleet/mosquitto_pub fleet/mosquitto_sub

answers() { (exec 3<>"/dev/tcp/127.0.0.1/$port"); }
start_broker() {
    mosquitto -c broker.conf >>broker.err 2>&1 &
    broker=$!
    until_true answers
}
kill_broker() {
    kill -KILL $broker
    { wait $broker; } 2>/dev/null || true
}

# lines FROM TO SECONDS: stands in for `cpe_dm watch --json`. Prints the lines FROM to TO, with a pause of SECONDS after
# each line, and ends with status 0 on SIGTERM.
cat >lines <<'END'
#!/bin/bash
trap 'exit 0' TERM
for ((i = $1; i <= $2; i++)); do
    printf '{"n":%d,"text":"%0700d"}\n' $i 0
    [[ $3 = 0 ]] || { sleep $3 & wait $!; }
done
END
chmod 755 lines
push=(env XDG_CONFIG_HOME="$dir/box1" "${shell[@]}" "$source/fleet/box/cpe_dm_push")
newest() { XDG_CONFIG_HOME=$dir/fleet timeout 5 mosquitto_sub -t "$1" -C 1 -q 1; }
arrived() { grep -qF "$1" received; }
is_null() { [[ $(newest cpe_dm/box1) = null ]]; }
many() { [[ $(numbers | grep -c '^10[0-9][0-9][0-9]$') -eq 400 ]]; }
numbers() { grep -o '"n":[0-9]*' received | cut -d : -f 2 | sort -n | uniq; }

# The broker is away at the start and is killed in the middle, and then cpe_dm_push is stopped. Every line arrives, and
# `null` arrives last.
start_broker
while :; do # mosquitto_sub ends when a TLS connection breaks off
    XDG_CONFIG_HOME=$dir/fleet mosquitto_sub -c -i reader -q 1 -t 'cpe_dm/#' || sleep 0.2
done >received 2>reader.err &
until_true grep -q ' as reader ' broker.err
sleep 0.3
kill -USR1 $broker # makes the broker save that there is a reader
until_true test -s mosquitto.db
kill_broker
"${push[@]}" cpe_dm/box1 ./lines 1 1000000 0.1 2>push.err &
pusher=$!
until_true grep -q refused push.err
start_broker
until_true arrived '"n":1,'
kill_broker
n=$(numbers | tail -n 1)
sleep 2
start_broker
until_true arrived "\"n\":$((n + 40)),"
kill -TERM $pusher
wait $pusher || fail "stopped with status $?"
until_true is_null
last=$(numbers | tail -n 1)
[[ $(numbers | wc -l) -eq $last ]] || fail "$(numbers | wc -l) lines of $last arrived"
[[ $(tail -n 1 received) = null ]] || fail "the last line is $(tail -n 1 received)"

# These lines are more than one mosquitto_pub gets.
CPE_DM_PUSH_KEEP=400 "${push[@]}" cpe_dm/box1 ./lines 10001 10400 0 2>push.err || fail "many lines: status $?"
until_true many

# A box that dies leaves `null`.
setsid "${push[@]}" cpe_dm/box1 ./lines 20001 30000 0.1 2>push.err &
until_true arrived '"n":20003,'
kill -KILL -- -$!
until_true is_null

# A box cannot write the topic of another box.
"${push[@]}" cpe_dm/box2 ./lines 30001 30003 0.1 2>push.err || true
grep -q 'Not authorized' push.err || fail "writing another's topic was not refused"
! arrived '"n":3000' || fail "another's topic was written"

# cpe_dm_push ends with the status of its command. While the broker stays away, cpe_dm_push keeps the newest lines, and
# ends all the same.
status=0
"${push[@]}" cpe_dm/box1 sh -c 'echo "{}"; exit 4' 2>push.err || status=$?
[[ $status -eq 4 ]] || fail "status $status instead of 4"
kill_broker
status=0
export CPE_DM_PUSH_KEEP=20
"${push[@]}" cpe_dm/box1 ./lines 40001 40100 0.01 2>push.err || status=$?
[[ $status -eq 1 ]] || fail "status $status with lines left over"
for text in 'newest 20 lines are kept' ' 21 lines were not delivered'; do
    grep -q "$text" push.err || fail "lines were lost in silence"
done
"${push[@]}" cpe_dm/box1 ./lines 50001 50120 0.1 2>push.err &
pusher=$!
until_true grep -q kept push.err
start_broker
wait $pusher || fail "after the broker came back: status $?"
until_true arrived '"n":50120,'
missing=$(seq 50001 50120 | grep -cvxFf <(numbers))
grep -q "the broker is back: $missing lines were dropped" push.err || fail "$missing lines did not arrive"
echo "push.sh: $security, ${shell[*]}: $last lines over an outage, $missing of 120 dropped for lack of room"
