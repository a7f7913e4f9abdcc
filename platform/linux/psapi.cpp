// The library "psapi": process numbers, and what a process's first module is called.

#include <algorithm>
#include <cstring>

#include "linux/handles.h"
#include "linux/proc.h"
#include "platform/processlist.h"

namespace vrplatform {

namespace {

// The program that was asked for last. A handle is never reused, so what was read for it stays
// valid.
struct Program {
    void* process;
    char name[kProgramNameSize];
};

Program program = {};

// The program itself, the only module that is listed.
void* const kProgramModule = reinterpret_cast<void*>(0x400000);

bool ReadProgram(void* process) {
    program.process = nullptr;
    const uint32_t number = PlatformProcessNumber(process);
    if (number == 0 || !ProgramOf(number, program.name)) return false;
    program.process = process;
    return true;
}

bool HasProgram(void* process) {
    const bool known = process == program.process && PlatformProcessNumber(process) != 0;
    return known || ReadProgram(process);
}

uint32_t CopyOut(const char* text, char* buffer, uint32_t size) {
    if (size == 0) return 0;
    const size_t length = strnlen(text, size - 1);
    std::memcpy(buffer, text, length);
    buffer[length] = '\0';
    return static_cast<uint32_t>(length);
}

const char* BaseName(const char* path) {
    const char* separator = std::strrchr(path, '\\');
    return separator == nullptr ? path : separator + 1;
}

}  // namespace

}  // namespace vrplatform

using namespace vrplatform;

PLATFORM_BEGIN

PLATFORM_API int32_t EnumProcesses(uint32_t* numbers, uint32_t bytes, uint32_t* stored) {
    NumberWalk all("/proc");
    const size_t room = bytes / sizeof *numbers;
    size_t count = 0;
    for (uint32_t number = 0; count < room && all.Next(number);) {
        if (!IsKernelThread(number)) numbers[count++] = number;
    }
    *stored = static_cast<uint32_t>(count * sizeof *numbers);
    return 1;
}

PLATFORM_API int32_t EnumProcessModules(void* process, void** modules, uint32_t bytes,
                                        uint32_t* needed) {
    if (!ReadProgram(process)) return 0;
    if (bytes >= sizeof *modules) *modules = kProgramModule;
    *needed = sizeof *modules;
    return 1;
}

PLATFORM_API uint32_t GetModuleFileNameExA(void* process, void*, char* name, uint32_t size) {
    return HasProgram(process) ? CopyOut(program.name, name, size) : 0;
}

PLATFORM_API uint32_t GetModuleBaseNameA(void* process, void*, char* name, uint32_t size) {
    return HasProgram(process) ? CopyOut(BaseName(program.name), name, size) : 0;
}

PLATFORM_END
