// Programs, their handles and lists: what they cost, and what comes when memory is short.

#include "platform/programs.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "platform/process.h"
#include "platform/processlist.h"
#include "tests/support/emulated.h"
#include "tests/support/short_memory.h"
#include "tests/support/temp_directory.h"

namespace {

size_t Entries(const char* folder) {
    return size_t(std::distance(std::filesystem::directory_iterator(folder), {}));
}

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

TEST(ShortMemory, NoProgramRunsThatCannotBeHandedOver) {
    TempDirectory directory;
    WriteFile("batch.bat", "exit 7\r\nrem long enough for a piece of memory of its own\r\n");
    for (std::string line :
         {R"(sh -c "exit 7")", "CMD /c exit 7 > C:\\dev\\null", "CMD /c batch.bat",
          "batch.bat a word that is too long to be a part of its record"}) {
        ProcessInformation program = {};
        const int pieces = PiecesNeeded([&] {
            if (CreateProcessA(nullptr, line.data(), nullptr, nullptr, 0, 0, nullptr, nullptr,
                               nullptr, &program) == 1)
                return true;
            piecesLeft = -1;
            EXPECT_EQ(GetLastError(), 8u) << line;
            EXPECT_EQ(program.process, nullptr);
            EXPECT_EQ(waitpid(-1, nullptr, 0), -1) << line << " has run";
            return false;
        });
        EXPECT_GT(pieces, 4) << line;
        uint32_t code = 0;
        EXPECT_EQ(WaitForSingleObject(program.process, INFINITE), WAIT_OBJECT_0);
        EXPECT_EQ(GetExitCodeProcess(program.process, &code), 1);
        EXPECT_EQ(code, 7u) << line;
        CloseBoth(program);
    }
}

TEST(ShortMemory, HandlesModulesAndListsFail) {
    char name[300];
    void* handle = nullptr;
    const auto opens = [&] {
        handle = OpenProcess(0, 0, uint32_t(getpid()));
        return handle != nullptr || GetLastError() != 8;
    };
    EXPECT_EQ(PiecesNeeded(opens), 2);
    piecesLeft = 0;
    EXPECT_EQ(WaitForSingleObject(handle, 10), WAIT_TIMEOUT);
    EXPECT_EQ(LoadLibraryA("C:\\no\\library"), nullptr);
    piecesLeft = -1;
    PiecesNeeded([&] { return GetModuleFileNameA(nullptr, name, sizeof name) != 0; });
    EXPECT_TRUE(std::string(name).starts_with("C:\\")) << name;
    void* kernel = LoadLibraryA("kernel32");
    void* psapi = LoadLibraryA("psapi");
    ASSERT_TRUE(kernel != nullptr && psapi != nullptr);
    const auto createSnapshot =
        reinterpret_cast<CreateSnapshotRoutine>(GetProcAddress(kernel, "CreateToolhelp32Snapshot"));
    const auto fileName =
        reinterpret_cast<GetModuleNameRoutine>(GetProcAddress(psapi, "GetModuleFileNameExA"));
    void* snapshot = nullptr;
    EXPECT_GE(PiecesNeeded([&] { return (snapshot = createSnapshot(0, 0)) != nullptr; }), 3);
    EXPECT_EQ(CloseHandle(snapshot), 1);
    PiecesNeeded([&] { return fileName(handle, nullptr, name, sizeof name) != 0; });
    EXPECT_TRUE(std::string(name).starts_with("C:\\")) << name;
    EXPECT_EQ(CloseHandle(handle), 1);
}

TEST(Programs, ThoseLeftToThemselvesCostOneThreadAndLeaveNoZombie) {
    const pid_t own = fork();
    if (own == 0) _exit(3);
    const size_t threads = Entries("/proc/self/task");
    const size_t descriptors = Entries("/proc/self/fd");
    std::vector<uint32_t> programs;
    for (int i = 0; i < 40; ++i)
        programs.push_back(LeaveToItself("sleep 60"));
    EXPECT_EQ(Entries("/proc/self/task"), threads + 1);
    EXPECT_EQ(Entries("/proc/self/fd"), descriptors);
    for (const uint32_t program : programs)
        EXPECT_EQ(kill(pid_t(program), SIGKILL), 0);
    for (const uint32_t program : programs)
        EXPECT_TRUE(Becomes([=] { return kill(pid_t(program), 0) != 0; }));
    EXPECT_TRUE(Becomes([=] { return Entries("/proc/self/task") == threads; }));
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
