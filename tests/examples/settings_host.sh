#!/bin/sh
# The settings host on files of its own: settings_host.sh HOST
set -eu
work=$(mktemp -d "${TMPDIR:-/tmp}/vrsettings-XXXXXX")
trap 'rm -r "$work"' EXIT
cp "$1" "$work/host"
LD_LIBRARY_PATH=$(dirname "$1")/../lib${LD_LIBRARY_PATH:+:$LD_LIBRARY_PATH}
export LD_LIBRARY_PATH
cd "$work"
export VRPLATFORM_DRIVE_C="$work" VRPLATFORM_WINDOWS_DIR='C:\WIN' VRPLATFORM_REGISTRY='C:\orders.reg'
mkdir WIN here
echo 'ProductName=ORDERS' > host.version
printf '[Print]\nTray=lower\nCopies=2\n;Paper=A5\n[ENVIRONMENT]\nDATA = C:\\srv\nMY_VAR=1\n' > WIN/VRLINK.INI
printf 'REGEDIT4\n\n[HKEY_LOCAL_MACHINE\\Software\\Veldane\\ORDERS\\Print]\n"Tray"="upper"\n"Duplex"="no"\n
[HKEY_LOCAL_MACHINE\\Software\\Veldane\\ORDERS\\ENVIRONMENT]\n"DATA"="D:\\\\"\n' > orders.reg
cd here

failed=0
# Exit status and words of a call; what it prints after its surroundings comes on standard input.
gives() {
    status=$1
    shift
    cat > ../expected
    got=0
    setsid -w ../host "$@" > ../output 2>&1 || got=$?
    [ "$got" -eq "$status" ] || { echo "$*: exits with $got"; failed=1; }
    sed '1,/^  registry: C:.*: can be read$/d' ../output | diff - ../expected || { echo "for $*"; failed=1; }
}

gives 0 Print Tray << 'END'
[Print] Tray, the first that has it:
  registry: HKEY_LOCAL_MACHINE\Software\Veldane\ORDERS\Print: upper
  file: C:\WIN\VRLINK.INI: lower
the registry answers: upper
END
gives 0 --ini orders.ini Print Copies << 'END'
[Print] Copies, the first that has it:
  registry: HKEY_LOCAL_MACHINE\Software\Veldane\ORDERS\Print: not there
  file: C:\WIN\VRLINK.INI: 2
the file answers: 2
END
printf '%s\n' 'settings file, the first that can be read:' \
    '  given: orders.ini: No such file or directory' \
    '  current directory: C:\HERE\VRLINK.INI: No such file or directory' \
    '  Windows directory: C:\WIN\VRLINK.INI: can be read' \
    'product "ORDERS", by the version file:' '  version file: C:\HOST.version: can be read' \
    'registry, by its export:' '  registry: C:\orders.reg: can be read' > ../expected
sed '/^\[/,$d' ../output | diff -i - ../expected || failed=1
gives 1 Print Paper << 'END'
[Print] Paper, the first that has it:
  registry: HKEY_LOCAL_MACHINE\Software\Veldane\ORDERS\Print: not there
  file: C:\WIN\VRLINK.INI: not there
nothing has it: the caller's default counts
END
gives 0 Print << 'END'
registry: Tray = upper
registry: Duplex = no
file: Tray = lower, hidden by the registry
file: Copies = 2
END
gives 1 Nothing << 'END'
[Nothing] is in neither place
END
gives 0 --environment << 'END'
file: DATA = D:\
file: MY = 
registry, after the file: DATA = D:\
END
: > VRLINK.INI
gives 1 --environment << 'END'
no settings file with a text, and so no variable was set
END
grep -q '^  current directory: .*: empty$' ../output && grep -q 'Windows directory: .*: not looked at$' ../output ||
    { cat ../output; failed=1; }
exit $failed
