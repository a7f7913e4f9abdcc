// Locks within one process: keys, registrations, and the pool behind them, which the
// count of open files and the locks on disk show from outside.

#include <sys/stat.h>

#include <cerrno>
#include <string>

#include "platform/files.h"
#include "platform/locks.h"
#include "tests/support/arrays.h"
#include "tests/support/library_test.h"

namespace {

class LockTest : public FilesTest {
protected:
    static VrLockHandle Register(const std::string& path) {
        VrLockHandle handle = 0;
        EXPECT_EQ(LockRegister(path.c_str(), &handle), 0) << path;
        return handle;
    }

    static int32_t Take(VrLockHandle handle, const std::string& key) {
        VrString s = StringOfBytes(key);
        const int32_t result = LockLockKey(handle, s, 0, 0);
        free_mem(&s);
        return result;
    }

    static int32_t Give(VrLockHandle handle, const std::string& key) {
        VrString s = StringOfBytes(key);
        const int32_t result = LockUnlockKey(handle, s);
        free_mem(&s);
        return result;
    }

    // Whether the byte is free for a handle of the test's own.
    static bool IsFree(uint32_t position, const char* file = "__locks") {
        const int32_t own = FileOpen(file, kOpenReadWrite, kShareDenyNone, 0);
        const bool free = LockFile(FileSystemHandle(own), position, 0, 1, 0) != 0;
        FileClose(own);
        return free;
    }
};

TEST_F(LockTest, KeysLieAtTheirPositions) {
    StartWithFiles();
    const VrLockHandle abc = Register("ABC");
    const VrLockHandle customer = Register("CUSTOMER");
    EXPECT_EQ(abc & 0xFFFF, 0xFC42u);
    EXPECT_EQ(customer & 0xFFFF, 0x6FDEu);
    EXPECT_EQ(abc >> 16, customer >> 16) << "one lock file serves the directory";
    const struct {
        VrLockHandle handle;
        std::string key;
        uint32_t position;
    } cases[] = {
        {abc, "1", 0x8BFE0031},
        {customer, "1", 0x8BE20031},
        {abc, "100", 0x847EBDF1},
        {abc, "", 0xFC420000},
        {abc, std::string("1\0", 2), 0x8BFE0031u * 31},
        {abc, "\xFF", 0xFC420000u * 31 + 255},
    };
    for (const auto& row : cases) {
        EXPECT_TRUE(IsFree(row.position));
        EXPECT_EQ(Take(row.handle, row.key), 0);
        EXPECT_FALSE(IsFree(row.position)) << row.key;
        EXPECT_EQ(Give(row.handle, row.key), 0);
        EXPECT_TRUE(IsFree(row.position));
    }
    EXPECT_EQ(std::filesystem::file_size("__locks"), 0u);
}

TEST_F(LockTest, AKeyIsGivenBackAsOftenAsTaken) {
    StartWithFiles();
    const VrLockHandle abc = Register("ABC");
    EXPECT_EQ(Give(abc, "1"), 1);
    EXPECT_EQ(Take(abc, "1"), 0);
    EXPECT_EQ(Take(abc, "1"), 0);
    EXPECT_EQ(Give(abc, "1"), 0);
    EXPECT_FALSE(IsFree(0x8BFE0031));
    EXPECT_EQ(Give(abc, "1"), 0);
    EXPECT_TRUE(IsFree(0x8BFE0031));
    EXPECT_EQ(Give(abc, "1"), 1);
}

TEST_F(LockTest, BadHandlesAreRefused) {
    StartWithFiles();
    const VrLockHandle abc = Register("ABC");
    for (VrLockHandle bad : {0u, 0x0000FC42u, 0x0002FC42u, 0x0006FC42u, 0xFFFFFC42u}) {
        EXPECT_EQ(Take(bad, "1"), -1);
        EXPECT_EQ(Give(bad, "1"), -1);
        EXPECT_EQ(LockDeregister(bad), -1);
    }
    EXPECT_EQ(LockDeregister(abc), 0);
    EXPECT_EQ(LockDeregister(abc), -1);
}

TEST_F(LockTest, RegistrationsAreCountedAndTheLastGivesAllKeysBack) {
    StartWithFiles();
    const VrLockHandle abc = Register("ABC");
    EXPECT_EQ(Register("ABC"), abc);
    Take(abc, "1");
    Take(abc, "1");
    Take(abc, "100");
    EXPECT_EQ(LockDeregister(abc), 0);
    EXPECT_FALSE(IsFree(0x8BFE0031));
    EXPECT_EQ(LockDeregister(abc), 0);
    EXPECT_TRUE(IsFree(0x8BFE0031));
    EXPECT_TRUE(IsFree(0x847EBDF1));
    EXPECT_EQ(Take(abc, "1"), -1);
}

TEST_F(LockTest, SixKeysAndSixDirectories) {
    StartWithFiles();
    for (int i = 0; i < 6; ++i) {
        const std::string folder = std::string("d") + std::to_string(i);
        std::filesystem::create_directory(folder);
        const VrLockHandle handle = Register(folder + "\\ABC");
        EXPECT_EQ(handle >> 16, static_cast<uint32_t>(i) + 1);
        for (int key = 0; key < 6; ++key)
            EXPECT_EQ(Take(handle, std::to_string(key)), 0);
        EXPECT_EQ(Give(handle, "2"), 0);
        EXPECT_EQ(Give(handle, "2"), 1);
        EXPECT_EQ(Give(handle, "5"), 0);
    }
    EXPECT_FALSE(IsFree(0x8BFE0031, "d5/__locks"));
}

// The search for a directory's entry stops at the first free one, and two entries of
// one directory contend like two processes.
TEST_F(LockTest, TwoEntriesOfOneDirectoryContend) {
    StartWithFiles();
    std::filesystem::create_directory("other");
    const VrLockHandle first = Register("other\\ABC");
    const VrLockHandle second = Register("ABC");
    EXPECT_EQ(LockDeregister(first), 0);
    const VrLockHandle third = Register("ABC");
    EXPECT_EQ(third >> 16, 1u);
    EXPECT_EQ(Take(second, "1"), 0);
    EXPECT_EQ(Take(third, "1"), 1);
    EXPECT_EQ(Take(third, "2"), 0) << "refusing the first key leaves the entry usable";
    EXPECT_EQ(Give(second, "1"), 0);
    EXPECT_EQ(Take(third, "1"), 0);
    EXPECT_EQ(Give(third, ""), 1);
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
    handle = Register("ABC");  // position 0 held elsewhere is no failure
    ControlFailLocks(1, 1, EIO);
    EXPECT_EQ(Take(handle, "1"), -1);
    ControlFailLocks(1, 1, kErrorDeadlock);
    EXPECT_EQ(Take(handle, "1"), 1);
    ControlFailLocks(1, 1, kErrorInvalid);
    EXPECT_EQ(Take(handle, "1"), 0) << "granted, without a lock behind it";
    EXPECT_EQ(Give(handle, "1"), 1);
    EXPECT_EQ(Give(handle, "1"), 1) << "and gone from the array";
}

// With a limit of 3 the lock files of three directories fill the budget.
class PoolTest : public LockTest {
protected:
    void SetUp() override {
        LockTest::SetUp();
        StartWithFiles("[Environment]\nMaxOpenFiles=3\n");
        for (int i = 0; i < 3; ++i) {
            std::filesystem::create_directory(std::to_string(i));
            handles[i] = Register(std::to_string(i) + "\\ABC");
        }
    }

