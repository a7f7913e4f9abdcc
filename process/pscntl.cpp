// Process queries. Each makes a new list of the running processes, by one of two back ends
// that are loaded at their first use, and looks something up in it. The entry points of a
// back end are looked up each time, since a host can have unloaded it.

#define VR_MODULE "pscntl"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "core/Text.h"
#include "core/Util.h"
#include "platform/messagebox.h"
#include "platform/modules.h"
#include "platform/processlist.h"
#include "platform/programs.h"
#include "platform/text.h"
#include "process/Host.h"
#include "vr/dll.h"
#include "vr/memory.h"
#include "vr/process.h"
#include "vr/text.h"

namespace {

constexpr uint32_t kMostProcesses = 300;
constexpr uint32_t kTextSize = 260;
constexpr uint32_t kQueryAndRead = 0x410;
constexpr uint32_t kSnapshotOfAll = 15;
constexpr char kUnknown[] = "unknown";

struct ProcessRecord {
    uint32_t number;
    char name[kTextSize];
    char path[kTextSize];
};

constexpr uint32_t kListSize = kMostProcesses * sizeof(ProcessRecord);
static_assert(kListSize == 157200);

void Complain(const char* format, const char* library) {
    char text[512];
    std::snprintf(text, sizeof text, format, library);
    vr::ShowBox(text, MB_OK | MB_ICONEXCLAMATION);
}

template <typename Routine>
bool FindEntry(VrWord module, const char* name, Routine& routine) {
    routine = reinterpret_cast<Routine>(GetProcAddress(reinterpret_cast<void*>(module), name));
    return routine != nullptr;
}

void Fill(ProcessRecord& record, uint32_t number, const char* name, const char* path) {
    record.number = number;
    std::snprintf(record.name, sizeof record.name, "%s", name);
    std::snprintf(record.path, sizeof record.path, "%s", path);
    ToLower(record.name);
    ToLower(record.path);
}

// The entry points of "psapi".
struct Psapi {
    EnumProcessesRoutine enumProcesses;
    EnumProcessModulesRoutine enumProcessModules;
    GetModuleNameRoutine getModuleBaseName;
    GetModuleNameRoutine getModuleFileName;

    bool FindIn(VrWord module) {
        return FindEntry(module, "EnumProcesses", enumProcesses) &&
               FindEntry(module, "EnumProcessModules", enumProcessModules) &&
               FindEntry(module, "GetModuleBaseNameA", getModuleBaseName) &&
               FindEntry(module, "GetModuleFileNameExA", getModuleFileName);
    }
};

void ReadProcess(const Psapi& psapi, ProcessRecord& record, uint32_t number) {
    char name[kTextSize] = "";
    char path[kTextSize] = "";
    void* process = OpenProcess(kQueryAndRead, 0, number);
    void* module = nullptr;
    uint32_t needed = 0;
    if (process == nullptr ||
        psapi.enumProcessModules(process, &module, sizeof module, &needed) == 0) {
        Fill(record, number, kUnknown, kUnknown);
    } else {
        psapi.getModuleBaseName(process, module, name, sizeof name);
        psapi.getModuleFileName(process, module, path, sizeof path);
        Fill(record, number, name, path);
    }
    if (process != nullptr) CloseHandle(process);
}

// Fills a list and its count by a back end's module. False when the module lacks an entry point.
using ListRoutine = bool (*)(VrWord module, ProcessRecord* list, uint32_t& count);

bool ListByPsapi(VrWord module, ProcessRecord* list, uint32_t& count) {
    Psapi psapi = {};
    if (!psapi.FindIn(module)) return false;
    uint32_t numbers[kMostProcesses];
    uint32_t stored = 0;
    psapi.enumProcesses(numbers, sizeof numbers, &stored);
    count = std::min(stored / uint32_t{sizeof numbers[0]}, kMostProcesses);
    for (uint32_t i = 0; i < count; ++i)
        ReadProcess(psapi, list[i], numbers[i]);
    return true;
}

// The entry points of "kernel32".
struct Kernel {
    CreateSnapshotRoutine createSnapshot;
    WalkSnapshotRoutine processFirst;
    WalkSnapshotRoutine processNext;

