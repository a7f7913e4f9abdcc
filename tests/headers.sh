#!/bin/sh
# Headers compile as C11 and as C++20: headers.sh SOURCE_FOLDER CC CXX
# Each alone; then all of them, in reverse order, twice and without the position macros,
# which then must not be there.
set -eu
flags="-m32 -Wall -Wextra -Wpedantic -Werror -fsyntax-only -I$1/include -I$1/platform/include"
compile() {
    printf '%s\nint unused;\n' "$3" | "$1" -x c -std=c11 $flags -
    printf '%s\nint unused;\n' "$3" | "$2" -x c++ -std=c++20 $flags -
}
reversed=
for header in "$1"/include/vr/*.h "$1"/platform/include/platform/*.h; do
    # A source that includes it, since compiling a header itself has warnings of its own.
    compile "$2" "$3" "#include \"$header\""
    reversed="#include \"$header\"
$reversed"
done
printf '#include "vr/owned.hpp"\nint unused;\n' |
    "$3" -x c++ -std=c++20 $flags -Wshadow -Wconversion -Wold-style-cast -
macros=$(sed -n 's/^ *_\([A-Za-z_]*\) .*/\1/p' "$1/exports/vrbase.def")
compile "$2" "$3" "#define VR_NO_POSITION_MACROS
$reversed$reversed
$(printf '#ifdef %s\n#error a position macro is there\n#endif\n' $macros)"
