#!/bin/sh
# embedded.sh: CPE DM as part of somebody else's project, by add_subdirectory with the stand-in, and by FetchContent with
# a platform's root: a C program links the one target and runs, and nothing of this project's own habits comes with it.
set -e
# shellcheck source=tests/install/common.sh
. "$(dirname "$0")/common.sh"

cp -r "$source/tests/install/embedded" "$dir/host"
build "$dir/sub" -S "$dir/host" -DCPE_DM_SOURCE="$source" -DEXAMPLE="$example"
run_example "$dir/sub/example/$program"

mkdir "$dir/root"
cp -r "$source/platform/include" "$dir/root/include"
mkdir "$dir/root/lib"
cp "$dir"/sub/cpe_dm/platform/*.so "$dir/root/lib/"
build "$dir/fetch" -S "$dir/host" -DCPE_DM_SOURCE="$source" -DEXAMPLE="$example" -DFETCH=ON \
    -DCPE_DM_PLATFORM_ROOT="$dir/root"
run_example "$dir/fetch/example/$program"

for folder in sub fetch; do
    grep -E -e '-Werror|googletest|cpe_dm_client|CXX_EXECUTABLE' "$dir/$folder/build.ninja" &&
        fail "$folder has warnings as errors, tests or the client, or links a C program as C++"
    [ ! -e "$dir/$folder/compile_commands.json" ] || fail "$folder has compile commands it did not ask for"
    cmake --install "$dir/$folder" --prefix "$dir/installed" >"$dir/install.log"
    [ ! -e "$dir/installed" ] || fail "$folder installs what it did not ask for"
done
