# Functions that the scripts share. Scripts source this file; it is never run. Sets `root`, the project's folder, and
# `jobs`, the number of jobs that a build runs side by side.
# shellcheck shell=bash

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
jobs=${JOBS:-2}

# build PRESET [TARGET]: configures when needed, and builds the target, or all targets when none is named.
build() {
    (cd "$root" && cmake --preset "$1" && cmake --build --preset "$1" -j "$jobs" ${2:+--target "$2"})
}

# run_tests PRESET [CTEST OPTION...]: runs the preset's tests; finding none is a failure. Runs six times as many tests side
# by side as there are jobs, since most tests mostly wait. A test of ctest can be a program with several cases: the last
# line of the output says how many cases passed.
run_tests() {
    local folder=$root/build/$1
    shift
    ctest --test-dir "$folder" -j $((6 * jobs)) --no-tests=error --no-label-summary --output-on-failure "$@" &&
        awk '/^\[  PASSED  \]/ { passed += $4 } /^\[  SKIPPED \] [0-9]/ { skipped += $4 }
            END { printf "GoogleTest cases: %d passed, %d skipped\n", passed, skipped }' \
            "$folder/Testing/Temporary/LastTest.log"
}

# all_sources [FOLDER...]: prints the C and C++ files of these folders (by default of the whole tree), one a line.
all_sources() {
    (cd "$root" && find "${@:-.}" \( -path ./build -o -path ./.git \) -prune -o \
        -type f \( -name '*.c' -o -name '*.cpp' -o -name '*.h' -o -name '*.hpp' \) -print | LC_ALL=C sort)
}

# all_scripts: prints the shell scripts of the tree, also those that are only sourced, one a line.
all_scripts() {
    (cd "$root" && grep -rlIE -m 1 --exclude-dir=build --exclude-dir=.git '^(#!.*[/ ](ba|da)?sh$|# shellcheck shell=)' . |
        LC_ALL=C sort)
}

# build_to_run NAME PROGRAM [TARGET]: builds PROGRAM in the release folder, with all that it needs, when something has
# changed. TARGET is the program's target, if it has another name than the program. Prints only that it builds for the
# first time, or what went wrong; NAME is the script's name in these messages.
build_to_run() {
    local log=$root/build/logs/$1.log status=0
    "$root/scripts/setup" build </dev/null || return
    mkdir -p "$root/build/logs"
    [[ -x $root/build/release/$2 ]] || echo "$1: building for the first time ..." >&2
    {
        flock 9 # one build at a time in this folder
        build release "${3:-$(basename "$2")}" >"$log" 2>&1 </dev/null 9>&- || status=$?
    } 9>"$root/build/logs/run.lock"
    [[ $status -eq 0 ]] || {
        cat "$log" >&2
        echo "$1: the build failed" >&2
        return 1
    }
}
