// The process is the host's: while the library works in it, and after, its signals, locale,
// directory and file mask are what they were, and programs get none of its files.

#include <clocale>

#include "tests/support/library_test.h"

namespace {

std::string ProcessState() {
    std::string state = setlocale(LC_ALL, nullptr) + std::filesystem::current_path().string();
    for (int number = 1; number <= 64; ++number) {
        struct sigaction action = {};
        sigset_t blocked;
        sigaction(number, nullptr, &action);
        pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
        state += ' ' + std::to_string(reinterpret_cast<uintptr_t>(action.sa_handler)) +
                 std::to_string(sigismember(&blocked, number));
    }
    const mode_t mask = umask(0);
    umask(mask);
    return state + ' ' + std::to_string(mask);
}

TEST_F(FilesTest, TheProcessIsLeftAsItWas) {
    umask(027);
    const std::string before = ProcessState();
    StartWithFiles("[DB]\nLOG=63\n");
    VrdbLogInit("DB", "T");
    KeepLog();
    int32_t handle = -1;
    const int copy = dup(STDOUT_FILENO);
    EXPECT_GT(copy, 2);
    OsOpen("file", kOpenCreate | kOpenReadWrite, kPermissionWrite, &handle);
    VrLockHandle file = 0;
    EXPECT_EQ(LockRegister(".\\file", &file), 0);
    EXPECT_EQ(LockLockKey(file, NullString(), 0, 0), 0);
    char* list = VrProcessList();
    free_mem(&list);
    EXPECT_EQ(System("&true", nullptr), 1);
    EXPECT_EQ(System("ls /proc/self/fd", "OUT"), 0);
    EXPECT_EQ(ReadFile("OUT"), "0\n1\n2\n3\n") << "3 is the listing's own";
    close(copy);
    OsClose(handle);
    VrExit(0);
    EXPECT_EQ(ProcessState(), before);
    int status = 0;
    while (waitpid(-1, &status, WNOHANG) == 0)
        usleep(1000);
    EXPECT_EQ(waitpid(-1, &status, 0), -1) << "the program nobody waits for is no zombie";
}

}  // namespace
