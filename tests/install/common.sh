# What these tests share; sourced by them, never run. `source` is the project's folder, `dir` one of the test's own.
# shellcheck shell=sh
source=$(cd "$(dirname "$0")/../.." && pwd)
example=$source/examples/one_metric
# shellcheck disable=SC2034
plugin=$source/tests/install/plugins/plugin.c
# shellcheck disable=SC2034
program=$(basename "$example")
dir=$(mktemp -d) || exit 1
trap 'rm -rf "$dir"' EXIT

fail() {
    echo "FAILED: $*"
    exit 1
}

# run_client LAUNCHER... CLIENT: an answer at the prompt. The client stands where somebody has put a C library of his own,
# which it must not take.
run_client() {
    mkdir -p "$dir/foreign"
    echo "no library" >"$dir/foreign/libc.so.6"
    printf '%s\n' 1 '7 10' 2 | (cd "$dir/foreign" && "$@") | grep '^\[LTE Serving Cell RSRP\] - -' || fail "no answer from $*"
}

# run_example LAUNCHER... PROGRAM: the example ends well, and has printed a value of the virtual modem.
run_example() {
    timeout 60 "$@" >"$dir/example.out" || fail "$* ended with status $?"
    grep -e '-[0-9]' "$dir/example.out" || fail "no value from $*"
}

# must_fail TEXT COMMAND...: it fails, and says TEXT, an extended regular expression, in one line.
must_fail() {
    text=$1
    shift
    "$@" >"$dir/failed.log" 2>&1 && fail "did not fail: $*"
    grep -E "$text" "$dir/failed.log" || { cat "$dir/failed.log" && fail "did not say $text: $*"; }
}

# build FOLDER CMAKE-OPTION...: configures into the folder and builds all of it.
build() {
    cmake -B "$@" -G Ninja -DCMAKE_BUILD_TYPE=Release && cmake --build "$1" -j "${JOBS:-2}"
}

# document_commands FILE HEADING: the first block of commands of a document below that line.
document_commands() {
    awk -v heading="$2" '$0 == heading { here = 1 } here && /^```$/ { exit } block { print } here && /^```sh$/ { block = 1 }' \
        "$source/$1" | grep . || fail "$1 has no commands below $2" >&2
}
