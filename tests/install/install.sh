#!/bin/sh
# Installs into a scratch prefix, moves it, builds a C and a C++ host against it by
# CMake and by pkg-config alone, and runs them from another folder:
#   install.sh BUILD_FOLDER VERSION CMAKE CC CXX
set -eu
here=$(cd "$(dirname "$0")" && pwd)
version=$2 cmake=$3 cc=$4 cxx=$5
export CMAKE_GENERATOR=Ninja
scratch=$(mktemp -d)
trap 'rm -r "$scratch"' EXIT

"$cmake" --install "$1" --prefix "$scratch/first" > /dev/null
mv "$scratch/first" "$scratch/prefix"
cp -r "$here" "$scratch/hosts"
cd "$scratch/hosts"
echo '#include "host.c"' > host.cpp

configure() {
    "$cmake" -S . -B "$1" -DCMAKE_PREFIX_PATH="$scratch/prefix" -DVRBASE_VERSION="$version" \
        -DCMAKE_C_FLAGS="$2" -DCMAKE_CXX_FLAGS="$2" > "$1.log" 2>&1
}
if configure wide ""; then
    echo "a 64-bit project found the package"; exit 1
fi
grep -q "vrbase is a 32-bit library: configure with" wide.log || { cat wide.log; exit 1; }
configure build "-m32" || { cat build.log; exit 1; }
"$cmake" --build build > build.log || { cat build.log; exit 1; }

export PKG_CONFIG_PATH="$scratch/prefix/share/pkgconfig"
[ "$(pkg-config --modversion vrbase)" = "$version" ]
run_path=-Wl,-rpath,$(pkg-config --variable=libdir vrbase)
flags="-Wall -Wextra -Wpedantic -Werror $run_path"
"$cc" -std=c11 host.c $flags $(pkg-config --cflags --libs vrrecord) -o build/c_by_pkg_config
"$cxx" -std=c++20 host.cpp $flags $(pkg-config --cflags --libs vrrecord) -o build/cpp_by_pkg_config

cd /
for host in c_host cpp_host c_by_pkg_config cpp_by_pkg_config; do
    answer=$("$scratch/hosts/build/$host")
    [ "$answer" = "Dover 1" ] || { echo "$host says: $answer"; exit 1; }
    echo "$host runs"
done

check=$scratch/prefix/bin/vr-check host=$scratch/hosts/build/c_by_pkg_config
[ "$("$check" "$host")" = "Dover 1" ]
"$check" env LD_TRACE_LOADED_OBJECTS=1 "$host" | grep -q "libvrbase.*vrbase-check/"
echo "c_by_pkg_config runs with the checking library"
