# For tests that write to a program's console; they source this file. Each input line is written when the program's output
# or log shows that the program is ready for it, however long this takes.
# shellcheck shell=sh

# wait_for N TEXT FILE: waits until the text stands in N lines of the file, and then for the seconds that the variable
# settle says, if it is set. Returns 1 after two minutes without success.
wait_for() {
    for _ in $(seq 2400); do
        lines=$(grep -c -- "$2" "$3" 2>/dev/null)
        [ "${lines:-0}" -ge "$1" ] && sleep "${settle:-0}" && return
        sleep 0.05
    done
    echo "did not see $1 times: $2" >&2
    return 1
}

# feed INPUT NAME TIMES: writes the lines of INPUT for a program whose output goes to NAME.out and whose log goes to
# NAME.log. The program plays a scenario that was made TIMES times slower. Three kinds of lines are not written:
# "wait N TEXT" waits for the text in the output, "log N TEXT" waits for the text in the log, and "within MS" makes the file
# NAME.late when more than MS milliseconds of the scenario have passed.
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

# slower TIMES SCENARIO: prints the scenario with a timeline that is TIMES times slower.
slower() {
    awk -v times="$1" '/^(at_ms|repeat_ms) = / { $3 *= times } 1' "$2"
}
