// Locks between real processes, which change one record on disk.

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "platform/files.h"
#include "tests/support/arrays.h"
#include "tests/support/library_test.h"

namespace {

constexpr int kProcesses = 8;
constexpr int kIncrements = 1000;

VrLockHandle StartAndRegister() {
    UtilInit(nullptr);
    files_init();
    LockInit();
    VrLockHandle handle = 0;
    if (LockRegister("COUNTER", &handle) != 0) _exit(10);
    return handle;
}

VrString ReadWhole(int32_t file) {
    VrString record = alloc_string(static_cast<uint32_t>(OsFileLength(file)));
    OsLseek(file, 0, 0);
    if (OsRead(file, VrStrText(record), static_cast<uint32_t>(record->length)) != record->length) {
        _exit(11);
    }
    return record;
}

// Adds 1 to attribute 2 of the record, in the file itself: a second writer at the same
// time would be seen by what is lost.
void Increment(int32_t file) {
    VrString record = ReadWhole(file);
    char* number = get_field_string(2, record);
    VrString next = StrToVrStr(std::to_string(atoi(number) + 1).c_str());
    UtilPosition position = {2, 0, 0, 4};
    VrString edited = UtilInsertReplace(&position, record, next, 1);
    OsLseek(file, 0, 0);
    if (OsWrite(file, VrStrText(edited), static_cast<uint32_t>(edited->length)) != edited->length) {
        _exit(12);
    }
    if (edited != record) free_mem(&edited);
    free_mem(&record);
    free_mem(&next);
    free_mem(&number);
}

void CountUnderLock() {
    const VrLockHandle handle = StartAndRegister();
    VrString key = StrToVrStr("100");
    int32_t file = -1;
    if (OsOpen("COUNTER", kOpenReadWrite | kOpenBinary, 0, &file) != 0) _exit(13);
    for (int i = 0; i < kIncrements; ++i) {
        if (LockLockKey(handle, key, 0, 1) != 0) _exit(14);
        Increment(file);
        if (LockUnlockKey(handle, key) != 0) _exit(15);
    }
    _exit(0);
}

pid_t Fork(void (*body)()) {
    const pid_t child = fork();
    if (child == 0) {
        body();
        _exit(99);
    }
    return child;
}

int ExitCodeOf(pid_t child) {
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(Contention, NoIncrementOfEightProcessesIsLost) {
    TempDirectory directory;
    WriteFile("COUNTER", Marked("counter^0^end"));
    std::vector<pid_t> children;
    for (int i = 0; i < kProcesses; ++i)
        children.push_back(Fork(CountUnderLock));
    for (pid_t child : children)
        EXPECT_EQ(ExitCodeOf(child), 0);
    EXPECT_EQ(ReadFile("COUNTER"), Marked("counter^8000^end"));
    EXPECT_EQ(std::filesystem::file_size("__locks"), 0u);
}

int toParent[2];

// A child of the holder, which has no share in the lock once it runs its program.
void StartSleeper() {
    int started[2];
    if (pipe2(started, O_CLOEXEC) != 0) _exit(21);
    if (fork() == 0) {
        execlp("sleep", "sleep", "30", nullptr);
        _exit(21);
    }
    close(started[1]);
    char none = 0;
    if (read(started[0], &none, 1) != 0) _exit(21);  // the end comes with the program
}

// Takes the key, says so, and keeps it until it is killed.
void HoldTheKey() {
    setpgid(0, 0);
    const VrLockHandle handle = StartAndRegister();
    VrString key = StrToVrStr("100");
    if (LockLockKey(handle, key, 0, 0) != 0) _exit(20);
    StartSleeper();
    if (write(toParent[1], "h", 1) != 1) _exit(22);
    pause();
}

TEST(Contention, AKilledHolderFreesItsKeyAtOnce) {
    TempDirectory directory;
    WriteFile("COUNTER", "");
    ASSERT_EQ(pipe(toParent), 0);
    const pid_t holder = Fork(HoldTheKey);
    char said = 0;
    ASSERT_EQ(read(toParent[0], &said, 1), 1);

    const VrLockHandle handle = StartAndRegister();
    VrString key = StrToVrStr("100");
    VrString other = StrToVrStr("101");
    EXPECT_EQ(LockLockKey(handle, key, 0, 0), 1);
    EXPECT_EQ(LockLockKey(handle, other, 0, 0), 0) << "another key is another byte";
    kill(holder, SIGKILL);
    ExitCodeOf(holder);
    EXPECT_EQ(LockLockKey(handle, key, 0, 0), 0);
    kill(-holder, SIGKILL);  // the sleeper
    free_mem(&key);
    free_mem(&other);
    VrExit(0);
    EXPECT_EQ(ControlBlocksOut(), 0u);
}

void HoldForAWhile() {
    const VrLockHandle handle = StartAndRegister();
    VrString key = StrToVrStr("100");
    if (LockLockKey(handle, key, 0, 0) != 0) _exit(20);
    if (write(toParent[1], "h", 1) != 1) _exit(22);
    usleep(200'000);
    if (write(toParent[1], "e", 1) != 1) _exit(22);
    _exit(0);  // without giving the key back
}

TEST(Contention, AWaitingHostGetsTheKeyWhenTheHolderEnds) {
    TempDirectory directory;
    WriteFile("COUNTER", "");
    ASSERT_EQ(pipe(toParent), 0);
    const pid_t holder = Fork(HoldForAWhile);
    char said[2] = {};
    ASSERT_EQ(read(toParent[0], said, 1), 1);
    const VrLockHandle handle = StartAndRegister();
    VrString key = StrToVrStr("100");
    EXPECT_EQ(LockLockKey(handle, key, 0, 1), 0);
    ASSERT_EQ(read(toParent[0], said, 1), 1);
    EXPECT_EQ(said[0], 'e') << "the holder was done before";
    EXPECT_EQ(ExitCodeOf(holder), 0);
    free_mem(&key);
    VrExit(0);
}

}  // namespace
