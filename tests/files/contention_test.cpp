// Locks between real processes, which change one file.

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>

#include "platform/files.h"
#include "tests/support/library_test.h"

namespace {

// Ends a child, whose exit code then tells the parent at which step.
void Require(bool done, int step) {
    if (!done) _exit(step);
}

// What each process makes for itself, after the fork.
struct Host {
    Host() {
        UtilInit(nullptr);
        files_init();
        LockInit();
        Require(LockRegister("COUNTER", &handle) == 0, 10);
        key = StrToVrStr("100");
    }
    ~Host() {
        VrExit(0);
    }
    int32_t Lock(int32_t wait) {
        return LockLockKey(handle, key, 0, wait);
    }
    VrLockHandle handle = 0;
    VrString key = nullptr;
};

// A writer that came between reading and writing would be seen by what is lost.
void Increment(int32_t file) {
    char digits[9] = "";
    OsLseek(file, 0, 0);
    Require(OsRead(file, digits, 8) == 8, 11);
    const std::string next = std::to_string(atoi(digits) + 1);
    OsLseek(file, 0, 0);
    Require(OsWrite(file, next.data(), 8) == 8, 12);
}

struct Contention : testing::Test {
    Contention() {
        WriteFile("COUNTER", "10000000");
    }
    template <typename Body>
    pid_t Fork(Body body) {
        EXPECT_EQ(pipe(channel), 0);
        if (const pid_t child = fork()) {
            close(channel[1]);
            return child;
        }
        body();
        _exit(0);
    }
    static int ExitCodeOf(pid_t child) {
        int status = 0;
        waitpid(child, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    void Tell(char event) {
        Require(write(channel[1], &event, 1) == 1, 20);
    }
    char Hear() {
        char event = 0;
        return read(channel[0], &event, 1) == 1 ? event : '?';
    }
    TempDirectory directory;
    int channel[2] = {};  // from the child that was started last
};

TEST_F(Contention, NoIncrementOfEightProcessesIsLost) {
    for (int i = 0; i < 8; ++i) {
        Fork([] {
            Host host;
            int32_t file = -1;
            Require(OsOpen("COUNTER", kOpenReadWrite | kOpenBinary, 0, &file) == 0, 13);
            for (int increment = 0; increment < 1000; ++increment) {
                Require(host.Lock(1) == 0, 14);
                Increment(file);
                Require(LockUnlockKey(host.handle, host.key) == 0, 15);
            }
        });
    }
    for (int i = 0; i < 8; ++i)
        EXPECT_EQ(ExitCodeOf(-1), 0);
    EXPECT_EQ(ReadFile("COUNTER"), "10008000");
    EXPECT_EQ(std::filesystem::file_size("__locks"), 0u);
}

// A program that the holder started, and which lives on, has no share in the lock.
TEST_F(Contention, AKilledHolderFreesItsKeyAtOnce) {
    const pid_t holder = Fork([this] {
        setpgid(0, 0);
        Host host;
        Require(host.Lock(0) == 0, 21);
        Require(system("sleep 20 &") == 0, 22);
        Tell('h');
        sleep(20);
    });
    ASSERT_EQ(Hear(), 'h');
    Host host;
    EXPECT_EQ(host.Lock(0), 1);
    kill(holder, SIGKILL);
    EXPECT_EQ(ExitCodeOf(holder), -1);
    EXPECT_EQ(host.Lock(0), 0);
    kill(-holder, SIGKILL);  // the program
}

TEST_F(Contention, AWaitingHostGetsTheKeyWhenTheHolderEnds) {
    const pid_t holder = Fork([this] {
        Host host;
        Require(host.Lock(0) == 0, 21);
        Tell('h');
        usleep(100'000);
        Tell('e');  // and ends without giving the key back
    });
    ASSERT_EQ(Hear(), 'h');
    EXPECT_EQ(Host().Lock(1), 0);
    EXPECT_EQ(Hear(), 'e') << "the holder was done before";
    EXPECT_EQ(ExitCodeOf(holder), 0);
}

}  // namespace
