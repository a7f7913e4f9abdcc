// Programs, what they cost their host, and modules.

#include <gtest/gtest.h>

#include "tests/support/emulated.h"
#include "tests/support/held.h"
#include "tests/support/temp_directory.h"

namespace {

bool Start(std::string line, ProcessInformation& information) {
    return CreateProcessA(nullptr, line.data(), nullptr, nullptr, 0, 0, nullptr, nullptr, nullptr,
                          &information) == 1;
}

void CloseBoth(const ProcessInformation& information) {
    EXPECT_EQ(CloseHandle(information.process), 1);
    EXPECT_EQ(CloseHandle(information.thread), 1);
}

uint32_t LeaveToItself(const char* line) {
    ProcessInformation program = {};
    EXPECT_TRUE(Start(line, program));
    CloseBoth(program);
    return program.processNumber;
}

// Tries for five seconds.
bool Becomes(const std::function<bool()>& wanted) {
    for (int i = 0; i < 500 && !wanted(); ++i)
        Sleep(10);
    return wanted();
}

TEST(Programs, ThoseLeftToThemselvesCostOneThreadAndLeaveNoZombie) {
    const pid_t own = fork();
    if (own == 0) _exit(3);
    const ptrdiff_t threads = EntriesOf("/proc/self/task");
    const ptrdiff_t descriptors = EntriesOf("/proc/self/fd");
    std::vector<uint32_t> programs;
    for (int i = 0; i < 40; ++i)
        programs.push_back(LeaveToItself("sleep 60"));
    EXPECT_EQ(EntriesOf("/proc/self/task"), threads + 1);
    EXPECT_EQ(EntriesOf("/proc/self/fd"), descriptors);
    const clock_t before = clock();
    Sleep(500);
    EXPECT_LT(clock() - before, CLOCKS_PER_SEC / 5) << "a thread that waits takes no turns";
    for (const uint32_t program : programs)
        EXPECT_EQ(kill(pid_t(program), SIGKILL), 0);
    for (const uint32_t program : programs)
        EXPECT_TRUE(Becomes([=] { return kill(pid_t(program), 0) != 0; }));
    EXPECT_TRUE(Becomes([=] { return EntriesOf("/proc/self/task") == threads; }));
    int status = 0;
    EXPECT_EQ(waitpid(own, &status, 0), own) << "the host's own child is the host's";
    EXPECT_EQ(WEXITSTATUS(status), 3);
}

TEST(Programs, WaitingTakesNoTurns) {
    ProcessInformation program = {};
    ASSERT_TRUE(Start("sleep 60", program));
    void* opened = OpenProcess(0, 0, program.processNumber);
    rusage before;
    rusage after;
    getrusage(RUSAGE_SELF, &before);
    for (void* handle : {program.process, opened})
        EXPECT_EQ(WaitForSingleObject(handle, 300), WAIT_TIMEOUT);
    getrusage(RUSAGE_SELF, &after);
    EXPECT_LT(after.ru_nvcsw - before.ru_nvcsw, 50);
    kill(pid_t(program.processNumber), SIGKILL);
    EXPECT_EQ(WaitForSingleObject(opened, INFINITE), WAIT_OBJECT_0);
    EXPECT_EQ(WaitForSingleObject(program.process, 5000), WAIT_OBJECT_0);
    uint32_t code = 0;
    EXPECT_EQ(GetExitCodeProcess(program.process, &code), 1);
    EXPECT_EQ(code, 128u + SIGKILL);
    CloseBoth(program);
    EXPECT_EQ(CloseHandle(opened), 1);
}

TEST(Programs, ThoseBesideTheHostAreFound) {
    TempDirectory directory;
    ProcessInformation program = {};
    ASSERT_TRUE(Start("platform_programs --gtest_list_tests", program));
    EXPECT_EQ(WaitForSingleObject(program.process, INFINITE), WAIT_OBJECT_0);
    CloseBoth(program);
}

TEST(Programs, ALargeBatchFileIsRefused) {
    TempDirectory directory;
    ProcessInformation program = {};
    WriteFile("large.bat", std::string(128 * 1024, '\n') + '\x1A');
    for (const char* line : {"large.bat", "CMD /c large.bat"}) {
        EXPECT_FALSE(Start(line, program));
        EXPECT_EQ(GetLastError(), 8u);
    }
}

TEST(ProgramsDeathTest, TheLastThreadEndsTheProcessWhateverProgramsRun) {
    if (IsEmulated()) GTEST_SKIP() << "the emulator has a thread of its own";
    const auto endWithProgram = [](const char* line) {
        LeaveToItself(line);
        ExitThread(6);
    };
    EXPECT_EXIT(endWithProgram("sleep 60"), testing::ExitedWithCode(6), "");
    EXPECT_EXIT(endWithProgram("true"), testing::ExitedWithCode(6), "");
    const auto program = pid_t(LeaveToItself("sleep 60"));
    EXPECT_EXIT(ExitThread(7), testing::ExitedWithCode(7), "") << "in a fork";
    EXPECT_EXIT(endWithProgram("true"), testing::ExitedWithCode(6), "");
    kill(program, SIGKILL);
}

TEST(Modules, WhatIsOutsideEveryDriveHasItsHostPath) {
    char name[300];
    EXPECT_GT(GetModuleFileNameA(nullptr, name, sizeof name), 0u);
    const std::string withDrive = name;
    setenv("VRPLATFORM_DRIVE_C", "/nowhere", 1);
    EXPECT_EQ(GetModuleFileNameA(nullptr, name, sizeof name), withDrive.size() - 2);
    EXPECT_EQ(name, withDrive.substr(2));
}

TEST(Modules, APipeIsNotLoaded) {
    TempDirectory directory;
    ASSERT_EQ(mkfifo("pipe.so", 0600), 0);
    EXPECT_EQ(LoadLibraryA("./pipe"), nullptr);
}

}  // namespace
