#!/bin/sh
# port.sh BUILD [TOOLCHAIN-FILE LAUNCHER...]: client and module on a platform of somebody else's, from a copy of the sources
# without platform/ and tests/. The platform is a copy of the stand-in's headers and of the libraries in the build folder
# BUILD; the launcher runs programs of another machine.
set -e
# shellcheck source=tests/install/common.sh
. "$(dirname "$0")/common.sh"
built=$1
shift
toolchain=${1:+-DCMAKE_TOOLCHAIN_FILE=$1}
[ $# -eq 0 ] || shift

mkdir -p "$dir/source" "$dir/root/lib"
(cd "$source" && cp -r CMakeLists.txt client cmake dm "$dir/source/")
cp -r "$source/platform/include" "$dir/root/include"
cp "$built"/platform/*.so "$dir/root/lib/"
# As a compiler does that has no __FILE_NAME__.
flags="-U__FILE_NAME__ -Wno-builtin-macro-redefined"
configure() {
    cmake -S "$dir/source" -B "$dir/build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_FLAGS="$flags" \
        ${toolchain:+"$toolchain"} -DCPE_DM_PLATFORM_ROOT="$1"
}

configure "$dir/root"
cmake --build "$dir/build" -j "${JOBS:-2}" --target cpe_dm_client
"$source/scripts/check-needed" "$dir/build/client/cpe_dm_client"
export DIAG_LOG="$dir/log"
LD_LIBRARY_PATH=$dir/root/lib run_client "$@" "$dir/build/client/cpe_dm_client"
grep -q ' cpe_dm_zeb_nas\.cpp:[0-9]' "$DIAG_LOG" || fail "the log does not name its source"

# Another root takes effect in the same build folder: one whose message 0x0051 is 4 bytes longer does not compile.
cp -r "$dir/root" "$dir/longer"
header=$dir/longer/include/zeb_nas_v01.h
sed -i -e '/^static_assert/d' -e 's/reserved\[15\]/reserved[16]/' "$header"
configure "$dir/longer"
must_fail '0x0051.*84.*80' cmake --build "$dir/build" --target cpe_dm_archive

# A root that is none is refused by what is missing.
rm "$dir/longer/include/diag_msg.h" "$dir/longer/lib/libzeb_cci.so"
must_fail "no diag_msg.h in $dir/longer/include" configure "$dir/longer"
must_fail "no libzeb_cci.so in $dir/longer/lib" configure "$dir/longer"
