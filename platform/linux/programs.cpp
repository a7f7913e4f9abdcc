// Programs are spawned with nothing of ours but the standard streams. A process object
// is shared by its handles; when the last of them goes before the process has ended, a
// thread of its own waits for the end, so that no zombie stays.

#include "platform/programs.h"

#include <pthread.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <ctime>
#include <string>
#include <vector>

#include "linux/commandline.h"
#include "linux/handles.h"
#include "linux/insist.h"
#include "linux/proc.h"
#include "linux/reaper.h"
#include "platform/control.h"

static_assert(sizeof(StartupInfo) == 68);
static_assert(sizeof(OsVersionInfo) == 148);

namespace {

constexpr uint32_t kAccessDenied = 5;
constexpr uint32_t kInvalidHandle = 6;
constexpr uint32_t kNoMemory = 8;
constexpr uint32_t kNotOffered = 87;
constexpr uint32_t kNotAProgram = 193;
constexpr int kKilledBase = 128;
constexpr int32_t kWindowModeNotSet = -1;
constexpr long kPollNanoseconds = 2'000'000;
constexpr uint32_t kDefaultPlatformNumber = 2;

struct Process {
    pid_t number;
    bool isChild;  // that this process has to wait for
    bool ended;
    uint32_t exitCode;
    int references;
};

uint32_t lastError = 0;
uint32_t platformNumber = kDefaultPlatformNumber;
ProgramRecorder recorder = nullptr;
void* recorderContext = nullptr;

int32_t Fail(uint32_t error) {
    lastError = error;
    return 0;
}

void CloseProcess(void* object) {
    auto* process = static_cast<Process*>(object);
    if (--process->references != 0) return;
    if (process->isChild && !process->ended) ReapInBackground(process->number);
    delete process;
}

constexpr HandleKind kProcessKind = {CloseProcess};
constexpr HandleKind kThreadKind = {CloseProcess};

Process* FindProcess(void* handle) {
    return static_cast<Process*>(PlatformHandleObject(&kProcessKind, handle));
}

void NoteEnd(Process& process, int status) {
    process.ended = true;
    process.exitCode = static_cast<uint32_t>(WIFEXITED(status) ? WEXITSTATUS(status)
                                                               : kKilledBase + WTERMSIG(status));
}

void Poll(Process& process, int options) {
    if (process.ended) return;
    if (!process.isChild) {
        process.ended = (kill(process.number, 0) != 0 && errno == ESRCH) ||
                        IsZombie("/proc/" + std::to_string(process.number));
        return;
    }
    int status = 0;
    const pid_t result = Insist([&] { return waitpid(process.number, &status, options); });
    if (result == process.number) NoteEnd(process, status);
    // Somebody else has waited for it: how it ended cannot be known any more.
    if (result < 0) process.ended = true;
}

uint32_t ErrorOfSpawn(int error) {
    switch (error) {
        case ENOENT:
            return 2;
        case EACCES:
        case EPERM:
        case ETXTBSY:
            return kAccessDenied;
        case ENOEXEC:
            return kNotAProgram;
        default:
            return kNoMemory;
    }
}

// What a host of ours blocks or ignores is no matter of the program's.
int Spawn(const HostCommand& command, pid_t& number) {
    std::vector<char*> words;
    for (const std::string& word : command.words)
        words.push_back(const_cast<char*>(word.c_str()));
    words.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;
    sigset_t none;
    sigset_t all;
    sigemptyset(&none);
    sigfillset(&all);
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1);
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setsigdefault(&attributes, &all);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    const int error =
        posix_spawn(&number, command.program.c_str(), &actions, &attributes, words.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    return error;
}

void GiveHandles(Process process, ProcessInformation* information) {
    process.references = 2;
    auto* shared = new Process(process);
    const auto number = static_cast<uint32_t>(process.number);
    *information = {PlatformNewHandle(&kProcessKind, shared),
                    PlatformNewHandle(&kThreadKind, shared), number, number};
}

int32_t StartForReal(const char* commandLine, ProcessInformation* information) {
    HostCommand command;
    pid_t number = 0;
    const int refused = ParseCommandLine(commandLine, command);
    if (refused != 0) return Fail(static_cast<uint32_t>(refused));
    const int error = Spawn(command, number);
    if (error != 0) return Fail(ErrorOfSpawn(error));
    GiveHandles({number, true, false, 0, 0}, information);
    return 1;
}

}  // namespace

