#!/bin/sh
# port.sh BUILD [TOOLCHAIN-FILE LAUNCHER...]: builds client and module with CPE_DM_PLATFORM_ROOT, from a copy of the
# sources without platform/ and tests/. The platform is a copy of the stand-in's headers and of the libraries in the
# build folder BUILD. The launcher, an emulator, runs programs for another machine.
set -e
# shellcheck source=tests/install/common.sh
. "$(dirname "$0")/common.sh"
built=$1
shift
box=$dir/source/build/box
toolchain=${1:+-DCMAKE_TOOLCHAIN_FILE=$1}
[ $# -eq 0 ] || shift

mkdir -p "$dir/source" "$dir/root"
find "$source" -mindepth 1 -maxdepth 1 ! -name platform ! -name tests ! -name build ! -name '.*' \
    -exec cp -r {} "$dir/source/" \;
cp -r "$source/platform/include" "$dir/root/include"
cp -r "$built/lib" "$dir/root/lib"

# Runs the commands of docs/porting.md, with this platform and toolchain. Some compilers have no __FILE_NAME__.
export CXXFLAGS="-U__FILE_NAME__ -Wno-builtin-macro-redefined"
document_commands docs/porting.md '# Porting to a box' >"$dir/commands"
sed -i -e "s,/path/to/platform,$dir/root," -e "s,-DCMAKE_TOOLCHAIN_FILE=.*,$toolchain," "$dir/commands"
(cd "$dir/source" && sh -e "$dir/commands")

export DIAG_LOG="$dir/log"
LD_LIBRARY_PATH=$dir/root/lib run_client "$@" "$box/client/cpe_dm_client"
LD_LIBRARY_PATH=$dir/root/lib run_example "$@" "$box/tool/cpe_dm" get lte.rsrp
grep -q ' cpe_dm_zeb_nas\.cpp:[0-9]' "$DIAG_LOG" || fail "the log does not name its source"

configure() { cmake "$box" -DCPE_DM_PLATFORM_ROOT="$1"; }

# Another root takes effect in the same build folder: one whose message 0x0051 is 4 bytes longer does not compile.
cp -r "$dir/root" "$dir/longer"
header=$dir/longer/include/zeb_nas_v01.h
sed -i -e '/^static_assert/d' -e 's/reserved\[15\]/reserved[16]/' "$header"
configure "$dir/longer"
must_fail '0x0051.*84.*80' cmake --build "$box" --target cpe_dm_archive

# A platform that lacks a header and a library is refused, and both are named.
rm "$dir/longer/include/diag_msg.h" "$dir/longer/lib/libzeb_cci.so"
must_fail "no diag_msg.h in $dir/longer/include" configure "$dir/longer"
must_fail "no libzeb_cci.so in $dir/longer/lib" configure "$dir/longer"
