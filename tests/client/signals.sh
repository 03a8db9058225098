#!/bin/sh
# signals.sh EXPECTED COMMAND...: gives the client half a line, interrupts its read, gives it the rest, and ends it
# with SIGTERM at the next prompt. Passes when it ends with status 0 and has written EXPECTED to a pipe, as compare.sh
# compares. So it does once more with an input that does not block.
expected=$1
shift
dir=$(mktemp -d) || exit 1
trap 'rm -rf "$dir"' EXIT
if [ -z "$prepare" ]; then
    prepare=: "$0" "$expected" "$@" || exit
    prepare='dd iflag=nonblock count=0'
fi
export prepare
mkfifo "$dir/in"

# Waits until the client has prompted $1 times.
prompted() {
    for _ in $(seq 600); do
        [ "$(grep -o 'Option > ' "$dir/out" 2>/dev/null | wc -l)" -ge "$1" ] && return
        sleep 0.1
    done
    echo "prompt $1 did not come"
    kill -KILL "$(cat "$dir/pid")"
    exit 1
}

{
    # shellcheck disable=SC2016
    sh -c 'echo $$ >"$0/pid"; $prepare 2>/dev/null; exec "$@"' "$dir" "$@" <"$dir/in"
    echo $? >"$dir/status"
} | cat >"$dir/out" &
exec 3>"$dir/in"
prompted 1
printf '1' >&3
sleep 0.3
kill -USR1 "$(cat "$dir/pid")"
sleep 0.3
printf '1\n' >&3
prompted 2
kill -TERM "$(cat "$dir/pid")"
wait
echo "ended with status $(cat "$dir/status")"
"$(dirname "$0")/../support/compare.sh" "$expected" "$dir/out" && [ "$(cat "$dir/status")" = 0 ]
