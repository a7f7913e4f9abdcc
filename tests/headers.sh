#!/bin/sh
# Each header compiles alone, as C11 and as C++20: headers.sh SOURCE_FOLDER CC CXX
set -eu
flags="-m32 -Wall -Wextra -Wpedantic -Werror -fsyntax-only -I$1/include -I$1/platform/include"
for header in "$1"/include/vr/*.h "$1"/platform/include/platform/*.h; do
    # A source that includes it, since compiling a header itself has warnings of its own.
    printf '#include "%s"\nint unused;\n' "$header" | "$2" -x c -std=c11 $flags -
    printf '#include "%s"\nint unused;\n' "$header" | "$3" -x c++ -std=c++20 $flags -
done
