// Locks: keys, registrations, and the pool behind them, which the open files and the locks
// on disk show from outside; and what is left of a holder that was killed.

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <map>
#include <sstream>
#include <string>

#include "platform/files.h"
#include "platform/locks.h"
#include "tests/support/arrays.h"
#include "tests/support/library_test.h"

namespace {

constexpr uint32_t kPositionOf1 = 0x8BFE0031;  // of the key "1" in a file ABC

struct LockTest : FilesTest {
    // A handle of a file ABC in a folder, or of a path.
    VrLockHandle Register(char letter, const std::string& path) {
        EXPECT_EQ(LockRegister(path.c_str(), &handles[letter]), 0) << path;
        return handles[letter];
    }
    VrLockHandle RegisterIn(char letter, const std::string& folder) {
        std::filesystem::create_directory(folder);
        return Register(letter, folder + "\\ABC");
    }
    // Steps with their results: +a1=0 takes key 1 by the handle a, -a1=0 gives it back, and
    // ~a=0 deregisters the handle. The key @ is the one given.
    void Run(const std::string& steps, const std::string& given = "") {
        std::istringstream words(steps);
        for (std::string step; words >> step;) {
            const size_t equal = step.find('=');
            const std::string name = step.substr(2, equal - 2);
            const Array key(name == "@" ? given : name);
            const VrLockHandle handle = handles[step[1]];
            const int32_t result = step[0] == '+'   ? LockLockKey(handle, key, 0, 0)
                                   : step[0] == '-' ? LockUnlockKey(handle, key)
                                                    : LockDeregister(handle);
            EXPECT_EQ(step.substr(0, equal + 1) + std::to_string(result), step) << steps;
        }
    }
    // Whether the byte is free for a handle of the test's own.
    static bool IsFree(uint32_t position, const std::string& file = "__locks") {
        const int32_t own = FileOpen(file.c_str(), kOpenReadWrite, kShareDenyNone, 0);
        const bool free = LockFile(FileSystemHandle(own), position, 0, 1, 0) != 0;
        FileClose(own);
        return free;
    }
    std::map<char, VrLockHandle> handles;
};

TEST_F(LockTest, KeysAndRegistrationsAreGivenBackAsOftenAsTaken) {
    StartWithFiles();
    EXPECT_EQ(Register('a', "ABC"), 0x1FC42u);
    EXPECT_EQ(Register('c', "CUSTOMER"), 0x16FDEu) << "one lock file serves the directory";
    const std::tuple<std::string, std::string, uint32_t> cases[] = {
        {"a", "1", kPositionOf1},
        {"c", "1", 0x8BE20031},
        {"a", "100", 0x847EBDF1},
        {"a", "", 0xFC420000},
        {"a", {"1\0", 2}, kPositionOf1 * 31},
        {"a", "\xFF", 0xFC420000u * 31 + 255}};
    for (const auto& [h, key, position] : cases) {
        Run("-" + h + "@=1 +" + h + "@=0 +" + h + "@=0 -" + h + "@=0", key);
        EXPECT_FALSE(IsFree(position)) << key;
        Run("-" + h + "@=0 -" + h + "@=1", key);
        EXPECT_TRUE(IsFree(position)) << key;
    }
    for (const VrLockHandle bad : {0u, 0x0000FC42u, 0x0002FC42u, 0x0006FC42u, 0xFFFFFC42u}) {
        handles['b'] = bad;
        Run("+b1=-1 -b1=-1 ~b=-1");
    }
    EXPECT_EQ(Register('d', "ABC"), handles['a']);
    Run("~c=0 +a1=0 +a1=0 +a100=0 ~a=0");
    EXPECT_FALSE(IsFree(kPositionOf1));
    Run("~d=0 ~d=-1");
    EXPECT_TRUE(IsFree(kPositionOf1) && IsFree(0x847EBDF1));
}

// More than the tables of lock files, of pooled files and of keys are made for.
TEST_F(LockTest, TheTablesGrow) {
    StartWithFiles();
    for (uint32_t i = 1; i <= 45; ++i) {
        const std::string folder = std::to_string(i);
        EXPECT_EQ(RegisterIn('f', folder) >> 16, i);
        Run("+f0=0 +f1=0 +f2=0 +f3=0 +f4=0 +f5=0 -f2=0 -f2=1 -f5=0");
        EXPECT_FALSE(IsFree(kPositionOf1, folder + "/__locks"));
    }
}

// The search for a directory's entry stops at the first free one, and two entries of
// one directory contend like two processes. A refused first key leaves the entry usable.
TEST_F(LockTest, TwoEntriesOfOneDirectoryContend) {
    StartWithFiles();
    RegisterIn('a', "other");
    Register('b', "ABC");
    Run("~a=0");
    EXPECT_EQ(Register('c', "ABC") >> 16, 1u);
    Run("+b1=0 +c1=1 +c2=0 -b1=0 +c1=0");
}

TEST_F(LockTest, RefusalsOfTheSystem) {
    StartWithFiles();
    VrLockHandle handle = 77;
    EXPECT_EQ(LockRegister("missing\\ABC", &handle), -1);
    ControlFailOpens(1, 2, kErrorTooManyOpenFiles);
    EXPECT_EQ(LockRegister("ABC", &handle), -2);
    ControlFailLocks(1, 1, EIO);
    EXPECT_EQ(LockRegister("ABC", &handle), -1);
    EXPECT_FALSE(std::filesystem::exists("__locks")) << "a file that cannot be locked goes";
    ControlFailLocks(1, 1, kErrorInvalid);
    EXPECT_EQ(LockRegister("ABC", &handle), 1) << "no locks here: the byte does not go back";
    EXPECT_EQ(handle, 77u) << "no handle is written";

    ControlFailLocks(1, 1, kErrorAccessDenied);
    Register('a', "ABC");  // position 0 held elsewhere is no failure
    for (const auto& [error, take] : {std::pair(EIO, "+a1=-1"), {kErrorDeadlock, "+a1=1"}}) {
        ControlFailLocks(1, 1, error);
        Run(take);
    }
    ControlFailLocks(1, 1, kErrorInvalid);
    Run("+a1=0 -a1=1 -a1=1");  // granted without a lock behind it, and gone all the same
}

// Those of the folders whose lock file this process has open.
std::string Open() {
    std::string folders;
    for (const std::string folder : {"0", "1", "2"}) {
        for (const auto& open : std::filesystem::directory_iterator("/proc/self/fd")) {
            std::error_code error;
            if (equivalent(open.path(), folder + "/__locks", error)) folders += folder;
        }
    }
    return folders;
}

TEST_F(LockTest, TheIdleFilesOfThePoolMakeRoomAndComeBack) {
    StartWithFiles("[Environment]\nMaxOpenFiles=3\n");
    for (const char folder : {'0', '1', '2'})
        RegisterIn(folder, {folder});
    EXPECT_EQ(Open(), "012");
    Run("+01=0 -01=0");
    OsFilesInc();
    EXPECT_EQ(Open(), "02") << "the one idle longest made room";
    std::filesystem::remove("1/__locks");
    Run("+11=-1");
    EXPECT_FALSE(std::filesystem::exists("1/__locks")) << "reopened without the create bit";
    EXPECT_EQ(Open(), "0");
    WriteFile("1/__locks", "");
    ControlFailOpens(1, 2, kErrorTooManyOpenFiles);
    Run("+11=-2");
    EXPECT_EQ(Open(), "") << "one released last is idle too";

    // Now the three are in use, and the count is above the limit.
    Run("+01=0 +11=0 +21=0");
    OsFilesInc();
    EXPECT_EQ(Open(), "012");
    Run("-11=0");
    OsFilesInc();
    EXPECT_EQ(Open(), "02");
    EXPECT_FALSE(IsFree(kPositionOf1, "2/__locks"));
    Run("~1=0");
}

// A program that the holder started, and which lives on, has no share in the lock.
TEST_F(LockTest, AKilledHolderFreesItsKeyAtOnce) {
    int channel[2];
    ASSERT_EQ(pipe(channel), 0);
    const pid_t holder = fork();
    if (holder == 0) {
        setpgid(0, 0);
        StartWithFiles();
        Register('a', "ABC");
        Run("+a1=0");
        if (!HasFailure() && system("sleep 20 &") == 0 && write(channel[1], "h", 1) == 1) sleep(20);
        _exit(1);
    }
    close(channel[1]);
    char told = 0;
    ASSERT_EQ(read(channel[0], &told, 1), 1);
    StartWithFiles();
    Register('a', "ABC");
    Run("+a1=1");
    kill(holder, SIGKILL);
    waitpid(holder, nullptr, 0);
    Run("+a1=0");
    kill(-holder, SIGKILL);  // the program
}

}  // namespace
