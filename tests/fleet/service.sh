#!/bin/bash
# service.sh: installs the package cpe-dm and runs its service in two systems that lie in memory: an overlay of this
# machine's system, where dpkg installs the package, and a system of busybox, libc and mosquitto_pub alone. Needs a root
# user who may mount, and the packages in build/packages; leaves nothing behind.
set -euo pipefail
[[ $(id -u) -eq 0 ]] || exec sudo "$0"
if [[ ${1:-} != inside ]]; then
    unshare --mount --pid --fork --mount-proc true || { echo "service.sh: not run: nobody may mount here" && exit; }
    exec unshare --mount --pid --fork --mount-proc --kill-child "$0" inside
fi
# shellcheck source=tests/fleet/common.sh
source "$(dirname "$0")/common.sh"
dir=$(mktemp -d)
mount -t tmpfs none "$dir"
trap 'cd /; umount -l "$dir"; rmdir "$dir"' EXIT
cd "$dir"
packages=("$source"/build/packages/cpe-dm{,-standin}_*_"$(dpkg --print-architecture)".deb)

# status_is NUMBER COMMAND...: the command must end with the status NUMBER.
status_is() {
    local status=0
    "${@:2}" || status=$?
    [[ $status -eq $1 ]] || fail "${*:2}: status $status instead of $1"
}

service() { chroot "$root" /etc/init.d/cpe_dm_watch "$@"; }
set_to() { sed -i "s|^$1=.*|$1=$2|" "$root/etc/cpe_dm/watch.conf"; }
processes() { pgrep -u "$(stat -c %u "$root/run/cpe_dm")"; }
no_process() { ! processes; }
up() { grep -qx "cpe_dm_up$1 1" "$root/run/cpe_dm/metrics.txt"; }
published() { # whether the retained line of box1 matches the pattern $1
    # shellcheck disable=SC2053
    [[ $(mosquitto_sub -h 127.0.0.1 -p "$port" -u fleet -P secret -t cpe_dm/box1 -C 1 -W 5) = $1 ]]
}

printf '%s:secret\n' box1 fleet >passwords
mosquitto_passwd -U passwords
printf '%s\n' "listener $port 127.0.0.1" 'user root' "password_file $dir/passwords" "acl_file $source/fleet/mqtt/acl" >broker.conf
mosquitto -c broker.conf >broker.log 2>&1 &

# check NAME: checks the service of the system in $root. There the service's user must be in the group modem (901).
check() {
    local pid
    set_to LABELS 'site=cellar'
    set_to INTERVAL 1
    set_to TOPIC cpe_dm/box1
    printf '%s\n' '-h 127.0.0.1' "-p $port" '-u box1' '-P secret' >"$root/etc/cpe_dm/mosquitto_pub"
    status_is 3 service status
    status_is 0 service start
    status_is 0 service status
    until_true up '{site="cellar"}'
    until_true published '{"time":*}'
    pid=$(cat "$root/run/cpe_dm_watch.pid")
    [[ $(stat -c %U "/proc/$pid") != root ]] || fail "$1: it runs as root"
    grep -qE '^Groups:.*\b901\b' "/proc/$pid/status" || fail "$1: it does not belong to the group of the modem"
    ! grep -az secret /proc/[0-9]*/cmdline || fail "$1: the password stands on a command line"
    status_is 0 service start
    [[ $(cat "$root/run/cpe_dm_watch.pid") = "$pid" && $(pgrep -cx cpe_dm) -eq 1 ]] || fail "$1: it was started twice"
    service restart
    [[ $(cat "$root/run/cpe_dm_watch.pid") != "$pid" && $(pgrep -cx cpe_dm) -eq 1 ]] || fail "$1: it was not started anew"
    until_true published '{"time":*}'
    status_is 0 service stop
    until_true no_process
    [[ ! -e $root/run/cpe_dm/metrics.txt ]] || fail "$1: the file is still there"
    until_true published null
    set_to TOPIC ''
    status_is 0 service start
    until_true up '{site="cellar"}'
    kill -KILL "$(cat "$root/run/cpe_dm_watch.pid")"
    until_true no_process
    status_is 1 service status
    set_to INTERVAL never
    status_is 1 service start
    set_to INTERVAL 15
    status_is 0 service start
    until_true up '{site="cellar"}'
    echo "service.sh: $1: started, started again, restarted, stopped, killed, and refused with bad settings"
}

mkdir upper work here
root=$dir/here
mount -t overlay -o lowerdir=/,upperdir=upper,workdir=work none "$root"
mount -t proc proc "$root/proc"
mount --bind /dev "$root/dev"
mount -t tmpfs none "$root/run"
cp "${packages[@]}" "$root/tmp"
chroot "$root" sh -c "dpkg -i $(printf '/tmp/%s ' "${packages[@]##*/}")" >dpkg.log 2>&1 || fail "$(cat dpkg.log)"
[[ $(stat -c %U:%G:%a "$root/etc/cpe_dm/mosquitto_pub") = root:[a-zA-Z0-9]*:640 ]] || fail "the file of the password is open to others"
[[ $(chroot "$root" systemctl is-enabled cpe_dm_watch) = disabled ]] || fail "the service is enabled"
! ls "$root"/etc/rc?.d/S??cpe_dm_watch 2>/dev/null || fail "the service is enabled"
chroot "$root" systemd-analyze verify --man=no cpe_dm_watch.service
chroot "$root" systemd-analyze security --offline=true --threshold=20 cpe_dm_watch.service | tail -n 1
chroot "$root" groupadd -g 901 modem
chroot "$root" usermod -a -G modem cpe-dm
check "Debian's package"
chroot "$root" dpkg -r cpe-dm >dpkg.log 2>&1 || fail "$(cat dpkg.log)"
until_true no_process

root=$dir/small
mkdir -p "$root"/{bin,dev,etc,proc,run,tmp,usr/bin}
mount -t proc proc "$root/proc"
mount --bind /dev "$root/dev"
for package in "${packages[@]}"; do dpkg-deb -x "$package" "$root"; done
printf '%s\n' root:x:0:0::/:/bin/sh cpe-dm:x:900:900::/nonexistent:/bin/false >"$root/etc/passwd"
printf '%s\n' root:x:0: cpe-dm:x:900: modem:x:901:cpe-dm >"$root/etc/group"
ldd /bin/busybox /usr/bin/mosquitto_pub | grep -o '/[^ ]*' | grep '\.so' | sort -u | xargs cp -L --parents -t "$root"
cp -r "$root"/usr/lib/"$(dpkg-architecture -q DEB_HOST_MULTIARCH)"/* "$root/lib" 2>/dev/null || true
ldd "$root"/usr/lib/*/libzeb_cci.so | grep -o '/[^ ]*' | grep '\.so' | sort -u | xargs cp -L --parents -t "$root"
cp /usr/bin/mosquitto_pub "$root/usr/bin"
cp /bin/busybox "$root/bin"
chroot "$root" /bin/busybox --install -s /bin
check "busybox"
service stop
until_true no_process
