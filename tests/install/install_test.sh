#!/bin/sh
# install_test.sh BUILD_FOLDER SOURCE_FOLDER FLAGS: installs to a folder of its own, builds the
# examples against the installed copy, static by the CMake package and shared by pkg-config, and runs
# both.
set -eu
build=$1 source=$2 flags=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix
cmake --install "$build" --prefix "$prefix" >/dev/null

# Each public header is enough by itself, and names no file that isn't installed.
(cd "$prefix/include" && find vrn -name '*.h' ! -name parson.h) |
    xargs -P "$(nproc)" -I{} sh -c 'echo "#include <{}>" |
        ${CXX:-c++} -std=c++20 -fsyntax-only -Wall -Wextra -I"$0" -I"$0/vrn/third_party" -x c++ -' \
        "$prefix/include"

cp -r "$source/examples" "$work/examples"
cmake -S "$work/examples" -B "$work/package" -DCMAKE_PREFIX_PATH="$prefix" \
    -DVRN_USE_STATIC_LIBS=ON -DCMAKE_CXX_FLAGS="$flags" >/dev/null
cmake --build "$work/package" >/dev/null

mkdir "$work/plain"
export PKG_CONFIG_PATH="$prefix/lib/pkgconfig"
cd "$work/examples"
for name in collector host page_to_influx read_file; do
    # Unquoted, for they are lists.
    ${CXX:-c++} -std=c++20 $flags $(pkg-config --cflags vrn) $name.cc fan_page.cc nic_page.cc sensor.cc \
        -o "$work/plain/vrn_example_$name" $(pkg-config --libs vrn)
done

# The shared library, which lies in no folder of the system.
export LD_LIBRARY_PATH="$prefix/lib"
for way in package plain; do
    "$work/$way/vrn_example_page_to_influx" | wc -l
    ./run.sh "$work/$way" "$prefix/bin/vrn_read"
done
