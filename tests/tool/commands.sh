#!/bin/sh
# commands.sh SCENARIO TOOL...: runs the tool against this scenario, once for each line of standard input, which holds
# the tool's arguments. Shows the tool's output, then its messages, then its exit status unless that is 0. A fixed word
# replaces each text that differs from run to run: the time, and the seconds since the start of the machine.
export ZEB_SCENARIO="$1"
shift
messages=$(mktemp) || exit 1
trap 'rm -f "$messages"' EXIT
while read -r line; do
    echo "\$ cpe_dm $line"
    eval "\"\$@\" $line" 2>"$messages" </dev/null
    status=$?
    cat "$messages"
    [ "$status" -eq 0 ] || echo "status $status"
done | sed -E 's/[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9:.]{12}Z/TIME/; s/^TIME,[0-9.]+/TIME,UPTIME/; s/("uptime":)[0-9.]+/\1UPTIME/'
