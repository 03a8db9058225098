#!/bin/sh
# record_session.sh COMMAND...: runs record_session in all its ways, and prints what the recorder makes of each.
dir=$(mktemp -d) || exit 1
trap 'rm -rf "$dir"' EXIT
rec=$dir/rec
ZEB_RECORD='' "$@" >"$dir/plain"
export ZEB_RECORD="$rec"

masked() {
    sed -E 's/start=.* machine=.*/start=S machine=M/; s/^[0-9]+ /T /; s/took=[0-9]+/took=U/; s| [^ ]*/(no/)?rec: | REC: |' "$@"
}

# try TITLE COMMAND...: the session must be as it is without the recorder; prints the file's mode and what is said.
try() {
    printf '%s: ' "$1"
    shift
    "$@" >"$dir/out" 2>"$dir/err" || echo "ended with status $?"
    cmp -s "$dir/plain" "$dir/out" || echo 'disturbed'
    printf '%s ' "$(stat -c '%a, %F' "$rec" 2>/dev/null)"
    masked "$dir/err" | grep . || echo
}

echo '#### seen'
cat "$dir/plain"
try 'recorded' "$@"
masked "$rec"

echo '#### files that cannot be recorded to'
try 'recorded before' "$@"
for kind in 'mkfifo' 'mkdir' 'ln -s out'; do
    rm -rf "$rec"
    $kind "$rec"
    try "$kind" "$@"
done
rm "$rec"
ZEB_RECORD=$dir/no/rec try 'no folder' "$@"
echo kept >"$rec"
try 'not empty, no standard error' sh -c '"$@" 2>&-' sh "$@"
: >"$rec"
try 'empty' "$@"
rm "$rec"
try 'file size' sh -c 'ulimit -f 1; "$@"' sh "$@"

echo '#### limits'
for limit in 16M 207 208 500 700 5000; do
    rm -f "$rec"
    ZEB_RECORD_LIMIT=$limit try "$limit" "$@"
    [ ! -f "$rec" ] || [ "$(stat -c %s "$rec")" -le "$limit" ] || echo 'beyond the limit'
    [ ! -f "$rec" ] || tail -n 1 "$rec" | masked
done

echo '#### ends'
for end in segv kill fork close stuck; do
    rm -f "$rec"
    "$@" "$end" >/dev/null 2>"$dir/err"
    echo "$end: $(wc -l <"$rec") lines" "$(masked "$dir/err" | grep zeb_record)"
    sed -n 52p "$rec" | masked # the one that got stuck keeps its place
done
rm "$rec"
"$@" slow | tail -n 1
tail -n 1 "$rec" | masked

echo '#### more clients than it can tell apart, and threads'
rm "$rec"
"$@" crowd 2>&1 >"$dir/out" | masked
echo "$(grep -c ' client status=0' "$rec") clients, $(grep -c ' client=0 took' "$rec") of them unrecorded;" \
    "$(grep -c ' ind ' "$rec") indications; $(grep -c '^decode' "$dir/out") seen"
hex() { printf "%0$1d" 0 | sed "s/0/$2/g"; }
echo "$(grep -cF " id=0x00c0 status=0 timeout=0 req=2000:$(hex 2000 ee) resp=1000:$(hex 500 c0) took=" "$rec") sends"

echo '#### faults'
"$@" faults
