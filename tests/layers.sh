#!/bin/sh
# The library's folders use each other in one direction only: layers.sh OBJECT...
# A name belongs to the folder whose object file defines it, and every use of it by another
# folder must be allowed below.
set -eu
LC_ALL=C
export LC_ALL

found=$(nm --print-file-name --format=posix "$@" | awk '
    BEGIN {
        # A folder may use those with a lower number. The frame is core/Util.cpp.
        split("core 1 dynarray 2 config 3 lookup 4 files 4 text 5 process 6 frame 7", order, " ")
        for (i = 1; i in order; i += 2) level[order[i]] = order[i + 1]
        # The file layer reports to the log, which is itself a file of that layer.
        exception["files", "VrdbLogOutChar"]
        exception["files", "VrdbLogOutInt"]
    }
    function folder(object) {
        if (object ~ /^core\/Util\.cpp\./) return "frame"
        sub(/\/.*/, "", object)
        return object
    }
    { sub(/^.*\.dir\/(\.\/)?/, "", $1); sub(/:$/, "", $1) }
    $2 ~ /^__gnu_lto/ { next }  # all that an object shows when its names cannot be read
    $3 == "U" { ++uses; user[uses] = $1; used[uses] = $2; next }
    { defines[folder($1)] }
    $3 ~ /[A-Z]/ { home[$2] = $1 }
    END {
        for (name in level)
            if (!(name in defines)) print "no name of " name " can be read"
        for (name in defines)
            if (!(name in level)) print "folder " name " has no place in the order"
        for (i = 1; i <= uses; ++i) {
            if (!(used[i] in home)) continue
            from = folder(user[i])
            to = folder(home[used[i]])
            if (from == to || level[to] < level[from]) continue
            if ((from, used[i]) in exception) needed[from, used[i]]
            else print user[i] " uses " used[i] " of " home[used[i]]
        }
        for (edge in exception) {
            split(edge, part, SUBSEP)
            if (!(edge in needed)) print "exception not needed: " part[1] " uses " part[2]
        }
    }' | c++filt)
[ -z "$found" ] || { printf '%s\n' "$found"; exit 1; }
