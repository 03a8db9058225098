#!/bin/sh
# packages.sh ARCHITECTURE [TOOLCHAIN-FILE LAUNCHER...]: unpacks the Debian packages in build/packages for this
# architecture into an empty folder and uses them from there: the client runs, and a program is built and runs.
set -e
# shellcheck source=tests/install/common.sh
. "$(dirname "$0")/common.sh"
architecture=$1
toolchain=${2:+-DCMAKE_TOOLCHAIN_FILE=$2}
shift
[ $# -eq 0 ] || shift

depends() { dpkg-deb -f "$source/build/packages/$1"_*_"$architecture".deb Depends; }

for package in cpe-dm libcpe-dm-dev cpe-dm-standin; do
    dpkg-deb -x "$source/build/packages/$package"_*_"$architecture".deb "$dir/all"
    depends $package | grep -E 'standin|arch|cross' && fail "$package must not depend on that"
    echo "$package depends on $(depends $package)"
done
"$source/scripts/check-needed" "$dir/all/usr/bin/cpe_dm_client"
run_client "$@" "$dir/all/usr/bin/cpe_dm_client"

build "$dir/build" -S "$example" ${toolchain:+"$toolchain"} -DCMAKE_PREFIX_PATH="$dir/all/usr"
run_example "$@" "$dir/build/$program"

# What Debian's own tool says, where it can.
if [ "$architecture" = "$(dpkg --print-architecture)" ]; then
    mkdir "$dir/debian" "$dir/all/DEBIAN"
    touch "$dir/debian/control"
    cd "$dir"
    libraries=$(dirname "$(find all -name libdiag.so)")
    for package in cpe-dm:all/usr/bin/cpe_dm_client "cpe-dm-standin:$libraries/*.so"; do
        # shellcheck disable=SC2086
        theirs=$(dpkg-shlibdeps --ignore-missing-info -l"$libraries" -O ${package#*:} 2>shlibdeps.log) || cat shlibdeps.log
        ours=$(depends "${package%%:*}")
        [ "shlibs:Depends=$ours" = "$(echo "$theirs" | sed 's/libgcc-s1 ([^)]*)/libgcc-s1/')" ] ||
            fail "$package depends on $ours, and dpkg-shlibdeps says $theirs"
    done
fi
