// The library "psapi": process numbers, and what a process's first module is called.

#include <algorithm>
#include <cstring>
#include <string>

#include "linux/handles.h"
#include "linux/proc.h"
#include "platform/processlist.h"

namespace {

uint32_t CopyOut(const std::string& text, char* buffer, uint32_t size) {
    if (size == 0) return 0;
    const size_t length = std::min(text.size(), size_t{size} - 1);
    std::memcpy(buffer, text.data(), length);
    buffer[length] = '\0';
    return static_cast<uint32_t>(length);
}

// The program itself, the only module that is told of.
void* const kProgramModule = reinterpret_cast<void*>(0x400000);

}  // namespace

PLATFORM_BEGIN

PLATFORM_API int32_t EnumProcesses(uint32_t* numbers, uint32_t bytes, uint32_t* stored) {
    const std::vector<uint32_t> all = ProcessNumbers();
    const size_t count = std::min(all.size(), bytes / sizeof *numbers);
    std::copy_n(all.begin(), count, numbers);
    *stored = static_cast<uint32_t>(count * sizeof *numbers);
    return 1;
}

PLATFORM_API int32_t EnumProcessModules(void* process, void** modules, uint32_t bytes,
                                        uint32_t* needed) {
    std::string path;
    if (!ProgramPath(PlatformProcessNumber(process), path)) return 0;
    if (bytes >= sizeof *modules) *modules = kProgramModule;
    *needed = sizeof *modules;
    return 1;
}

PLATFORM_API uint32_t GetModuleFileNameExA(void* process, void*, char* name, uint32_t size) {
    std::string path;
    if (!ProgramPath(PlatformProcessNumber(process), path)) return 0;
    return CopyOut(path, name, size);
}

PLATFORM_API uint32_t GetModuleBaseNameA(void* process, void*, char* name, uint32_t size) {
    std::string path;
    if (!ProgramPath(PlatformProcessNumber(process), path)) return 0;
    return CopyOut(path.substr(path.find_last_of('\\') + 1), name, size);
}

PLATFORM_END
