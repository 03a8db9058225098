#!/bin/sh
# embedded.sh: CPE DM as part of another project, by add_subdirectory with the stand-in, and by FetchContent with
# CPE_DM_PLATFORM_ROOT. A C program links cpe_dm::cpe_dm and runs. The other project gets no compiler options, tests or
# programs of CPE DM. It exports libraries that link cpe_dm::cpe_dm, and a third project links these libraries.
set -e
# shellcheck source=tests/install/common.sh
. "$(dirname "$0")/common.sh"

cp -r "$source/tests/install/embedded" "$dir/host"
set -- -S "$dir/host" -DCPE_DM_SOURCE="$source" -DEXAMPLE="$example" -DPLUGIN="$plugin"
build "$dir/sub" "$@"
run_example "$dir/sub/example/$program"

mkdir "$dir/root"
cp -r "$source/platform/include" "$dir/root/include"
cp -r "$dir/sub/cpe_dm/lib" "$dir/root/lib"
build "$dir/fetch" "$@" -DFETCH=ON -DCPE_DM_PLATFORM_ROOT="$dir/root"
run_example "$dir/fetch/example/$program"

for folder in sub fetch; do
    grep -E -e '-Werror|googletest|cpe_dm_client|libcpe_dm.so|CXX_EXECUTABLE' "$dir/$folder/build.ninja" &&
        fail "$folder has warnings as errors, tests, the client or the shared library, or links a C program as C++"
    [ ! -e "$dir/$folder/compile_commands.json" ] || fail "$folder has compile commands it did not ask for"
    cmake --install "$dir/$folder" --prefix "$dir/installed" >"$dir/install.log"
    find "$dir/installed" -type f | grep -vE '/embedded-config(-release)?\.cmake$|/libhost_(archive\.a|library\.so)$' &&
        fail "$folder installs what it did not ask for"
done

build "$dir/sub" "$@" -DCPE_DM_SHARED=ON -DCPE_DM_INSTALL=ON
cmake --install "$dir/sub" --prefix "$dir/all" >"$dir/install.log"
build "$dir/consumer" -S "$source/tests/install/consumer" -DCMAKE_PREFIX_PATH="$dir/all" -DPLUGIN="$plugin"
for program in "$dir/consumer"/of_*; do
    LD_LIBRARY_PATH=$dir/all/lib timeout 60 "$program" || fail "$program ended with status $?"
done
