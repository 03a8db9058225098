#!/bin/sh
# run_replay.sh RECORD PLAY COMMAND...: records the session of replay_session.in with the client of the build folder
# RECORD, and plays it with that of PLAY, at the recorded speed and as fast as possible. COMMAND is zeb_recording.
# Passes when both plays print and log the lines of the recorded session, except for times, thread numbers and
# addresses; when they say that they are exact; and when a recording of the play is the recording that was played. The
# same must hold for the redacted recording, log and output, in which no identity of the session may be left. A client
# for ARM runs under emulation. Ends with status 77, skipped, when a build is not there.
here=$(dirname "$0")
# shellcheck source=tests/support/console.sh
. "$here/../support/console.sh"
dir=$(mktemp -d) || exit 1
trap 'rm -rf "$dir"' EXIT
record=$1
play=$2
shift 2
for program in "$record" "$play"; do
    if ! [ -e "$program/client/cpe_dm_client" ] || ! [ -e "$program/recorder/libzeb_record.so" ]; then
        echo "not built: $program"
        exit 77
    fi
done

# Prints the lines of a log without times, thread numbers and addresses.
lines() { sed -E 's/^[^ ]+ ([a-z]+) +[0-9]+ /\1 /; s/0x[0-9a-f]{5,}/ADDRESS/g' "$1"; }

# session NAME BUILD [VARIABLE=VALUE...]: runs the client of BUILD, with its output in NAME.out and NAME.err, its log in
# NAME.log, and a recording in NAME.
session() {
    name=$dir/$1
    program=$2/client/cpe_dm_client
    # Without verify_asan_link_order=0, AddressSanitizer refuses to run after a preloaded library.
    set -- "$@" ZEB_RECORD="$name" LD_PRELOAD="$2/recorder/libzeb_record.so" ASAN_OPTIONS="$ASAN_OPTIONS:verify_asan_link_order=0"
    shift 2
    if [ "$(od -An -tu1 -j4 -N1 "$program")" -eq 1 ]; then
        emulator="qemu-arm -L /usr/arm-linux-gnueabihf"
        for variable; do
            emulator="$emulator -E $variable"
        done
        set --
    fi
    : >"$name.out" && : >"$name.log"
    # shellcheck disable=SC2086 # the emulator is several words
    feed "$here/replay_session.in" "$name" 1 |
        env DIAG_LOG="$name.log" "$@" ${emulator:-} "$program" >"$name.out" 2>"$name.err" || { cat "$name.err" && exit 1; }
    emulator=
    lines "$name.log" >"$name.lines"
}

# Whether the recording has everything, and the session's input was given before the scenario changed the signal.
is_complete() {
    for text in 'event=1' 'event=0' 'id=0x0085 buf=' 'id=0x0051 status=-6' 'id=0x004e buf=' 'status=-2 timeout' 'status=-8' \
        'resp=[0-9]*:01000000' 'wait timeout'; do
        grep -q "$text" "$dir/box" || return
    done
    awk '/id=0x0051 buf/ { changed = 1 } /id=0x0133/ && changed { late = 1 } END { exit late }' "$dir/box"
}

for times in 1 2 4 8 16; do
    rm -f "$dir/box"
    slower $times "$here/replay_session.toml" >"$dir/scenario"
    session box "$record" ZEB_SCENARIO="$dir/scenario"
    is_complete && break
    echo "recorded too slowly for the scenario, $times times slower than usual"
done
is_complete || exit 1
status=0

# plays RECORDING NAME SPEED: the play must print RECORDING.out and log RECORDING.lines.
plays() {
    session "$2" "$play" ZEB_RECORDING="$1" ZEB_SPEED="$3" ZEB_STRICT=1
    for form in out lines; do
        diff -u "$1.$form" "$dir/$2.$form" || status=1
    done
    grep "^exact: $1: requests: [1-9]" "$dir/$2.err" || status=1
}
plays "$dir/box" played1 1
"$@" diff "$dir/box" "$dir/played1" || status=1
plays "$dir/box" played0 0
"$@" diff "$dir/box" "$dir/played0" || status=1

"$@" redact "$dir/box" -o "$dir/sent" --also "$dir/box.out" -o "$dir/sent.out" --also "$dir/box.log" -o "$dir/sent.log" || exit 1
lines "$dir/sent.log" >"$dir/sent.lines"
plays "$dir/sent" played_sent 0
"$@" diff "$dir/sent" "$dir/played_sent" || status=1
"$@" page "$dir/sent" -o "$dir/sent.html" || status=1
sed -E 's/\[[0-9,-]+\]//g' "$dir/sent.html" >"$dir/sent.texts" # without columns of times
# The identities in hexadecimal, as they lie in memory, if they have three bytes or more, and as decimal numbers, if
# they have five digits or more.
for identity in 15cd5b07 00c409 34a709 010000000000008 9078563412 \
    '\b54321\b' '\b45678\b' '\b45679\b' '\b123456789\b' '\b640000\b' '\b632628\b' '\b9223372036854775809\b' \
    '\b78187493520\b'; do
    grep -qE "$identity" "$dir/box" "$dir/box.out" "$dir/box.log" || { echo "the session has no $identity" && status=1; }
    grep -oE ".{0,60}$identity" "$dir/sent" "$dir/sent.out" "$dir/sent.log" "$dir/sent.texts" && status=1
done
exit $status