    bool FindIn(VrWord module) {
        return FindEntry(module, "CreateToolhelp32Snapshot", createSnapshot) &&
               FindEntry(module, "Process32First", processFirst) &&
               FindEntry(module, "Process32Next", processNext);
    }
};

// Only the low byte of the walk's results counts.
bool Walked(int32_t result) {
    return (result & 0xFF) != 0;
}

bool ListByKernel(VrWord module, ProcessRecord* list, uint32_t& count) {
    Kernel kernel = {};
    if (!kernel.FindIn(module)) return false;
    ProcessEntry32 entry = {};
    entry.size = sizeof entry;
    void* snapshot = kernel.createSnapshot(kSnapshotOfAll, 0);
    for (bool more = Walked(kernel.processFirst(snapshot, &entry)); more && count < kMostProcesses;
         more = Walked(kernel.processNext(snapshot, &entry))) {
        Fill(list[count++], entry.processNumber, vr::NameInPath(entry.path), entry.path);
    }
    CloseHandle(snapshot);
    return true;
}

struct BackEnd {
    const char* library;
    ListRoutine list;
};

constexpr BackEnd kPsapi = {"psapi", ListByPsapi};
constexpr BackEnd kKernel = {"kernel32", ListByKernel};

const BackEnd* ready = nullptr;  // the one that was loaded first
VrWord readyModule = 0;

// The back end that was loaded first stays, whatever platform is reported later, unless a host
// has unloaded it. Returns 0 when no back end is there.
uint32_t FillList(ProcessRecord* list) {
    uint32_t count = 0;
    if (ready != nullptr && ready->list(readyModule, list, count)) return count;
    const BackEnd& wanted = vr::IsNewPlatform() ? kPsapi : kKernel;
    const VrWord module = DllLoad(wanted.library, nullptr);
    if (module == 0) {
        Complain("%s DLL Not Found.", wanted.library);
        return 0;
    }
    if (!wanted.list(module, list, count)) {
        DllUnload(wanted.library, 0);
        Complain("%s DLL could not be initialized.", wanted.library);
        return 0;
    }
    readyModule = module;
    ready = &wanted;
    return count;
}

ProcessRecord* NewList(uint32_t& count) {
    auto* list = static_cast<ProcessRecord*>(alloc_memory(kListSize));
    count = FillList(list);
    return list;
}

const ProcessRecord* Find(const ProcessRecord* list, uint32_t count, const char* name) {
    if (name == nullptr) return nullptr;
    const ProcessRecord* end = list + count;
    const ProcessRecord* found = std::find_if(list, end, [name](const ProcessRecord& record) {
        return lstrcmpiA(record.name, name) == 0;
    });
    return found == end ? nullptr : found;
}

}  // namespace

uint32_t VrFindProcess(const char* name) {
    uint32_t count = 0;
    ProcessRecord* list = NewList(count);
    const ProcessRecord* found = Find(list, count, name);
    const uint32_t number = found == nullptr ? 0 : found->number;
    free_mem(&list);
    return number;
}

char* VrProcessList() {
    auto* text = static_cast<char*>(alloc_memory(kListSize));
    uint32_t count = 0;
    ProcessRecord* list = NewList(count);
    char* out = text;
    for (uint32_t i = 0; i < count; ++i) {
        const size_t room = kListSize - static_cast<size_t>(out - text);
        out += std::snprintf(out, room, "%s%d,%s", i == 0 ? "" : ";",
                             static_cast<int32_t>(list[i].number), list[i].name);
    }
    free_mem(&list);
    return text;
}

char* VrProcessPath(const char* name) {
    auto* path = static_cast<char*>(alloc_memory(kTextSize));
    uint32_t count = 0;
    ProcessRecord* list = NewList(count);
    const ProcessRecord* found = Find(list, count, name);
    if (found != nullptr) std::memcpy(path, found->path, sizeof found->path);
    free_mem(&list);
    return path;
}
