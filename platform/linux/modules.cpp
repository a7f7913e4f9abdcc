// Loaded modules, over the dynamic linker. The linker's own list of loaded
// objects tells a true handle from a stray number: dlinfo and dlclose would
// trust whatever they are given.

#include <dlfcn.h>
#include <link.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "linux/paths.h"
#include "platform/process.h"
#include "platform/text.h"

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

// A name of the platform's kind, X or X.DLL, may be that of the host's X.so or libX.so.
std::vector<std::string> FileNamesOf(const std::string& name) {
    const size_t base = name.find_last_of("\\/:") + 1;  // 0 when there is none
    std::string stem = name.substr(base);
    const size_t dot = stem.find_last_of('.');
    if (dot != std::string::npos && lstrcmpiA(stem.c_str() + dot, ".dll") == 0) stem.resize(dot);
    const std::string directory = name.substr(0, base);
    return {name, directory + stem + ".so", directory + "lib" + stem + ".so"};
}

// The folder that this library was loaded from.
std::string OwnFolder() {
    Dl_info info = {};
    if (dladdr(reinterpret_cast<void*>(LoadLibraryA), &info) == 0) return "";
    const std::string path = info.dli_fname;
    return path.substr(0, path.find_last_of('/') + 1);
}

void* LoadFile(const std::string& name) {
    char path[kHostPathSize];
    const bool bare = name.find_first_of("\\/:") == std::string::npos;
    if (bare) {
        void* module = dlopen((OwnFolder() + name).c_str(), RTLD_NOW);
        return module != nullptr ? module : dlopen(name.c_str(), RTLD_NOW);
    }
    return HostPath(name.c_str(), path) ? dlopen(path, RTLD_NOW) : nullptr;
}

}  // namespace

uint32_t GetModuleFileNameA(void* module, char* buffer, uint32_t size) {
    char path[kHostPathSize];
    char drivePath[kHostPathSize];
    if (size == 0 || !ModulePath(module, path)) return 0;
    if (!DrivePath(path, drivePath, sizeof drivePath)) return 0;
    const size_t length = strnlen(drivePath, size - 1);
    std::memcpy(buffer, drivePath, length);
    buffer[length] = '\0';
    return static_cast<uint32_t>(length);
}

void* LoadLibraryA(const char* name) {
    if (name == nullptr || *name == '\0') return nullptr;
    for (const std::string& candidate : FileNamesOf(name)) {
        if (void* module = LoadFile(candidate)) return module;
    }
    return nullptr;
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
