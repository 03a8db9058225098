#!/bin/sh
# installed.sh BUILD: installs the build folder BUILD, moves the tree, and uses it as others do, from outside the sources:
# the client runs, and a program is built with the CMake package and with pkg-config.
set -e
# shellcheck source=tests/install/common.sh
. "$(dirname "$0")/common.sh"

# As the README has it, whose last command is the example.
readme_commands 'Using the module in your own program' >"$dir/commands"
rm -rf "$source/build/signal_logger"
(cd "$source" && HOME=$dir sh -e "$dir/commands" | tee "$dir/example.out")
grep -q -e 'Z,-[0-9]' "$dir/example.out" || fail "no value from the README's example"

for component in client dev standin; do
    cmake --install "$1" --prefix "$dir/first" --component "$component"
done
mv "$dir/first" "$dir/tree"
grep -rlE "$source|$dir" "$dir/tree" && fail "these name a folder of the build"
"$source/scripts/check-needed" "$dir/tree/bin/cpe_dm_client"
run_client "$dir/tree/bin/cpe_dm_client"

cp -r "$example" "$dir/example"
build "$dir/example/build" -S "$dir/example" -DCMAKE_PREFIX_PATH="$dir/tree"
run_example "$dir/example/build/$program"

export PKG_CONFIG_PATH="$dir/tree/lib/pkgconfig"
version=$(sed -n 's/^#define CPE_DM_VERSION_STRING "\(.*\)"/\1/p' "$dir/tree/include/cpe_dm.h")
[ "$(pkg-config --modversion cpe_dm)" = "$version" ] || fail "pkg-config has another version than the header"
# shellcheck disable=SC2046
cc -std=c11 -Wall -Wextra -Werror "$dir/example/"*.c -o "$dir/by_pkg_config" $(pkg-config --cflags --libs cpe_dm)
LD_LIBRARY_PATH=$dir/tree/lib run_example "$dir/by_pkg_config"

# Without the stand-in the package says what is missing, and takes a platform's root.
mkdir -p "$dir/root/lib"
mv "$dir/tree/lib/"*.so "$dir/root/lib/"
must_fail "libdiag.so is not" cmake -S "$dir/example" -B "$dir/other" -G Ninja -DCMAKE_PREFIX_PATH="$dir/tree"
build "$dir/other" -S "$dir/example" -DCMAKE_PREFIX_PATH="$dir/tree" -DCPE_DM_PLATFORM_ROOT="$dir/root"
run_example "$dir/other/$program"
