// Byte locks between two handles of one process; between processes they are tested
// through the lock manager.

#include "platform/locks.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>

#include "platform/control.h"
#include "platform/files.h"
#include "tests/support/temp_directory.h"

namespace {

class Locks : public ::testing::Test {
protected:
    static void* Open() {
        return FileSystemHandle(FileOpen("l", kOpenReadWrite | kOpenCreate, kShareDenyNone,
                                         kPermissionRead | kPermissionWrite));
    }
    static int32_t Lock(void* file, uint32_t position) {
        errno = 0;
        return LockFile(file, position, 0, 1, 0);
    }
    static int32_t Unlock(void* file, uint32_t position) {
        return UnlockFile(file, position, 0, 1, 0);
    }
    TempDirectory directory;
    void* a = Open();
    void* b = Open();
};

TEST_F(Locks, HandlesOfOneProcessContend) {
    for (uint32_t position : {0u, 1u, 0x80000000u, 0xFFFFFFFFu}) {
        EXPECT_EQ(Lock(a, position), 1);
        EXPECT_EQ(Lock(b, position), 0);
        EXPECT_EQ(errno, kErrorAccessDenied);
        EXPECT_EQ(Lock(a, position), 0) << "a handle contends with itself";
        EXPECT_EQ(errno, kErrorAccessDenied);
        EXPECT_EQ(Unlock(b, position), 0) << "b does not hold it";
        EXPECT_EQ(Unlock(a, position), 1);
        EXPECT_EQ(Unlock(a, position), 0);
        EXPECT_EQ(Lock(b, position), 1);
    }
    EXPECT_EQ(LockFile(a, 0xFFFFFFFE, 0, 4, 0), 0) << "reaches b's last byte";
    EXPECT_EQ(LockFile(a, 0, 0x80000000, 1, 0), 0);
    EXPECT_EQ(LockFile(a, 5, 0, 0, 0), 0);
}

TEST_F(Locks, GoWithTheirHandleAndNotWithAnother) {
    EXPECT_EQ(Lock(a, 7), 1);
    FileClose(4);
    b = Open();
    EXPECT_EQ(Lock(b, 7), 0) << "closing another handle must not drop the lock";
    FileClose(3);
    EXPECT_EQ(Lock(b, 7), 1);
    EXPECT_EQ(Lock(a, 7), 0);
    EXPECT_EQ(errno, EBADF);
}

TEST_F(Locks, RefusalsTellTheirReason) {
    void* readOnly = FileSystemHandle(FileOpen("l", kOpenReadOnly, kShareDenyNone, 0));
    EXPECT_EQ(Lock(readOnly, 1), 0);
    EXPECT_EQ(errno, EBADF);
    ControlFailLocks(1, 1, kErrorInvalid);
    EXPECT_EQ(Lock(a, 1), 0);
    EXPECT_EQ(errno, kErrorInvalid);
    EXPECT_EQ(Lock(a, 1), 1);
}

}  // namespace
