#!/bin/sh
# installed.sh BUILD: installs the build folder BUILD, moves the installed tree, and uses it from outside the sources:
# the client runs, a program is built with the CMake package and with pkg-config, with the static and with the shared
# library, and plug-ins contain the static library.
set -e
# shellcheck source=tests/install/common.sh
. "$(dirname "$0")/common.sh"

# Runs the commands of docs/library.md. The last of them runs the example.
document_commands docs/library.md '## Build and link' >"$dir/commands"
rm -rf "$source/build/one_metric"
(cd "$source" && HOME=$dir sh -e "$dir/commands" | tee "$dir/example.out")
grep -q -e '^lte.rsrp -[0-9]' "$dir/example.out" || fail "no value from the example of docs/library.md"

cmake -N -LA "$1" | sed -n 's/^\(CPE_DM_[A-Z_]*\):.*/\1/p' >"$dir/options"
[ -s "$dir/options" ] || fail "$1 has no options"
while read -r option; do
    grep -q "^| .$option. |" "$source/docs/porting.md" || fail "docs/porting.md does not list $option"
done <"$dir/options"

run_client "$(cd "$1" && pwd)/client/cpe_dm_client"
for component in client tool dev lib standin; do
    cmake --install "$1" --prefix "$dir/first" --component "$component"
done
mv "$dir/first" "$dir/tree"
grep -rlE "$source|$dir" "$dir/tree" && fail "these name a folder of the build"
"$source/scripts/check-needed" "$dir"/tree/bin/cpe_dm* "$dir/tree/lib/libcpe_dm.so.1"
"$source/scripts/check-needed" --hardened "$dir"/tree/lib/*.so
run_client "$dir/tree/bin/cpe_dm_client"
run_example "$dir/tree/bin/cpe_dm" get lte.rsrp
"$dir/tree/bin/zeb_recording" page "$source/tests/recording/episode.rec" -o "$dir/page.html" || fail "no page"

cp -r "$example" "$dir/example"
build "$dir/example/build" -S "$dir/example" -DCMAKE_PREFIX_PATH="$dir/tree"
run_example "$dir/example/build/$program"
build "$dir/event_loop" -S "$source/examples/event_loop" -DCMAKE_PREFIX_PATH="$dir/tree"

export PKG_CONFIG_PATH="$dir/tree/lib/pkgconfig"
version=$(sed -n 's/^#define CPE_DM_VERSION_STRING "\(.*\)"/\1/p' "$dir/tree/include/cpe_dm.h")
[ "$(pkg-config --modversion cpe_dm)" = "$version" ] || fail "pkg-config has another version than the header"
export LD_LIBRARY_PATH="$dir/tree/lib"
for package in cpe_dm cpe_dm_shared; do
    # shellcheck disable=SC2046
    cc -std=c11 -Wall -Wextra -Werror "$dir/example/"*.c -o "$dir/with_$package" $(pkg-config --cflags --libs $package)
    # shellcheck disable=SC2046
    cc -std=c11 -Wall -Wextra -Werror "$source/examples/event_loop/"*.c -o "$dir/event_loop/with_$package" \
        $(pkg-config --cflags --libs $package)
    run_example "$dir/with_$package"
done
readelf -d "$dir/with_cpe_dm" | grep libcpe_dm && fail "cpe_dm is not the archive"
readelf -d "$dir/with_cpe_dm_shared" | grep 'NEEDED.*libcpe_dm\.so\.1' || fail "cpe_dm_shared is not the shared library"

# The shared library must export exactly the functions that the headers declare, which the compiler lists (-aux-info). A
# plug-in must export no function of the static library that it contains.
exported() { nm -D --defined-only "$1" | sed -n 's/^[0-9a-f]* [^A] \([^@]*\).*/\1/p' | sort; }
for header in "$dir"/tree/include/cpe_dm*.h; do
    cc -aux-info "$dir/declared" -o "$dir/header.o" -c -x c "$header"
    grep -F "/* $header:" "$dir/declared" | sed 's/.*[ *]\(cpe_dm_[a-z0-9_]*\) (.*/\1/'
done | sort >"$dir/public"
grep -qx cpe_dm_init "$dir/public" || fail "the compiler does not tell what the headers declare"
exported "$dir/tree/lib/libcpe_dm.so.1" | diff "$dir/public" - || fail "these are not the public functions"
for name in one other; do
    # shellcheck disable=SC2046
    cc -shared -fPIC "$plugin" -o "$dir/$name.so" $(pkg-config --cflags --libs cpe_dm)
    [ "$(exported "$dir/$name.so")" = plugin_register ] || fail "a plug-in exports $(exported "$dir/$name.so")"
done
cc "$(dirname "$plugin")/host.c" -o "$dir/host"
timeout 60 "$dir/host" "$dir/one.so" "$dir/other.so" || fail "two plug-ins share a state"
unset LD_LIBRARY_PATH

# Without the stand-in the CMake package says which library is missing, and accepts CPE_DM_PLATFORM_ROOT.
mkdir -p "$dir/root/lib"
mv "$dir"/tree/lib/libzeb_cci.so "$dir"/tree/lib/libzebservices.so "$dir/tree/lib/libdiag.so" "$dir/root/lib/"
must_fail "libdiag.so is not" cmake -S "$dir/example" -B "$dir/other" -G Ninja -DCMAKE_PREFIX_PATH="$dir/tree"
build "$dir/other" -S "$dir/example" -DCMAKE_PREFIX_PATH="$dir/tree" -DCPE_DM_PLATFORM_ROOT="$dir/root"
run_example "$dir/other/$program"
