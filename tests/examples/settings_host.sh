#!/bin/sh
# The settings host on files of its own, against the transcript beside this script:
#   settings_host.sh HOST
here=$(cd "$(dirname "$0")" && pwd)
. "$(dirname "$0")/common.sh"
cp "$host" host
LD_LIBRARY_PATH=$(dirname "$host")/../lib${LD_LIBRARY_PATH:+:$LD_LIBRARY_PATH}
export LD_LIBRARY_PATH
export VRPLATFORM_DRIVE_C="$work" VRPLATFORM_WINDOWS_DIR='C:\WIN' VRPLATFORM_REGISTRY='C:\orders.reg'
mkdir WIN here
echo 'ProductName=ORDERS' > host.version
printf '[Print]\nTray=lower\nCopies=2\n;Paper=A5\n[ENVIRONMENT]\nDATA = C:\\srv\nMY_VAR=1\n' > WIN/VRLINK.INI
printf 'REGEDIT4\n\n[HKEY_LOCAL_MACHINE\\Software\\Veldane\\ORDERS\\Print]\n"Tray"="upper"\n"Duplex"="no"\n
[HKEY_LOCAL_MACHINE\\Software\\Veldane\\ORDERS\\ENVIRONMENT]\n"DATA"="D:\\\\"\n' > orders.reg
cd here

# say ARGUMENT...: the call, what it prints, and how it ends.
say() {
    status=0
    echo "settings_host $*"
    setsid -w ../host "$@" 2>&1 || status=$?
    echo "exits with $status"
}

{
    say Print Tray
    say --ini orders.ini Print Copies
    say Print Paper
    say Print
    say Nothing
    say --environment
    : > VRLINK.INI
    say --environment
} > ../transcript
diff "$here/settings_host.txt" ../transcript
