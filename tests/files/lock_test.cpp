// Locks within one process: keys, registrations, and the pool behind them, which the
// open files and the locks on disk show from outside.

#include <cerrno>
#include <string>
#include <tuple>

#include "platform/files.h"
#include "platform/locks.h"
#include "tests/support/arrays.h"
#include "tests/support/library_test.h"

namespace {

constexpr uint32_t kPositionOf1 = 0x8BFE0031;  // of the key "1" in a file ABC

struct LockTest : FilesTest {
    static VrLockHandle Register(const std::string& path) {
        VrLockHandle handle = 0;
        EXPECT_EQ(LockRegister(path.c_str(), &handle), 0) << path;
        return handle;
    }
    // A file ABC in a new folder.
    static VrLockHandle RegisterIn(const std::string& folder) {
        std::filesystem::create_directory(folder);
        return Register(folder + "\\ABC");
    }
    // A string that lasts until the next one.
    VrString Key(const std::string& bytes) {
        free_mem(&lastKey);
        return lastKey = StringOfBytes(bytes);
    }
    int32_t Take(VrLockHandle handle, const std::string& key) {
        return LockLockKey(handle, Key(key), 0, 0);
    }
    int32_t Give(VrLockHandle handle, const std::string& key) {
        return LockUnlockKey(handle, Key(key));
    }
    // Whether the byte is free for a handle of the test's own.
    static bool IsFree(uint32_t position, const std::string& file = "__locks") {
        const int32_t own = FileOpen(file.c_str(), kOpenReadWrite, kShareDenyNone, 0);
        const bool free = LockFile(FileSystemHandle(own), position, 0, 1, 0) != 0;
        FileClose(own);
        return free;
    }
    VrString lastKey = nullptr;
};

TEST_F(LockTest, KeysLieAtTheirPositionsAndAreGivenBackAsOftenAsTaken) {
    StartWithFiles();
    const VrLockHandle abc = Register("ABC");
    const VrLockHandle customer = Register("CUSTOMER");
    EXPECT_EQ(abc, 0x1FC42u);
    EXPECT_EQ(customer, 0x16FDEu) << "one lock file serves the directory";
    const std::tuple<VrLockHandle, std::string, uint32_t> cases[] = {
        {abc, "1", kPositionOf1},
        {customer, "1", 0x8BE20031},
        {abc, "100", 0x847EBDF1},
        {abc, "", 0xFC420000},
        {abc, std::string("1\0", 2), kPositionOf1 * 31},
        {abc, "\xFF", 0xFC420000u * 31 + 255},
    };
    for (const auto& [handle, key, position] : cases) {
        EXPECT_EQ(Give(handle, key), 1) << "never taken";
        EXPECT_EQ(Take(handle, key), 0);
        EXPECT_EQ(Take(handle, key), 0);
        EXPECT_EQ(Give(handle, key), 0);
        EXPECT_FALSE(IsFree(position)) << key;
        EXPECT_EQ(Give(handle, key), 0);
        EXPECT_TRUE(IsFree(position)) << key;
        EXPECT_EQ(Give(handle, key), 1);
    }
}

TEST_F(LockTest, RegistrationsAreCountedAndTheLastGivesAllKeysBack) {
    StartWithFiles();
    const VrLockHandle abc = Register("ABC");
    EXPECT_EQ(Register("ABC"), abc);
    for (VrLockHandle bad : {0u, 0x0000FC42u, 0x0002FC42u, 0x0006FC42u, 0xFFFFFC42u}) {
        EXPECT_EQ(Take(bad, "1"), -1);
        EXPECT_EQ(Give(bad, "1"), -1);
        EXPECT_EQ(LockDeregister(bad), -1);
    }
    for (const char* key : {"1", "1", "100"})
        EXPECT_EQ(Take(abc, key), 0);
    EXPECT_EQ(LockDeregister(abc), 0);
    EXPECT_FALSE(IsFree(kPositionOf1));
    EXPECT_EQ(LockDeregister(abc), 0);
    EXPECT_TRUE(IsFree(kPositionOf1) && IsFree(0x847EBDF1));
    EXPECT_EQ(LockDeregister(abc), -1);
}

// More than the tables of lock files, of pooled files and of keys are made for.
TEST_F(LockTest, TheTablesGrow) {
    StartWithFiles();
    for (uint32_t i = 1; i <= 45; ++i) {
        const std::string folder = std::to_string(i);
        const VrLockHandle handle = RegisterIn(folder);
        EXPECT_EQ(handle >> 16, i);
        for (int key = 0; key < 6; ++key)
            EXPECT_EQ(Take(handle, std::to_string(key)), 0);
        EXPECT_EQ(Give(handle, "2"), 0);
        EXPECT_EQ(Give(handle, "2"), 1);
        EXPECT_EQ(Give(handle, "5"), 0);
        EXPECT_FALSE(IsFree(kPositionOf1, folder + "/__locks"));
    }
}

// The search for a directory's entry stops at the first free one, and two entries of
// one directory contend like two processes.
TEST_F(LockTest, TwoEntriesOfOneDirectoryContend) {
    StartWithFiles();
    const VrLockHandle first = RegisterIn("other");
    const VrLockHandle second = Register("ABC");
    EXPECT_EQ(LockDeregister(first), 0);
    const VrLockHandle third = Register("ABC");
    EXPECT_EQ(third >> 16, 1u);
    EXPECT_EQ(Take(second, "1"), 0);
    EXPECT_EQ(Take(third, "1"), 1);
    EXPECT_EQ(Take(third, "2"), 0) << "refusing the first key leaves the entry usable";
    EXPECT_EQ(Give(second, "1"), 0);
    EXPECT_EQ(Take(third, "1"), 0);
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
    const int32_t resultOfError[][2] = {{EIO, -1}, {kErrorDeadlock, 1}, {kErrorInvalid, 0}};
    for (const auto& [error, result] : resultOfError) {
        ControlFailLocks(1, 1, error);
        EXPECT_EQ(Take(handle, "1"), result);
    }
    EXPECT_EQ(Give(handle, "1"), 1) << "granted without a lock behind it";
    EXPECT_EQ(Give(handle, "1"), 1) << "and gone from the array";
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
    const VrLockHandle handles[] = {RegisterIn("0"), RegisterIn("1"), RegisterIn("2")};
    EXPECT_EQ(Open(), "012");
    Take(handles[0], "1");
    Give(handles[0], "1");
    OsFilesInc();
    EXPECT_EQ(Open(), "02") << "the one idle longest made room";
    std::filesystem::remove("1/__locks");
    EXPECT_EQ(Take(handles[1], "1"), -1);
    EXPECT_FALSE(std::filesystem::exists("1/__locks")) << "reopened without the create bit";
    EXPECT_EQ(Open(), "0");
    WriteFile("1/__locks", "");
    ControlFailOpens(1, 2, kErrorTooManyOpenFiles);
    EXPECT_EQ(Take(handles[1], "1"), -2);
    EXPECT_EQ(Open(), "") << "one released last is idle too";
    for (VrLockHandle handle : handles)
        EXPECT_EQ(Take(handle, "1"), 0);

    // Now the three are in use, and the count is above the limit.
    OsFilesInc();
    EXPECT_EQ(Open(), "012");
    Give(handles[1], "1");
    OsFilesInc();
    EXPECT_EQ(Open(), "02");
    EXPECT_FALSE(IsFree(kPositionOf1, "2/__locks"));
    EXPECT_EQ(LockDeregister(handles[1]), 0);
}

}  // namespace
