// Programs are spawned with nothing of ours but the standard streams. A process object is shared by
// its handles; when the last of them is closed before the process has ended, the reaper waits for
// the end, so that no zombie stays. All memory is taken before a program starts: nothing can fail
// once it runs.

#include "platform/programs.h"

#include <poll.h>
#include <pthread.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <ctime>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "linux/commandline.h"
#include "linux/handles.h"
#include "linux/insist.h"
#include "linux/owned.h"
#include "linux/proc.h"
#include "linux/reaper.h"
#include "linux/shortage.h"
#include "platform/control.h"

static_assert(sizeof(StartupInfo) == 68);
static_assert(sizeof(OsVersionInfo) == 148);

namespace vrplatform {

namespace {

constexpr uint32_t kAccessDenied = 5;
constexpr uint32_t kInvalidHandle = 6;
constexpr uint32_t kNoMemory = 8;
constexpr uint32_t kNotOffered = 87;
constexpr uint32_t kNotAProgram = 193;
constexpr int kKilledBase = 128;
constexpr int32_t kWindowModeNotSet = -1;
constexpr long kPauseNanoseconds = 2'000'000;
constexpr uint32_t kDefaultPlatformNumber = 2;

struct Process {
    pid_t number;
    std::unique_ptr<Child> child;  // null when this process need not wait for it
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
    if (process->child != nullptr && !process->ended) {
        process->child->number = process->number;
        ReapInBackground(std::move(process->child));
    }
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
    if (process.child == nullptr) {
        process.ended =
            (kill(process.number, 0) != 0 && errno == ESRCH) || IsZombie(process.number);
        return;
    }
    int status = 0;
    const pid_t result = Insist([&] { return waitpid(process.number, &status, options); });
    if (result == process.number) NoteEnd(process, status);
    // Somebody else has waited for it, so how it ended is unknown.
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

// Only the standard streams, none of the signals that the host blocks or ignores.
struct SpawnSettings {
    SpawnSettings() {
        sigset_t none;
        sigset_t all;
        sigemptyset(&none);
        sigfillset(&all);
        posix_spawn_file_actions_init(&actions);
        error = posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1);
        posix_spawnattr_init(&attributes);
        posix_spawnattr_setsigmask(&attributes, &none);
        posix_spawnattr_setsigdefault(&attributes, &all);
        posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    }
    ~SpawnSettings() {
        posix_spawn_file_actions_destroy(&actions);
        posix_spawnattr_destroy(&attributes);
    }
    SpawnSettings(const SpawnSettings&) = delete;
    SpawnSettings& operator=(const SpawnSettings&) = delete;

    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;
    int error;
};

int Spawn(const char* program, char* const* words, pid_t& number) {
    const SpawnSettings settings;
    if (settings.error != 0) return settings.error;
    return posix_spawn(&number, program, &settings.actions, &settings.attributes, words, environ);
}

std::vector<char*> ArgumentsOf(HostCommand& command) {
    std::vector<char*> arguments;
    for (std::string& word : command.words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);
    return arguments;
}

void CloseBoth(const ProcessInformation& information) {
    CloseHandle(information.process);
    CloseHandle(information.thread);
}

// Both handles of a process that is yet to start, and counts as ended until then. Null when
// memory is short.
Process* NewProcess(ProcessInformation& information) {
    auto* process = new (std::nothrow) Process{0, nullptr, true, 0, 2};
    if (process == nullptr) return nullptr;
    information = {PlatformNewHandle(&kProcessKind, process),
                   PlatformNewHandle(&kThreadKind, process), 0, 0};
    if (information.process != nullptr && information.thread != nullptr) return process;
    CloseBoth(information);
    return nullptr;
}

int32_t StartForReal(const char* commandLine, ProcessInformation* information) {
    HostCommand command;
    const int refused = ParseCommandLine(commandLine, command);
    if (refused != 0) return Fail(static_cast<uint32_t>(refused));
    const std::vector<char*> arguments = ArgumentsOf(command);
    auto child = std::make_unique<Child>();
    ProcessInformation handles;
    Process* process = NewProcess(handles);
    if (process == nullptr) return Fail(kNoMemory);
    const int error = Spawn(command.program.c_str(), arguments.data(), process->number);
    if (error != 0) {
        CloseBoth(handles);
        return Fail(ErrorOfSpawn(error));
    }
    process->child = std::move(child);
    process->ended = false;
    handles.processNumber = handles.threadNumber = static_cast<uint32_t>(process->number);
    *information = handles;
    return 1;
}

int32_t StartUnlessShort(const char* commandLine, ProcessInformation* information) {
    constexpr int32_t kShort = -1;
    const int32_t started =
        UnlessShort(kShort, [=] { return StartForReal(commandLine, information); });
    return started == kShort ? Fail(kNoMemory) : started;
}

// Reports a program as having run.
int32_t GiveEnded(uint32_t exitCode, ProcessInformation* information) {
    Process* process = NewProcess(*information);
    if (process == nullptr) return Fail(kNoMemory);
    process->exitCode = exitCode;
    return 1;
}

// Waits until the process has ended, for at most so many milliseconds. It may return earlier: a
// signal ends the wait, and without a free descriptor the process is polled. True when the process
// is known to have ended.
bool AwaitEnd(pid_t number, int milliseconds) {
    const Descriptor process(static_cast<int>(syscall(SYS_pidfd_open, number, 0)));
    if (!process.IsOpen()) {
        const timespec pause = {0, kPauseNanoseconds};
        nanosleep(&pause, nullptr);
        return false;
    }
    pollfd request = {process.Get(), POLLIN, 0};
    return poll(&request, 1, milliseconds) > 0;
}

}  // namespace

}  // namespace vrplatform

