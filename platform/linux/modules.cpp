// Loaded modules, over the dynamic linker. A handle is looked up in the linker's list of loaded
// objects, since dlinfo and dlclose would trust any number that they are given.

#include "platform/modules.h"

#include <dlfcn.h>
#include <link.h>
#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "linux/paths.h"
#include "linux/proc.h"
#include "platform/text.h"

namespace vrplatform {

namespace {

uint32_t errorMode = 0;

bool IsLoadedHandle(const void* module) {
    const link_map* object = _r_debug.r_map;
    while (object != nullptr && object != module)
        object = object->l_next;
    return object != nullptr;
}

// The linker knows the executable by an empty name.
bool ModulePath(void* module, char (&path)[kHostPathSize]) {
    const char* name = nullptr;
    Dl_info info;
    if (module == nullptr) return ExecutablePath(path);
    if (IsLoadedHandle(module)) {
        name = static_cast<const link_map*>(module)->l_name;
    } else if (dladdr(module, &info) != 0) {
        name = info.dli_fname;
    }
    if (name == nullptr) return false;
    if (*name == '\0') return ExecutablePath(path);
    return realpath(name, path) != nullptr;
}

// The folder that this library was loaded from, with a separator at its end. The address of an
// object of this library is looked up, since a host's address of a service may be that of a stub;
// and it is done while the library is being loaded, since a name relative to the current directory
// means nothing later.
char ownFolder[kHostPathSize];

__attribute__((constructor)) void FindOwnFolder() {
    Dl_info info = {};
    if (dladdr(ownFolder, &info) == 0 || realpath(info.dli_fname, ownFolder) == nullptr)
        ownFolder[0] = '\0';
    char* separator = std::strrchr(ownFolder, '/');
    if (separator != nullptr) separator[1] = '\0';
}

// A platform name, X or X.DLL, may stand for the host's X.so or libX.so.
struct LibraryName {
    const char* whole;
    const char* stem;
    int directoryLength;
    int stemLength;
};

LibraryName SplitName(const char* name) {
    const char* stem = name;
    while (const char* separator = std::strpbrk(stem, "\\/:"))
        stem = separator + 1;
    const char* dot = std::strrchr(stem, '.');
    const bool hasExtension = dot != nullptr && lstrcmpiA(dot, ".dll") == 0;
    const size_t stemLength = hasExtension ? static_cast<size_t>(dot - stem) : std::strlen(stem);
    return {name, stem, static_cast<int>(stem - name), static_cast<int>(stemLength)};
}

// The linker would open anything before it refuses it, and opening a pipe waits for the other side.
void* LoadPath(const char* path) {
    struct stat status;
    if (stat(path, &status) != 0 || !S_ISREG(status.st_mode)) return nullptr;
    return dlopen(path, RTLD_NOW);
}

// The platform's own come first, from a folder of theirs, and then what stands beside it.
void* LoadBare(const char* name) {
    char path[2 * kHostPathSize];
    for (const char* folder : {"vrplatform/", ""}) {
        std::snprintf(path, sizeof path, "%s%s%s", ownFolder, folder, name);
        if (void* module = LoadPath(path)) return module;
    }
    return dlopen(name, RTLD_NOW);
}

void* LoadFile(const char* name) {
    char path[kHostPathSize];
    if (std::strpbrk(name, "\\/:") == nullptr) return LoadBare(name);
    return HostPath(name, path) ? LoadPath(path) : nullptr;
}

void* LoadBeside(const LibraryName& name, const char* prefix) {
    char path[kHostPathSize];
    const int length = std::snprintf(path, sizeof path, "%.*s%s%.*s.so", name.directoryLength,
                                     name.whole, prefix, name.stemLength, name.stem);
    return length < static_cast<int>(sizeof path) ? LoadFile(path) : nullptr;
}

}  // namespace

}  // namespace vrplatform

using namespace vrplatform;

uint32_t GetModuleFileNameA(void* module, char* buffer, uint32_t size) {
    char path[kHostPathSize];
    char name[kProgramNameSize];
    if (size == 0 || !ModulePath(module, path)) return 0;
    ProgramName(path, name);
    const size_t length = strnlen(name, size - 1);
    std::memcpy(buffer, name, length);
    buffer[length] = '\0';
    return static_cast<uint32_t>(length);
}

void* LoadLibraryA(const char* name) {
    if (name == nullptr || *name == '\0' || strnlen(name, kHostPathSize) == kHostPathSize)
        return nullptr;
    const LibraryName split = SplitName(name);
    if (void* module = LoadFile(name)) return module;
    if (void* module = LoadBeside(split, "")) return module;
    return LoadBeside(split, "lib");
}

int32_t FreeLibrary(void* module) {
    return module != nullptr && IsLoadedHandle(module) && dlclose(module) == 0 ? 1 : 0;
}

void* GetProcAddress(void* module, const char* name) {
    return module != nullptr && IsLoadedHandle(module) ? dlsym(module, name) : nullptr;
}

uint32_t SetErrorMode(uint32_t mode) {
    const uint32_t before = errorMode;
    errorMode = mode;
    return before;
}
