# What these tests share; they source this file. `source` is the project's folder, `dir` a temporary folder of the test.
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

# run_client LAUNCHER... CLIENT: the client must answer at its prompt. The folder in which it runs has a file libc.so.6
# that is no library, and that the loader must not take.
run_client() {
    mkdir -p "$dir/foreign"
    echo "no library" >"$dir/foreign/libc.so.6"
    printf '%s\n' 1 '7 10' 2 | (cd "$dir/foreign" && "$@") | grep '^\[LTE Serving Cell RSRP\] - -' || fail "no answer from $*"
}

# run_example LAUNCHER... PROGRAM: the program must end with status 0 and print a value of the virtual modem.
run_example() {
    timeout 60 "$@" >"$dir/example.out" || fail "$* ended with status $?"
    grep -e '-[0-9]' "$dir/example.out" || fail "no value from $*"
}

# must_fail TEXT COMMAND...: the command must fail and print a line that TEXT, an extended regular expression, matches.
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

# document_commands FILE HEADING: prints the first block of commands (```sh) below the line HEADING of FILE.
document_commands() {
    awk -v heading="$2" '$0 == heading { here = 1 } here && /^```$/ { exit } block { print } here && /^```sh$/ { block = 1 }' \
        "$source/$1" | grep . || fail "$1 has no commands below $2" >&2
}