using namespace vrplatform;

int32_t CreateProcessA(const char* application, char* commandLine, void* processSecurity,
                       void* threadSecurity, int32_t inherit, uint32_t flags, void* environment,
                       const char* directory, const StartupInfo* startup,
                       ProcessInformation* information) {
    const bool offered = application == nullptr && processSecurity == nullptr &&
                         threadSecurity == nullptr && inherit == 0 && flags == 0 &&
                         environment == nullptr && directory == nullptr;
    if (!offered || commandLine == nullptr) return Fail(kNotOffered);
    if (recorder == nullptr) return StartUnlessShort(commandLine, information);

    const bool windowModeSet = startup != nullptr && (startup->flags & STARTF_USESHOWWINDOW) != 0;
    uint32_t code = 0;
    switch (recorder(recorderContext, commandLine,
                     windowModeSet ? startup->showWindow : kWindowModeNotSet, &code)) {
        case kProgramRan:
            return GiveEnded(code, information);
        case kProgramFailed:
            return Fail(code);
        default:
            return StartUnlessShort(commandLine, information);
    }
}

uint32_t GetLastError() {
    return lastError;
}

int32_t WaitForSingleObject(void* process, int32_t limit) {
    Process* found = FindProcess(process);
    if (found == nullptr) {
        lastError = kInvalidHandle;
        return INFINITE;
    }
    if (limit == INFINITE && found->child != nullptr) Poll(*found, 0);
    using Clock = std::chrono::steady_clock;
    using std::chrono::milliseconds;
    const Clock::time_point end = Clock::now() + milliseconds(limit);
    for (Poll(*found, WNOHANG); !found->ended; Poll(*found, WNOHANG)) {
        const auto left = std::chrono::ceil<milliseconds>(end - Clock::now()).count();
        if (limit != INFINITE && left <= 0) return WAIT_TIMEOUT;
        const bool ended = AwaitEnd(found->number, limit == INFINITE ? -1 : static_cast<int>(left));
        if (ended && found->child == nullptr) found->ended = true;
    }
    return WAIT_OBJECT_0;
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
    auto* process = new (std::nothrow) Process{number, nullptr, false, 0, 1};
    void* handle = PlatformNewHandle(&kProcessKind, process);
    if (handle == nullptr) Fail(kNoMemory);
    return handle;
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
