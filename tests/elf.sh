#!/bin/sh
# What a shared library owes the process that loads it: elf.sh HEADERS LIBRARY...
# HEADERS are the folders that declare what may leave a library.
set -eu
LC_ALL=C
export LC_ALL
headers=$1
shift
bad=0

has() { printf '%s\n' "$1" | grep -Eq -- "$2"; }
owes() { echo "$name owes the process $*"; bad=1; }

for library in "$@"; do
    name=$(basename "$library")
    segments=$(readelf --wide --segments "$library")
    dynamic=$(readelf --wide --dynamic "$library")
    calls=$(nm --dynamic --undefined-only "$library")
    if has "$segments" ' RWE '; then owes "no memory to write and run"; fi
    has "$segments" 'GNU_STACK.* RW ' || owes "a stack that cannot be run"
    has "$segments" GNU_RELRO || owes "tables that cannot be written"
    has "$dynamic" 'BIND_NOW|FLAGS.* NOW' || owes "names bound at the start"
    if has "$dynamic" TEXTREL; then owes "code that is not patched"; fi
    has "$calls" __stack_chk_fail || owes "a guarded stack"
    has "$calls" '__[a-z]+_chk' || owes "fortified calls"
    case $name in lib*) has "$dynamic" "SONAME.*\[${name%%.so*}[.]so" || owes "its name" ;; esac
    strange=$(printf '%s\n' "$dynamic" | sed -En 's/.*(NEEDED|PATH).*\[(.*)\]/\2/p' |
        grep -Evx '\$ORIGIN[/.]*:*|(libvrplatform|libstdc\+\+|libgcc_s|libc|libm|ld-linux)\.so(\.[0-9]+)*' || :)
    [ -z "$strange" ] || owes "no need of $strange"
    for export in $(nm --dynamic --defined-only --format=posix "$library" |
        sed '/ A /d; s/[@ ].*//'); do
        case $name:$export in libvrplatform*:[!v]*) owes "no name $export" ;; esac
        grep -qrw -- "${export#vrplatform_}" $headers || owes "no name $export"
    done
done
exit $bad
