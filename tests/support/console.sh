# For tests that sit at a program's console; sourced by them. Input is written when the program's output or log says that it
# is time, however long that takes.
# shellcheck shell=sh

# wait_for N TEXT FILE: until the text stands in N lines of the file. 1 when it still does not after two minutes.
wait_for() {
    for _ in $(seq 2400); do
        lines=$(grep -c -- "$2" "$3" 2>/dev/null)
        [ "${lines:-0}" -ge "$1" ] && return
        sleep 0.05
    done
    echo "did not see $1 times: $2" >&2
    return 1
}

# feed INPUT NAME TIMES: writes the lines of INPUT for a program with its output in NAME.out and its log in NAME.log, which
# plays a scenario that is TIMES times slower. Of these lines "wait N TEXT" waits for the output and "log N TEXT" for the
# log; and "within MS" makes the file NAME.late when the scenario has come beyond MS milliseconds.
feed() {
    began=$(date +%s%3N)
    while read -r word count text; do
        case $word in
        wait) wait_for "$count" "$text" "$2.out" || break ;;
        log) wait_for "$count" "$text" "$2.log" || break ;;
        within) [ "$(($(date +%s%3N) - began))" -le $((count * $3)) ] || : >"$2.late" ;;
        *) echo "$word${count:+ $count}${text:+ $text}" ;;
        esac
    done <"$1"
}

# slower TIMES SCENARIO: prints the scenario with its timeline so many times slower.
slower() {
    awk -v times="$1" '/^(at_ms|repeat_ms) = / { $3 *= times } 1' "$2"
}
