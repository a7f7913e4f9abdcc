// A process is a folder of /proc named by its number, its threads are folders in its
// `task`, and its program is what the link `exe` in there names.

#include "linux/proc.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "linux/insist.h"

namespace vrplatform {

namespace {

constexpr std::string_view kDeleted = " (deleted)";
constexpr uint32_t kExiting = 0x00000004;      // PF_EXITING of the kernel
constexpr uint32_t kOfTheKernel = 0x00200000;  // PF_KTHREAD
constexpr size_t kStatSize = 256;              // the fields wanted end well before
constexpr int kBlanksBeforeFlags = 7;          // after the name
constexpr size_t kNameSize = 64;

struct TaskState {
    char letter;
    uint32_t flags;
};

// The state stands after the name, which may hold anything.
bool ReadState(const char* statFile, TaskState& state) {
    const Descriptor file(open(statFile, O_RDONLY | O_CLOEXEC));
    char text[kStatSize];
    const ssize_t length = ReadAll(file.Get(), text, sizeof text - 1);
    text[std::max<ssize_t>(length, 0)] = '\0';
    const char* field = std::strrchr(text, ')');
    if (field == nullptr || std::strlen(field) < 3) return false;
    state.letter = field[2];
    for (int i = 0; i < kBlanksBeforeFlags && field != nullptr; ++i)
        field = std::strchr(field + 1, ' ');
    if (field == nullptr) return false;
    state.flags = static_cast<uint32_t>(std::strtoul(field, nullptr, 10));
    return true;
}

bool ReadStateOf(uint32_t process, TaskState& state) {
    char name[kNameSize];
    std::snprintf(name, sizeof name, "/proc/%u/stat", process);
    return ReadState(name, state);
}

}  // namespace

NumberWalk::NumberWalk(const char* folder)
    : folder_(open(folder, O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {}

bool NumberWalk::Next(uint32_t& number) {
    for (;;) {
        if (place_ == filled_) {
            const ssize_t length = getdents64(folder_.Get(), buffer_, sizeof buffer_);
            if (length <= 0) return false;
            place_ = 0;
            filled_ = static_cast<size_t>(length);
        }
        const auto* entry = reinterpret_cast<const dirent64*>(buffer_ + place_);
        place_ += entry->d_reclen;
        number = static_cast<uint32_t>(std::strtoul(entry->d_name, nullptr, 10));
        if (number != 0) return true;
    }
}

bool IsZombie(pid_t process) {
    TaskState state;
    return ReadStateOf(static_cast<uint32_t>(process), state) && state.letter == 'Z';
}

// A thread can be joined before it has left /proc; its flags show that it is ending.
bool IsEndingThread(uint32_t thread) {
    char name[kNameSize];
    TaskState state;
    std::snprintf(name, sizeof name, "/proc/self/task/%u/stat", thread);
    return !ReadState(name, state) || state.letter == 'Z' || (state.flags & kExiting) != 0;
}

// Threads of the kernel are in no process group, which is cheap to check. The group of a program
// that was started outside a container reads 0 too.
bool IsKernelThread(uint32_t number) {
    TaskState state;
    return getpgid(static_cast<pid_t>(number)) == 0 && ReadStateOf(number, state) &&
           (state.flags & kOfTheKernel) != 0;
}

void ProgramName(const char* hostPath, char (&name)[kProgramNameSize]) {
    if (DrivePath(hostPath, name, sizeof name)) return;
    const size_t length = strnlen(hostPath, sizeof name - 1);
    std::replace_copy(hostPath, hostPath + length, name, '/', '\\');
    name[length] = '\0';
}

bool ProgramOf(uint32_t process, char (&name)[kProgramNameSize]) {
    char link[kNameSize];
    char hostPath[kHostPathSize];
    std::snprintf(link, sizeof link, "/proc/%u/exe", process);
    const ssize_t length = readlink(link, hostPath, sizeof hostPath - 1);
    if (length <= 0) return false;
    std::string_view program(hostPath, static_cast<size_t>(length));
    if (program.ends_with(kDeleted)) program.remove_suffix(kDeleted.size());
    hostPath[program.size()] = '\0';
    ProgramName(hostPath, name);
    return true;
}

}  // namespace vrplatform
