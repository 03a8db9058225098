#!/bin/sh
# page.sh RECORDING COMMAND...: `COMMAND page` makes a page of the recording, and one of a recording of 16 MiB made of its
# lines. Both are opened in Chromium without a network: charts, lanes and rows are there, and no script fails.
here=$(dirname "$0")
recording=$1
shift
dir=$(mktemp -d) || exit 1
trap 'rm -rf "$dir"' EXIT
fail() {
    echo "FAILED: $*"
    exit 1
}

# opened PAGE#HASH: opens the page and writes its elements, as they are after the scripts have run, into the file dom.
# No host name is resolved, so nothing can be fetched.
opened() {
    timeout 120 chromium --headless --no-sandbox --disable-gpu --disable-quic --no-first-run --disable-background-networking \
        --disable-component-update --disable-sync --disable-dev-shm-usage --host-resolver-rules='MAP * ~NOTFOUND' \
        --user-data-dir="$dir/profile" --window-size=1200,900 --virtual-time-budget=20000 --dump-dom "file://$1" \
        >"$dir/dom" 2>"$dir/said" || { tail "$dir/said" && fail "Chromium did not open $1"; }
    grep -o 'data-error="[^"]*"' "$dir/dom" && fail "a script of the page failed"
    grep -q 'data-drawn=' "$dir/dom" || fail "nothing was drawn"
}

# has N TEXT: the page in the file dom must have the text N times at least.
has() {
    count=$(grep -o -- "$2" "$dir/dom" | wc -l)
    [ "$count" -ge "$1" ] || fail "$count times instead of $1: $2"
}

"$@" page "$recording" -o "$dir/small.html" || exit 1
"$@" page "$recording" -o "$dir/small.html" || fail "an older page is not replaced"
sed 's,http://www.w3.org/2000/svg,,' "$dir/small.html" | grep -E 'https?:|@import|src=' && fail "the page asks for something else"
# page_user.html, added to the page, points, clicks, drags and types as a user does.
sed "/<.body>/{
    r $here/page_user.html
    N
}" "$dir/small.html" >"$dir/used.html"
opened "$dir/used.html#line=22"
has 1 'data-used="all"'
has 3 'class="chart"'
has 6 'class="line [a-z0-9]*" d="M'
has 8 'class="lane"'

awk -v bytes=16777216 -v n=0 '
    NR == 1 { print; size = length; next }
    /^[0-9]+ (send|ind|decode|event) / { line[n] = substr($0, length($1) + 1); time[n++] = $1 }
    END {
        for (; size < bytes; at += 17000000) {
            for (i = 0; i < n && size < bytes; i++) {
                text = sprintf("%.0f%s", at + time[i], line[i])
                size += length(text) + 1
                print text
            }
        }
    }' "$recording" >"$dir/large"
"$@" page "$dir/large" -o "$dir/large.html" || exit 1
opened "$dir/large.html"
has 3 'class="chart"'
has 15 'role="row"'
[ "$(wc -c <"$dir/dom")" -lt 30000000 ] || fail "the page of 16 MiB is too large"
sed -n 's/.*data-drawn="\([0-9]*\)" data-rows="\([0-9]*\)".*/drawn: \1 reports; \2 lines/p' "$dir/dom"
