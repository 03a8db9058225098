#!/bin/sh
# packages.sh ARCHITECTURE [TOOLCHAIN-FILE LAUNCHER...]: unpacks the Debian packages in build/packages for this
# architecture into an empty folder and uses them from there: client and tool run, and a program is built and runs.
# Checks the packages with lintian, and the programs and libraries with scripts/check-needed.
set -e
# shellcheck source=tests/install/common.sh
. "$(dirname "$0")/common.sh"
architecture=$1
toolchain=${2:+-DCMAKE_TOOLCHAIN_FILE=$2}
shift
[ $# -eq 0 ] || shift
libraries=$dir/all/usr/lib/$(dpkg-architecture -a "$architecture" -q DEB_HOST_MULTIARCH 2>"$dir/warnings")

deb() { echo "$source/build/packages/$1"_*_"$architecture".deb; }
depends() { dpkg-deb -f "$(deb "$1")" Depends; }

for package in cpe-dm libcpe-dm1 libcpe-dm-dev cpe-dm-standin; do
    for folder in "$dir/all" "$dir/$package"; do
        dpkg-deb -x "$(deb $package)" "$folder"
    done
    dpkg-deb -c "$(deb $package)" | grep -E '^d' | grep -vE '^drwxr-xr-x root/root ' && fail "$package has folders like that"
    dpkg-deb -f "$(deb $package)" Version | grep '~standin$' || fail "$package does not say that it was built on the stand-in"
    depends $package | grep -E 'cpe-dm-standin|arch|cross' && fail "$package must not depend on that"
    echo "$package depends on $(depends $package)"
done
lintian --fail-on error --suppress-tags no-copyright-file "$source"/build/packages/*_"$architecture".deb

"$source/scripts/check-needed" "$dir"/all/usr/bin/cpe_dm* "$libraries/libzeb_record.so" "$libraries/libcpe_dm.so.1"
"$source/scripts/check-needed" --hardened "$libraries"/*.so
find "$dir/all" \( -name '*.so*' -o -path '*/bin/*' \) -exec readelf -d {} + | grep -E 'RPATH|RUNPATH' &&
    fail "what is packaged has a RUNPATH"
LD_LIBRARY_PATH=$libraries run_client "$@" "$dir/all/usr/bin/cpe_dm_client"
LD_LIBRARY_PATH=$libraries run_example "$@" "$dir/all/usr/bin/cpe_dm" get lte.rsrp

build "$dir/build" -S "$example" ${toolchain:+"$toolchain"} -DCMAKE_PREFIX_PATH="$dir/all/usr"
run_example "$@" "$dir/build/$program"

# For this machine's architecture, dpkg-shlibdeps must find the same dependencies.
if [ "$architecture" = "$(dpkg --print-architecture)" ]; then
    mkdir "$dir/debian" "$dir/all/DEBIAN"
    touch "$dir/debian/control"
    cd "$dir"
    for package in cpe-dm libcpe-dm1 cpe-dm-standin; do
        # shellcheck disable=SC2046
        theirs=$(dpkg-shlibdeps --ignore-missing-info -l"$libraries" -O $(find $package -type f -name '*.so*' -o -path '*/bin/*') \
            2>shlibdeps.log) || cat shlibdeps.log
        ours=$(depends $package)
        [ "shlibs:Depends=$ours" = "$(echo "$theirs" | sed 's/libgcc-s1 ([^)]*)/libgcc-s1/')" ] ||
            fail "$package depends on $ours, and dpkg-shlibdeps says $theirs"
    done
fi
