#!/bin/sh
# Configuring where something is missing stops with a sentence that says what:
#   diagnostics.sh SOURCE_FOLDER CMAKE CXX
set -eu
work=$(mktemp -d)
trap 'rm -r "$work"' EXIT
printf '#!/bin/sh\ncase " $* " in *" -m32 "*) exit 1;; esac\nexec "%s" "$@"\n' "$3" > "$work/wide"
chmod +x "$work/wide"

says() {
    sentence=$1
    shift
    if "$cmake" -S "$source" -B "$work/build" "$@" > "$work/log" 2>&1; then
        echo "configured all the same: $*"; exit 1
    fi
    tr -s ' \n' ' ' < "$work/log" | grep -q "$sentence" || { cat "$work/log"; exit 1; }
    rm -r "$work/build"
}
source=$1 cmake=$2
export CMAKE_GENERATOR=Ninja
says "cannot build 32-bit programs; install the package g++-multilib" -DCMAKE_CXX_COMPILER="$work/wide"
says "install the package googletest, or configure with -DVR_BUILD_TESTS=OFF" -DVR_GOOGLETEST=
says "32-bit x86 only; this machine is aarch64" -DCMAKE_SYSTEM_NAME=Linux -DCMAKE_SYSTEM_PROCESSOR=aarch64
