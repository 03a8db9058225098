#!/bin/sh
# run_replay.sh RECORD PLAY: records the session of replay_session.in with the client of the build folder RECORD, and
# plays it with that of PLAY, at the speed of life and as fast as it goes. Passes when both plays print and log what was
# recorded, line by line, but for times, thread numbers and addresses, and call themselves exact. A client for ARM runs
# under emulation. Ends with status 77, skipped, when a build is not there.
here=$(dirname "$0")
# shellcheck source=tests/support/console.sh
. "$here/../support/console.sh"
dir=$(mktemp -d) || exit 1
trap 'rm -rf "$dir"' EXIT
for program in "$1/client/cpe_dm_client" "$1/recorder/libzeb_record.so" "$2/client/cpe_dm_client"; do
    [ -e "$program" ] || { echo "not built: $program" && exit 77; }
done

# session NAME BUILD [VARIABLE=VALUE...]: a session with its output in NAME.out, NAME.err and NAME.log.
session() {
    name=$dir/$1
    program=$2/client/cpe_dm_client
    shift 2
    if [ "$(od -An -tu1 -j4 -N1 "$program")" -eq 1 ]; then
        emulator="qemu-arm -L /usr/arm-linux-gnueabihf"
        for variable; do
            emulator="$emulator -E $variable"
        done
        set --
    fi
    : >"$name.out" && : >"$name.log"
    # shellcheck disable=SC2086 # the emulator is some words
    feed "$here/replay_session.in" "$name" 1 |
        env DIAG_LOG="$name.log" "$@" ${emulator:-} "$program" >"$name.out" 2>"$name.err" || { cat "$name.err" && exit 1; }
    emulator=
    sed -E 's/^[^ ]+ ([a-z]+) +[0-9]+ /\1 /; s/0x[0-9a-f]{5,}/ADDRESS/g' "$name.log" >"$name.lines"
}

# Whether everything is in the recording, and the input kept ahead of the scenario's changes.
is_complete() {
    for text in 'event=1' 'event=0' 'id=0x0085 buf=' 'id=0x0051 status=-6' 'id=0x004e buf=' 'status=-2 timeout' 'status=-8' \
        'resp=[0-9]*:01000000' 'wait timeout'; do
        grep -q "$text" "$dir/recording" || return
    done
    awk '/id=0x0051 buf/ { changed = 1 } /id=0x0133/ && changed { late = 1 } END { exit late }' "$dir/recording"
}

for times in 1 2 4 8 16; do
    rm -f "$dir/recording"
    slower $times "$here/replay_session.toml" >"$dir/scenario"
    # What a sanitizer has of its own comes after what is preloaded.
    session recorded "$1" ZEB_SCENARIO="$dir/scenario" ZEB_RECORD="$dir/recording" \
        ASAN_OPTIONS="$ASAN_OPTIONS:verify_asan_link_order=0" LD_PRELOAD="$1/recorder/libzeb_record.so"
    is_complete && break
    echo "recorded too slowly for the scenario, $times times slower than usual"
done
is_complete || exit 1
status=0
for speed in 1 0; do
    session "played$speed" "$2" ZEB_RECORDING="$dir/recording" ZEB_SPEED=$speed ZEB_STRICT=1
    for form in out lines; do
        diff -u "$dir/recorded.$form" "$dir/played$speed.$form" || status=1
    done
    grep "^exact: $dir/recording: requests: [1-9]" "$dir/played$speed.err" || status=1
done
exit $status
