#!/bin/sh
# Headers compile as C11 and as C++20: headers.sh SOURCE_FOLDER CC CXX
# Each alone; then all of them, in reverse order, twice and without the position macros,
# which then must not be there. Then what a host may write, and what must not compile.
set -eu
source=$1 cc=$2 cxx=$3
# Code is made, since only then are dropped results noticed.
flags="-m32 -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror -S -o /dev/null -I$1/include -I$1/platform/include"
as_c() { printf '%s\nint unused;\n' "$1" | "$cc" -x c -std=c11 $flags -; }
as_cpp() { printf '%s\nint unused;\n' "$1" | "$cxx" -x c++ -std=c++20 -Wold-style-cast $flags -; }
compile() {
    as_c "$1"
    as_cpp "$1"
}
reversed=
for header in "$source"/include/vr/*.h "$source"/platform/include/platform/*.h; do
    # A source that includes it, since compiling a header itself has warnings of its own.
    compile "#include \"$header\""
    reversed="#include \"$header\"
$reversed"
done
as_cpp '#include "vr/owned.hpp"'
macros=$(sed -n 's/^ *_\([A-Za-z_]*\) .*/\1/p' "$source/exports/vrbase.def")
compile "#define VR_NO_POSITION_MACROS
$reversed$reversed
$(printf '#ifdef %s\n#error a position macro is there\n#endif\n' $macros)"

# The statements of a host, with a pointer variable of each kind at hand.
host() {
    printf '%s\n' '#include "vr/vr.h"' 'typedef void (*Routine)(void); struct Own;' \
        'void Host(VrString s, void* block, char* text, const char* constant, struct Own* own,' \
        '          Routine routine, char** list, char* const fixed, UtilPosition* position) {' \
        '    char array[4] = "abc"; int number = 0;' \
        '    (void)s, (void)block, (void)text, (void)constant, (void)own, (void)routine;' \
        '    (void)list, (void)fixed, (void)position, (void)array, (void)number;' "$1" '}'
}
compile "$(host 's = VR_SHARED_STRING(NullVrStr); number = *VrStrText(s);
    free_mem(&s); free_mem(&block); free_mem(&text); free_mem(&constant); free_mem(&own);
    free_mem(&routine); free_mem(&list); free_mem(list); free_mem(&list[1]);')"

while read -r statement; do
    for language in as_c as_cpp; do
        if $language "$(host "$statement")" 2> /dev/null; then
            echo "$language compiles: $statement"; exit 1
        fi
    done
done << 'END'
free_mem(s);
free_mem(block);
free_mem(text);
free_mem(constant);
free_mem(own);
free_mem(routine);
free_mem(&array);
free_mem(&number);
free_mem(&fixed);
alloc_memory(5);
malloc_memory(5);
realloc_mem(block, 5);
NewString(s);
StrToVrStr("text");
dup_str("text");
UtilInsertReplace(position, s, s, 0);
get_field(1, s);
vrHeapCreate();
IniGetString("Section", "Key", "");
CvtConvert(s, 0);
END
