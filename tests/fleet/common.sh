# What these tests share; they source this file. `source` is the project's folder, `port` a free port for the broker.
# shellcheck shell=bash disable=SC2034
source=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
port=$(python3 -c 'import socket; s = socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])')

fail() {
    echo "$(basename "$0"): $*" >&2
    tail -n 5 ./*.err >&2 2>/dev/null || true
    exit 1
}

# until_true COMMAND...: repeats the command until it succeeds, for a minute at most.
until_true() {
    for _ in $(seq 600); do
        ! "$@" 2>/dev/null || return 0
        sleep 0.1
    done
    fail "in vain: $*"
}
