#!/usr/bin/env bash
# Usage: check_scenario.sh SCENARIOS PROGRAM...
# The checker must accept every scenario in SCENARIOS, and print only the line and the fault of each wrong scenario.
set -euo pipefail
scenarios=$1
shift
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder"
printf 'tick_ms = 50\n[lte]\nrsrp = 1\n' >wrong.toml

# expect STATUS OUTPUT ARGUMENT...: the checker, run with these arguments, must end with STATUS and print OUTPUT.
expect() {
    local status=0 output
    output=$("${program[@]}" "${@:3}" 2>&1) || status=$?
    [[ $status -eq $1 && $output = "$2" ]] || { echo "${*:3}: status $status, output: $output" && exit 1; }
}

program=("$@")
expect 0 '' "$scenarios"/*.toml
expect 1 'wrong.toml:3: rsrp: value out of range -200 to 0' "$scenarios/drive.toml" wrong.toml "$scenarios/steady.toml"
expect 1 'no/such:0: cannot be read: No such file or directory' no/such
expect 2 'Usage: check-scenario FILE...'
