#!/bin/bash
# job_test.sh SOURCE_FOLDER CLIENT...: scripts/job under each shell that is here, against a client that says what a case
# wants it to say, and against the real one. Passes when every case ends with its status, names the line, and says why.
source=$1
shift
client=("$@")
dir=$(mktemp -d) || exit 1
trap 'rm -rf "$dir"' EXIT
cd "$dir" || exit 1
failures=0
cases=0

# The client: 7 says what is in the file `text`, 5 says it later, 3 ends it, 4 hangs, 8 asks for a scan, 9 says three lines.
cat >fake <<'FAKE'
#!/bin/sh
prompt() { printf '\n\nPlease select an option to test from the items listed below.\n\n10. CPE DM Options Usage    \nOption > '; }
[ -z "${GREETING:-}" ] || { echo "$GREETING" && exit; }
prompt
while read -r line; do
    echo "$line" >>sent
    [ "$line" != 2 ] || echo "CPE DEMO APP : Deregister application."
    case $line in
    7\ *) printf '%s' "$(cat text)" ;;
    3) exit 5 ;;
    4) sleep 3 ;;
    5) (sleep 0.4 && echo "$(cat text)") & ;;
    8) printf 'CPE DEMO APP : Getting LTE/5G [NR 5G Neighboring Cell PCI] metric information.\n' ;;
    9) printf 'one A\ntwo B\nthree A\n' ;;
    esac
    prompt
done
exit "${AT_END:-0}"
FAKE
chmod +x fake

# expect STATUS LINE WHY JOB [COMMAND...]: plays the job, with \n between its lines; LINE and WHY are empty where nothing is
# to be said. WHY is a fixed text.
expect() {
    local status=$1 line=$2 why=$3 job=$4 actual
    shift 4
    printf '%b' "$job" >a.job
    : >sent
    # Through a pipe, so that whatever is left running holds the case up.
    "${@:-env}" "${shell[@]}" "$source/scripts/job" "${flags[@]}" a.job "${player[@]}" 2>&1 >out | cat >err
    actual=${PIPESTATUS[0]}
    cases=$((cases + 1))
    if [ "$actual" -ne "$status" ] || ! grep -F "job: a.job${line:+:$line}: " err | grep -qF -- "$why"; then
        echo "${shell[*]}: ${job}: status $actual, wanted $status${line:+ at line $line}: $why"
        cat out err
        failures=$((failures + 1))
    fi
    [ "$actual" -ne 2 ] || [ ! -s sent ] || { echo "sent before it was refused" && failures=$((failures + 1)); }
}