int32_t CreateProcessA(const char* application, char* commandLine, void* processSecurity,
                       void* threadSecurity, int32_t inherit, uint32_t flags, void* environment,
                       const char* directory, const StartupInfo* startup,
                       ProcessInformation* information) {
    const bool offered = application == nullptr && processSecurity == nullptr &&
                         threadSecurity == nullptr && inherit == 0 && flags == 0 &&
                         environment == nullptr && directory == nullptr;
    if (!offered || commandLine == nullptr) return Fail(kNotOffered);
    if (recorder == nullptr) return StartForReal(commandLine, information);

    const bool windowModeSet = startup != nullptr && (startup->flags & STARTF_USESHOWWINDOW) != 0;
    uint32_t code = 0;
    switch (recorder(recorderContext, commandLine,
                     windowModeSet ? startup->showWindow : kWindowModeNotSet, &code)) {
        case kProgramRan:
            GiveHandles({0, false, true, code, 0}, information);
            return 1;
        case kProgramFailed:
            return Fail(code);
        default:
            return StartForReal(commandLine, information);
    }
}

uint32_t GetLastError() {
    return lastError;
}

int32_t WaitForSingleObject(void* process, int32_t milliseconds) {
    Process* found = FindProcess(process);
    if (found == nullptr) {
        lastError = kInvalidHandle;
        return INFINITE;
    }
    if (milliseconds == INFINITE && found->isChild) Poll(*found, 0);
    using Clock = std::chrono::steady_clock;
    const Clock::time_point end = Clock::now() + std::chrono::milliseconds(milliseconds);
    for (;;) {
        Poll(*found, WNOHANG);
        if (found->ended) return WAIT_OBJECT_0;
        if (milliseconds != INFINITE && Clock::now() >= end) return WAIT_TIMEOUT;
        const timespec pause = {0, kPollNanoseconds};
        nanosleep(&pause, nullptr);
    }
}

int32_t GetExitCodeProcess(void* process, uint32_t* code) {
    Process* found = FindProcess(process);
    if (found == nullptr) return Fail(kInvalidHandle);
    Poll(*found, WNOHANG);
    *code = found->ended ? found->exitCode : uint32_t{STILL_ACTIVE};
    return 1;
}

void* OpenProcess(uint32_t, int32_t, uint32_t processNumber) {
    const auto number = static_cast<pid_t>(processNumber);
    if (number <= 0 || (kill(number, 0) != 0 && errno != EPERM)) {
        Fail(kNotOffered);
        return nullptr;
    }
    return PlatformNewHandle(&kProcessKind, new Process{number, false, false, 0, 1});
}

uint32_t PlatformProcessNumber(void* handle) {
    const Process* process = FindProcess(handle);
    return process == nullptr ? 0 : static_cast<uint32_t>(process->number);
}

void Sleep(uint32_t milliseconds) {
    timespec left = {static_cast<time_t>(milliseconds / 1000),
                     static_cast<long>(milliseconds % 1000) * 1'000'000};
    while (nanosleep(&left, &left) != 0 && errno == EINTR) {
    }
}

int32_t GetVersionExA(OsVersionInfo* version) {
    if (version == nullptr || version->size != sizeof(OsVersionInfo)) return Fail(kNotOffered);
    *version = {sizeof(OsVersionInfo), 5, 0, 0, platformNumber, {}};
    return 1;
}

void ControlPrograms(ProgramRecorder newRecorder, void* context) {
    recorder = newRecorder;
    recorderContext = context;
}

void ControlPlatformNumber(uint32_t number) {
    platformNumber = number;
}
