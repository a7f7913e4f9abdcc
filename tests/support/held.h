// What a process holds that a case must leave as it found it.

#include "tests/support/base.h"
#ifndef TESTS_SUPPORT_HELD_H
#define TESTS_SUPPORT_HELD_H

inline ptrdiff_t EntriesOf(const char* folder) {
    return std::distance(std::filesystem::directory_iterator(folder), {});
}

inline bool HasChildren() {
    siginfo_t information;
    return waitid(P_ALL, 0, &information, WEXITED | WNOHANG | WNOWAIT) == 0;
}

using Held = std::map<std::string, ptrdiff_t>;

inline Held HeldNow() {
    return {{"platform blocks", ControlBlocksOut()},
            {"descriptors", EntriesOf("/proc/self/fd")},
            {"threads", EntriesOf("/proc/self/task")},
            {"has children", HasChildren()}};
}

// The numbers that the platform gives first to handles of programs and snapshots.
inline int32_t CloseHandlesLeftOpen() {
    int32_t open = 0;
    for (uintptr_t handle = 0x1000; handle < 0x2000; handle += 4)
        open += CloseHandle(reinterpret_cast<void*>(handle));
    return open;
}

// Gives programs that run on five seconds to end, and the thread that waits for them.
inline Held HeldInTheEnd(const Held& expected) {
    for (int i = 0; i < 500 && HeldNow() != expected; ++i)
        usleep(10'000);
    return HeldNow();
}

#endif