check() {
    player=("$dir/fake")
    flags=(-t 1)
    echo '[LTE Serving Cell RSRP] - -93' >text
    expect 0 '' 'all 3 lines carried out' '# comment\r\n\r\n 7 10\r\nwait 1 - -93\r\nwait 0.1'
    expect 0 '' 'all 4 lines' '9\nwait 1 B\nwait 1 A\nwait 1 A\n'
    expect 1 4 'no output line with "A" within 0.1 s' '9\nwait 1 A\nwait 1 A\nwait 0.1 A\n'
    expect 1 3 'no output line with "[LTE*]"' '7 10\n\nwait 0.1 [LTE*]\n'
    expect 1 3 'no output line with "A"' '9\n1\nwait 0.1 A\n'
    expect 0 '' 'all 2 lines' '5\nwait 1 RSRP\n'
    # What the job cannot be.
    expect 2 2 'without an option line' '# nothing\nwait 1\n'
    expect 2 2 'wait SECONDS' '1\nwait for it\n'
    expect 2 2 'wait SECONDS' '1\nwait\n'
    expect 2 3 'neither an option line' '1\n\nwiat 5\n'
    expect 2 2 'longer than' "1\n7 $(printf '%0300d' 10)\n"
    # The client's own end, and its silence.
    expect 1 2 'the client ended, with status 5' '1\n3\n7 10\n'
    expect 1 2 'not back at its prompt within 1 s' '1\n4\n'
    expect 1 2 'the client ended with status 7' '1\n1\n' env AT_END=7
    expect 1 0 'the client ended' '1\n' env GREETING=banner
    expect 1 0 'Auto test configuration file enabled' '1\n' env GREETING='CPE DEMO APP : Auto test configuration file enabled.'
    # Scans: what was asked for has to come, and to be there.
    expect 1 2 "the job ended before the scan's response" '1\n8\n1\n'
    expect 1 1 "the client deregistered before the scan's response" '8\n2\nwait 0.1\n'
    echo 'CPE DEMO APP CALLBACK - Metric information not valid for async response[NR 5G Neighbor Info].' >text
    expect 1 1 'the client said: CPE DEMO APP CALLBACK - Metric' '8\n5\nwait 5\nwait 5\n'
    echo 'CPE DEMO APP CALLBACK - NR 5G neighbor information asynchronous response.' >text
    expect 0 '' 'all 3 lines' '8\n5\nwait 1 NR 5G neighbor\n'
    # Every text of the client that tells of a failure.
    while IFS= read -r text; do
        echo "$text" >text
        expect 1 3 "the client said: $text" '1\n# the second\n7 1\n1\n'
        [ "$(wc -l <sent)" -eq 2 ] || { echo "went on behind: $text" && failures=$((failures + 1)); }
    done <texts
    flags=(-k)
    expect 1 3 'the client said: ' '1\n\n7 1\n1\n1\n'
    [ "$(wc -l <sent)" -eq 4 ] || { echo "did not go on with -k" && failures=$((failures + 1)); }
    # The program: a scenario in which the first scans fail, one that is refused, and one that has no NR 5G.
    player=("${client[@]}")
    flags=(-t 20)
    scenarios=$source/platform/scenarios
    expect 1 2 'not valid for async response[LTE Neighbor Info]' '1\n7 22\nwait 20\n' env ZEB_SCENARIO="$scenarios/scan_fails.toml"
    expect 1 3 '[NR 5G Serving Cell PCI] metric information failed with status[-17].' '1\n7 4\n7 5\n' \
        env ZEB_SCENARIO="$scenarios/lte_only.toml"
    flags=(-t 1)
    expect 1 1 'not back at its prompt' '1\n' env ZEB_SCENARIO="$dir/none.toml"
    # SIGTERM ends the client, and leaves nothing.
    mkdir -p temporary
    printf '1\nwait 60\n' >a.job
    TMPDIR=$dir/temporary "${shell[@]}" "$source/scripts/job" a.job "${client[@]}" >out 2>err &
    for _ in $(seq 100); do
        grep -q registered out && break
        sleep 0.1
    done
    kill -TERM $!
    wait $!
    [ $? -eq 143 ] && [ -z "$(ls -A temporary)" ] || { echo "${shell[*]}: not ended as SIGTERM should" && failures=$((failures + 1)); }
}

# The texts stand in the client's sources, with conversions and line ends; titles are put in by "%s".
sed -nE '/--- NOT|\(Not Supp/d; s/.*"(([^"]|\\")*(failed|failure|Invalid option|NOT SUPPORTED|not valid|Not Supported!!)([^"]|\\")*)".*/\1/p' \
    "$source"/client/*.cpp | sed -E 's/\\n//g; s/%-?[a-z]+/-2/g; s/^Setting metric information NOT SUPPORTED$/&./' >texts
echo 'CPE DEMO APP : Getting LTE/5G [Invalid Request] metric information.' >>texts
echo "$(wc -l <texts) texts of failures"
[ "$(wc -l <texts)" -ge 12 ] || exit 1

for shell in dash 'busybox sh'; do
    read -ra shell <<<"$shell"
    if command -v "${shell[0]}" >/dev/null; then check; else echo "there is no ${shell[0]}"; fi
done
echo "$cases cases, $failures failures"
[ $cases -gt 0 ] && [ $failures -eq 0 ]
