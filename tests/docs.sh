#!/bin/sh
# The programs in the documents compile, run, and print what the documents say:
#   docs.sh SOURCE_FOLDER LIBRARY_FOLDER [FLAG...]
# A program is a fenced c or cpp block with a main. A text block that is the next one
# behind it is its output. Each runs as ./host in a folder of its own, and exits with 0.
set -eu
source=$1
libraries=$2
shift 2
work=$(mktemp -d "${TMPDIR:-/tmp}/vrdocs-XXXXXX")
trap 'rm -r "$work"' EXIT

for page in "$source"/README.md "$source"/docs/*.md; do
    awk -v work="$work" -v page="$(basename "$page" .md)" '
        !inside && /^```/ {
            language = substr($0, 4); block = ""; inside = 1; line = NR
            next
        }
        inside && /^```$/ {
            inside = 0
            if (language == "text" && folder != "") printf "%s", block > (folder "/expected")
            folder = ""
            if ((language == "c" || language == "cpp") && block ~ /int main\(/) {
                folder = work "/" page "-" line
                system("mkdir " folder)
                printf "%s", block > (folder "/host." language)
            }
            next
        }
        inside { block = block $0 "\n" }
    ' "$page"
done

# The page on mistakes shows reports of the checking library, where there is one.
checking=$libraries/vrbase-check
report_of_mistakes() {
    LD_LIBRARY_PATH="$checking:$libraries" setsid -w ./host 2>&1
}

# Without a terminal, so that no message box waits for an answer.
run() {
    cd "$1"
    case $1 in
        */finding-mistakes-*) report_of_mistakes | diff expected -; return ;;
    esac
    LD_LIBRARY_PATH="$libraries" setsid -w ./host > output 2> errors || {
        echo "$1: exits with $?"
        cat output errors
        return 1
    }
    [ ! -e expected ] || diff expected output
}

programs=0
for host in "$work"/*/host.c*; do
    case $host in
        */finding-mistakes-*) [ -d "$checking" ] || continue ;;
    esac
    case $host in
        *.c) compile="gcc -std=c11" ;;
        *) compile="g++ -std=c++20" ;;
    esac
    $compile -m32 -Wall -Wextra -Werror "$@" -I"$source/include" \
        -I"$source/platform/include" -o "${host%.*}" "$host" \
        -L"$libraries" -lvrbase -lvrplatform
    (run "${host%/*}")
    programs=$((programs + 1))
done
echo "$programs programs of the documents compile and run"
