// Whether an emulator runs the tests, because the kernel runs no 32-bit programs
// (scripts/emulator). It has a thread of its own in each process, and a program that cannot
// be started ends there with 127 instead of not starting.
#ifndef TESTS_SUPPORT_EMULATED_H
#define TESTS_SUPPORT_EMULATED_H

#include "tests/support/held.h"

inline const bool hasThreadBeforeMain = EntriesOf("/proc/self/task") > 1;

inline bool IsEmulated() {
    return hasThreadBeforeMain;
}

#endif