    static int OpenFiles() {
        int open = 0;
        for (int32_t handle = 3; handle < 20; ++handle)
            open += FileLength(handle) >= 0 ? 1 : 0;
        return open;
    }

    // Whether the lock file of the directory is open in this process.
    static bool IsOpen(int directory) {
        struct stat file = {};
        stat((std::to_string(directory) + "/__locks").c_str(), &file);
        for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
            struct stat open = {};
            if (stat(entry.path().c_str(), &open) == 0 && open.st_ino == file.st_ino &&
                open.st_dev == file.st_dev) {
                return true;
            }
        }
        return false;
    }

    VrLockHandle handles[3] = {};
};

TEST_F(PoolTest, OneOpenParksTheFileThatIsIdleLongest) {
    Take(handles[0], "1");
    Give(handles[0], "1");
    int32_t handle = 0;
    EXPECT_EQ(OsOpen("x", kOpenReadWrite | kOpenCreate, kPermissionWrite, &handle), 0);
    EXPECT_EQ(OpenFiles(), 3);
    EXPECT_FALSE(IsOpen(1));
    EXPECT_TRUE(IsOpen(0) && IsOpen(2));
    EXPECT_EQ(Take(handles[1], "1"), 0) << "a parked file opens again";
    EXPECT_FALSE(IsOpen(2)) << "which parked another";
    EXPECT_FALSE(IsFree(0x8BFE0031, "1/__locks"));
}

TEST_F(PoolTest, AFileWithAKeyIsNeverParked) {
    for (VrLockHandle handle : handles)
        Take(handle, "1");
    OsFilesInc();
    OsFilesInc();
    EXPECT_EQ(OpenFiles(), 3);
    for (int i = 0; i < 3; ++i)
        EXPECT_FALSE(IsFree(0x8BFE0031, (std::to_string(i) + "/__locks").c_str()));
    Give(handles[1], "1");
    OsFilesInc();
    EXPECT_FALSE(IsOpen(1)) << "idle from its last release on";
    EXPECT_EQ(LockDeregister(handles[1]), 0);
}

TEST_F(PoolTest, AParkedFileReopensWithoutTheCreateBit) {
    OsFilesInc();
    EXPECT_FALSE(IsOpen(0));
    std::filesystem::remove("0/__locks");
    EXPECT_EQ(Take(handles[0], "1"), -1);
    EXPECT_FALSE(std::filesystem::exists("0/__locks"));
    WriteFile("0/__locks", "");
    ControlFailOpens(1, 2, kErrorTooManyOpenFiles);
    EXPECT_EQ(Take(handles[0], "1"), -2);
    EXPECT_EQ(Take(handles[0], "1"), 0);
}

TEST_F(PoolTest, TheTablesGrow) {
    for (int i = 3; i < 45; ++i) {
        std::filesystem::create_directory(std::to_string(i));
        const VrLockHandle handle = Register(std::to_string(i) + "\\ABC");
        EXPECT_EQ(handle >> 16, static_cast<uint32_t>(i) + 1);
    }
    for (uint32_t i = 1; i <= 45; ++i)
        EXPECT_EQ(Take(i << 16, "1"), 0) << i;
}

}  // namespace
