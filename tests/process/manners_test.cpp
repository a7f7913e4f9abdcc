// The process is the host's: while the library works in it, and after, its signals, locale,
// directory, file mask and threads are what they were, and programs get none of its files.

#include <sys/stat.h>

#include <clocale>
#include <csignal>
#include <cstring>
#include <thread>

#include "platform/files.h"
#include "tests/support/arrays.h"
#include "tests/support/library_test.h"

namespace {

std::string ProcessState() {
    std::string state = setlocale(LC_ALL, nullptr) + std::filesystem::current_path().string();
    for (int number = 1; number <= 64; ++number) {
        struct sigaction action = {};
        sigset_t blocked;
        sigaction(number, nullptr, &action);
        pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
        state += ' ' + std::to_string(reinterpret_cast<uintptr_t>(action.sa_handler)) + ' ' +
                 std::to_string(action.sa_flags) + ' ' +
                 std::to_string(sigismember(&blocked, number));
    }
    const mode_t mask = umask(0);
    umask(mask);
    return state + ' ' + std::to_string(mask);
}

ptrdiff_t Threads() {
    const std::filesystem::directory_iterator tasks("/proc/self/task");
    return std::distance(begin(tasks), end(tasks));
}

// The log's line buffer stays for the life of the process.
struct MannersTest : FilesTest {
    void TearDown() override {
        EXPECT_EQ(ControlBlocksOut(), 1u);
    }
};

TEST_F(MannersTest, TheProcessIsLeftAsItWas) {
    umask(027);
    const std::string before = ProcessState();
    const ptrdiff_t threadsBefore = Threads();
    StartWithFiles("[DB]\nLOG=63\n");
    VrdbLogInit("DB", "T");
    int32_t handle = -1;
    OsOpen("file", kOpenCreate | kOpenReadWrite, kPermissionWrite, &handle);
    DirSearch* search = nullptr;
    DirFirst(".", &search);
    VrLockHandle file = 0;
    EXPECT_EQ(LockRegister(".\\file", &file), 0);
    EXPECT_EQ(LockLockKey(file, NullString(), 0, 0), 0);
    ControlFailAllocations(1, 1);
    ControlMessageBoxes([](void*, const char*, const char*, uint32_t) { return int32_t{IDRETRY}; },
                        nullptr);
    Array array(alloc_string(5000));
    char* list = VrProcessList();
    free_mem(&list);
    EXPECT_EQ(System("&true", nullptr), 1);
    EXPECT_EQ(System("ls /proc/self/fd", "OUT"), 0);
    EXPECT_EQ(ReadFile("OUT"), "0\n1\n2\n3\n") << "3 is the listing's own";
    EXPECT_EQ(ProcessState(), before);
    array.reset();
    DirClose(&search);
    VrExit(0);
    EXPECT_EQ(ProcessState(), before);
    for (int i = 0; i < 1000 && Threads() != threadsBefore; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    EXPECT_EQ(Threads(), threadsBefore);
}

}  // namespace
