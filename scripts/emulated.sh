# Sourced by scripts that run what was built: whether qemu-user runs it (scripts/emulator).

emulator_entry=/proc/sys/fs/binfmt_misc/qemu-i386
emulated() { [ -e "$emulator_entry" ]; }

# The leak check stops its own process to read it, which hangs in the emulator, and a large
# quarantine of freed blocks runs into the emulator's address space.
if emulated; then
    export ASAN_OPTIONS=detect_leaks=0:quarantine_size_mb=16${ASAN_OPTIONS:+:$ASAN_OPTIONS}
fi
