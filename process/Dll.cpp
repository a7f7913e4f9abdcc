// The DLL table. A hash table from name to module serves all lookups and owns the
// modules; a handle table beside it only records, for reports, what was loaded from
// where.

#define VR_MODULE "Dll"

#include "process/Dll.h"

#include <cstdio>
#include <cstring>

#include "core/Text.h"
#include "platform/modules.h"
#include "process/Host.h"
#include "vr/dll.h"
#include "vr/environ.h"
#include "vr/hash.h"
#include "vr/table.h"

namespace {

constexpr int32_t kBuckets = 100;
constexpr size_t kNameSize = 256;
constexpr size_t kPathSize = 1024;

struct DllRecord {
    int32_t inUse;         // the mark
    char name[kNameSize];  // without a zero when it fills the field
    VrWord module;
};
static_assert(sizeof(DllRecord) == 264);

HashTable* modules = nullptr;  // by the name that the caller gave
int32_t report = -1;

// A library and the path under which it was found.
struct Loaded {
    VrWord module;
    char path[kPathSize];
};

void FreeModule(VrWord module, VrWord) {
    FreeLibrary(reinterpret_cast<void*>(module));
}

int32_t FormatLine(VrWord, VrWord firstSlot, VrWord, VrWord line, VrWord, VrWord buffer) {
    char* out = reinterpret_cast<char*>(buffer);
    if (line == 0) {
        std::snprintf(out, kVrTblLineSize, "Handle    DLL File Name");
        return 1;
    }
    const auto slot = static_cast<int32_t>(firstSlot + line - 1);
    if (slot < 0 || slot >= TblLength(report)) return 0;
    const auto* record = static_cast<const DllRecord*>(TblHndToPtr(report, slot));
    if (record == nullptr) {
        std::snprintf(out, kVrTblLineSize, "DLL slot not used");
        return 1;
    }
    std::snprintf(out, kVrTblLineSize, "%-8.8lx %-256.256s",
                  static_cast<unsigned long>(record->module), record->name);
    return 1;
}

bool IsRelative(const char* name) {
    return name[0] != '\\' && (name[0] == '\0' || name[1] != ':');
}

// False also for a path that is too long to be one.
bool LoadFrom(Loaded& loaded, int wanted) {
    if (!vr::Fits(wanted, sizeof loaded.path)) return false;
    loaded.module = reinterpret_cast<VrWord>(LoadLibraryA(loaded.path));
    return loaded.module != 0;
}

bool LoadFromHostDirectory(Loaded& loaded, const char* name) {
    char host[vr::kHostDirectorySize];
    if (!vr::HostDirectory(host)) return false;
    return LoadFrom(loaded, std::snprintf(loaded.path, sizeof loaded.path, "%s%s", host, name));
}

bool LoadFromBin(Loaded& loaded, const char* name, const char* basePath) {
    if (basePath == nullptr) basePath = EnvironVrPath();
    if (basePath == nullptr) return false;
    return LoadFrom(loaded, std::snprintf(loaded.path, sizeof loaded.path, "%s%c%s%c%s", basePath,
                                          '\\', "BIN", '\\', name));
}

bool LoadByName(Loaded& loaded, const char* name) {
    return LoadFrom(loaded, std::snprintf(loaded.path, sizeof loaded.path, "%s", name));
}

bool Search(Loaded& loaded, const char* name, const char* basePath) {
    if (IsRelative(name) &&
        (LoadFromHostDirectory(loaded, name) || LoadFromBin(loaded, name, basePath))) {
        return true;
    }
    return LoadByName(loaded, name);
}

void Record(const Loaded& loaded, const char* name) {
    const int32_t handle = TblAllocHnd(report);
    if (auto* record = static_cast<DllRecord*>(TblHndToPtr(report, handle))) {
        record->inUse = 1;
        record->module = loaded.module;
        std::memcpy(record->name, loaded.path, strnlen(loaded.path, sizeof record->name));
    }
    HashTableInstall(modules, name, loaded.module);
}

VrWord LoadNew(const char* name, const char* basePath) {
    Loaded loaded = {};
    if (!Search(loaded, name, basePath)) return 0;
    Record(loaded, name);
    return loaded.module;
}

// The code that a library runs when it is unloaded may unload others, which must not change the
// chains during the walk.
void FreeDllTable() {
    HashTable* table = modules;
    modules = nullptr;
    HashTableDestroy(table);
    TblDestroy(report);
    report = -1;
}

}  // namespace

void vr::StartDllTable(const UtilInitRecord&) {
    modules = HashTableCreate(kBuckets, FreeModule, 0, 1);
    report = tblCreate("DLL Table", sizeof(DllRecord), offsetof(DllRecord, inUse), FormatLine);
    VrExitAdd(FreeDllTable);
}

VrWord DllLoad(const char* name, const char* basePath) {
    if (name == nullptr) return 0;
    const VrWord known = HashTableLookup(modules, name);
    const uint32_t before = SetErrorMode(SEM_NOOPENFILEERRORBOX);
    const VrWord module = known != 0 ? known : LoadNew(name, basePath);
    SetErrorMode(before);
    return module;
}

void DllUnload(const char* name, VrWord module) {
    if (name != nullptr) HashTableRemove(modules, name, module);
}
