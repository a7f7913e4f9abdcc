// Whether an emulator runs the tests, because the kernel runs no 32-bit programs
// (scripts/emulator). It has a thread of its own in each process, and a program that cannot
// be started ends there with 127 instead of not starting.
#ifndef TESTS_SUPPORT_EMULATED_H
#define TESTS_SUPPORT_EMULATED_H

#include <filesystem>

inline bool IsEmulated() {
    return std::filesystem::exists("/proc/sys/fs/binfmt_misc/qemu-i386");
}

#endif
