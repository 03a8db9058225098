#!/bin/bash
# terminal.sh TRANSCRIPTS COMMAND...: how the client copes with non-blocking descriptors (another program on the
# terminal may have made them so), with signals while it reads and writes, and with output that nobody takes. The client
# ends with status 0 in every case. It writes marks into the file CLIENT_MARKS: that it has started, and which of its
# reads and writes had to be tried again.
here=$(dirname "$0")
# shellcheck source=tests/support/console.sh
. "$here/../support/console.sh"
transcripts=$1
shift
dir=$(mktemp -d) || exit 1
trap 'rm -rf "$dir"' EXIT
export CLIENT_MARKS="$dir/marks" dir
mkfifo "$dir/in"
full='cpe_dm_client: standard output cannot be written, what is printed is lost: No space left on device'

fail() {
    echo "$*"
    kill -KILL "$(cat "$dir/pid")" 2>/dev/null
    exit 1
}

# Removes what the last client has left. Called before the pipeline of the next client starts, because the parts of a
# pipeline run at the same time.
fresh() {
    rm -f "$dir/marks" "$dir/status" "$dir/out"
}

# client PREPARATION COMMAND...: runs the command, after the preparation has changed its descriptors.
client() {
    # shellcheck disable=SC2016
    preparation=$1 bash -c 'echo $$ >"$dir/pid"; $preparation 2>/dev/null; exec "$@"' bash "${@:2}"
    echo $? >"$dir/status"
}

# interrupt TEXT: sends SIGUSR1 until TEXT is among the marks.
interrupt() {
    wait_for 1 started "$dir/marks" || fail "did not start"
    for _ in $(seq 2400); do
        grep -q "$1" "$dir/marks" && return
        kill -USR1 "$(cat "$dir/pid")"
        sleep 0.05
    done
    fail "no signal led to: $1"
}

ended() {
    wait_for 1 . "$dir/status" || fail "does not end"
    wait
    [ "$(cat "$dir/status")" = 0 ] || fail "ended with status $(cat "$dir/status")"
}

# The client gets half a line, a read that has to be tried again, the rest of the line, and SIGTERM at the next prompt.
for preparation in : 'dd iflag=nonblock count=0'; do
    fresh
    client "$preparation" "$@" no_such_file <"$dir/in" 2>&1 | cat >"$dir/out" &
    exec 3<>"$dir/in"
    wait_for 1 'Option > ' "$dir/out" || fail "no prompt"
    printf '1' >&3
    case $preparation in
    :) interrupt 'read was interrupted' ;;
    *) wait_for 2 'read would block' "$dir/marks" || fail "does not come back for the rest" ;;
    esac
    printf '1\n' >&3
    wait_for 2 'Option > ' "$dir/out" || fail "no prompt"
    kill -TERM "$(cat "$dir/pid")"
    exec 3>&-
    ended
    "$here/../support/compare.sh" "$transcripts/signals.out" "$dir/out" || exit 1
done

# The input ends after a read that would have blocked.
fresh
client 'dd iflag=nonblock count=0' "$@" no_such_file <"$dir/in" >"$dir/out" 2>&1 &
exec 3<>"$dir/in"
wait_for 1 'read would block' "$dir/marks" || fail "does not wait"
exec 3>&-
ended
"$here/../support/compare.sh" "$transcripts/start.out" "$dir/out" || exit 1

# While nobody reads the pipe, the client prints more than a pipe holds, even in its first line. All output arrives.
{ printf '# %0100000d\n' 0 && yes 10 | head -n 20; } >"$dir/lines"
"$@" "$dir/lines" >"$dir/plain"
{ printf 'CPE DEMO APP : ' && head -n 1 "$dir/lines"; } >"$dir/echo"
grep -qxFf "$dir/echo" "$dir/plain" || fail "a long line is not whole"
for preparation in : 'dd oflag=nonblock count=0'; do
    fresh
    client "$preparation" "$@" "$dir/lines" 2>"$dir/err" | {
        case $preparation in
        :) interrupt 'write was interrupted' ;;
        *) wait_for 1 'write would block' "$dir/marks" || fail "does not wait" ;;
        esac
        cat >"$dir/out"
    }
    ended
    cmp "$dir/plain" "$dir/out" || fail "lost output"
    [ ! -s "$dir/err" ] || fail "said: $(cat "$dir/err")"
done

# When output cannot be written, the client says so once.
fresh
client : "$@" "$dir/lines" >/dev/full 2>"$dir/err"
ended
[ "$(cat "$dir/err")" = "$full" ] || fail "said: $(cat "$dir/err")"
