#!/bin/sh
# record_session.sh COMMAND...: runs record_session in all its modes, and prints what the recorder writes in each.
dir=$(mktemp -d) || exit 1
trap 'rm -rf "$dir"' EXIT
cd "$dir" || exit 1
rec=$dir/rec
ZEB_RECORD='' "$@" >plain
export ZEB_RECORD="$rec"

masked() {
    sed -E 's/start=[-0-9T:.]+Z machine=[^ ]+/start=S machine=M/; s/recorder=[0-9]+\.[0-9]+\.[0-9]+/recorder=V/
        s/^[0-9]+ /T /; s/took=[0-9]+/took=U/; s/process [0-9]+/process N/
        s| [^ ]*/(no/)?rec(\.[a-z0-9]+)?: | REC\2: |' "$@"
}

fresh() { rm -rf rec rec.1 rec.next; }

# try TITLE COMMAND...: the session's output must be as without the recorder; prints the recording's mode and type, and
# the messages.
try() {
    printf '%s: ' "$1"
    shift
    "$@" >out 2>err || echo "ended with status $?"
    cmp -s plain out || echo 'disturbed'
    printf '%s ' "$(stat -c '%a, %F' rec 2>/dev/null)"
    masked err | grep . || echo
}

echo '#### seen'
cat plain
try 'recorded' "$@"
masked rec
grep -qE '^zeb-recording 2 start=2[0-9]{3}-[01][0-9]-[0-3][0-9]T[0-2][0-9]:[0-5][0-9]:[0-6][0-9]\.[0-9]{3}Z ' rec || echo 'no time'
awk '/ event / { began = $1 } / wait | returned handle=1 / { sub(/.*took=/, ""); if ($0 < 20000) print "took too little: " $0 }
    / returned handle=1 / && $1 != began { print "not of the event" }' rec

echo '#### files that cannot be recorded to'
try 'recorded before' "$@"
for kind in 'mkfifo' 'mkdir' 'ln -s out'; do
    fresh
    $kind rec
    try "$kind" "$@"
done
fresh
: >other
ln other rec
try 'ln other' "$@"
fresh
: >rec
# Only root can give a file away. For other users the expected line is printed.
chown 1 rec 2>/dev/null && try "another user's" "$@" ||
    echo "another user's: 644, regular empty file zeb_record: REC: is another user's, nothing is recorded"
fresh
ZEB_RECORD=$dir/no/rec try 'no folder' "$@"
echo kept >rec
try 'not empty, no standard error' sh -c '"$@" 2>&-' sh "$@"
: >rec
try 'empty' "$@"
fresh
try 'file size' sh -c 'ulimit -f 1; "$@"' sh "$@"
tail -n 1 rec | masked
fresh
ZEB_RECORD=rec try 'elsewhere' "$@" elsewhere

echo '#### limits'
for limit in 16M 367 18446744073709551616 368 700 5000; do
    fresh
    ZEB_RECORD_LIMIT=$limit try "$limit" "$@"
    [ ! -f rec ] || [ "$(stat -c %s rec)" -le "$limit" ] || echo 'beyond the limit'
    [ ! -f rec ] || tail -n 1 rec | masked
done
fresh
"$@" still >/dev/null
size=$(stat -c %s rec)
for more in 96 95; do
    fresh
    ZEB_RECORD_LIMIT=$((size + more)) try "its length and $more" "$@" still
    tail -n 1 rec
    fresh
    try "the same for the process" "$@" still $((size + more))
    tail -n 1 rec
done

echo '#### ways to go on and to end'
for way in segv kill fork close cancel stuck preempted slow room; do
    fresh
    "$@" "$way" >out 2>err
    lines=$(wc -l <rec)
    [ $way != cancel ] || [ "$lines" -le 150 ] || lines='a hundred and more'
    echo "$way: $lines lines" "$(masked err | grep zeb_record)"
    grep -E '^(line|calls|most)' out
    sed -n 52p rec | grep -vE ' (object|send) ' | masked
done
for way in input signal; do
    fresh
    "$@" $way
done

echo '#### more clients than it can tell apart, and threads'
for limit in '' 1000000; do
    fresh
    ZEB_RECORD_LIMIT=$limit "$@" crowd 2>&1 >out | masked
    [ -z "$limit" ] || break
    echo "$(grep -c ' client status=0' rec) clients, $(grep -c ' client=0 took' rec) of them unrecorded: $(grep ' unrecorded ' rec |
        tail -n 1 | masked)"
    echo "$(grep -c ' ind ' rec) indications, $(grep -c ' returned ' rec) returns; $(grep -c '^decode' out) seen"
    hex() { printf "%0$1d" 0 | sed "s/0/$2/g"; }
    echo "$(grep -cF " id=0x00c0 status=0 timeout=0 req=2000:$(hex 2000 ee) resp=1000:$(hex 500 c0) took=" rec) sends"
done
[ "$(stat -c %s rec)" -le 1000000 ] && [ "$(stat -c %s rec)" -gt 990000 ] && tail -n 1 rec | masked

echo '#### parts'
for keep in 16383 16k; do
    fresh
    ZEB_RECORD_KEEP=$keep try "$keep" "$@"
done
ZEB_RECORD_LIMIT=1000 ZEB_RECORD_KEEP=16384 try 'limited' "$@"
for suffix in .1 .next; do
    fresh
    : >rec$suffix
    ZEB_RECORD_KEEP=16384 try "rec$suffix" "$@"
done
fresh
ZEB_RECORD_KEEP=16384 "$@" long 203 >out
"$@" parts "$rec"
[ "$(stat -c %s rec)" -le 8192 ] && [ "$(stat -c %s rec.1)" -le 8192 ] && [ "$(stat -c %s rec.1)" -gt 6000 ] || echo 'sizes'
sed -E '/ kept /!{3,$d}; s/before lines=[0-9]+/before lines=N/; s/timeout=[0-9]+/timeout=N/; s/(part=).*/\1N/; s/resp=800:(11)+/resp=800:11.../' rec |
    masked
for run in 1 2 3 4 5 6 7 8; do
    fresh
    ZEB_RECORD_KEEP=16384 "$@" long 1000000 >out &
    sleep 0.0$((run * 2))5
    kill -KILL $!
    wait $! 2>/dev/null
    "$@" parts "$rec" | grep -vxE '[0-2] parts'
done
fresh
ZEB_RECORD_KEEP=65536 sh -c 'ulimit -f 20; "$@"' sh "$@" long 203 >out
"$@" parts "$rec"

echo '#### faults'
fresh
"$@" faults
fresh
ZEB_RECORD_KEEP=16384 "$@" faults parts
# truncate64 is left out: it is called only after some failures, and where programs are slow not all failures are tried.
sort -u rec.points | grep -vx truncate64 | tr '\n' ' ' | fold -s -w 118
echo
