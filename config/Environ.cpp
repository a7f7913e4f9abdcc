// The product's identity: its name and release, the installation path and how the host was
// launched. It is worked out at the first call that needs it, usually while the settings are being
// loaded. The allocator is not up then, so the texts are in blocks of the platform.

#include "vr/environ.h"

#include <cstdio>
#include <cstring>

#include "core/Text.h"
#include "core/Util.h"
#include "platform/memory.h"
#include "platform/modules.h"
#include "platform/version.h"
#include "vr/settings.h"

namespace {

constexpr uint32_t kModulePathSize = 260;
constexpr size_t kIdentitySize = 256;
constexpr uint32_t kIdentityBlockSize = 260;
constexpr char kVersionStrings[] = "\\StringFileInfo\\040904b0";  // US English, Unicode
constexpr char kDefaultVrPath[] = "\\VRLINK";

[[maybe_unused]] const bool titlesBoxes = vr::SetProductRoutine(EnvironProduct);

bool isSetUp = false;
char* product = nullptr;
char* release = nullptr;
char* vrPath = nullptr;

struct Version {
    char name[kIdentitySize];
    char release[kIdentitySize];
};

void FreeIdentity() {
    char** const texts[] = {&product, &release, &vrPath};
    for (char** text : texts) {
        LocalFree(*text);
        *text = nullptr;
    }
}

// The first dot counts, even one in a directory's name.
int32_t LauncherOf(const char* path) {
    const char* dot = std::strchr(path, '.');
    if (dot == nullptr) return kVrLauncherOther;
    if (vr::BeginsWith(dot + 1, "exe", 3)) return kVrLauncherExe;
    return vr::BeginsWith(dot + 1, "dll", 3) ? kVrLauncherDll : kVrLauncherOther;
}

void QueryVersion(const void* resource, const char* name, char (&text)[kIdentitySize]) {
    char query[kIdentitySize];
    void* value = nullptr;
    std::snprintf(query, sizeof query, "%s\\%s", kVersionStrings, name);
    if (VerQueryValueA(resource, query, &value, nullptr) == 0) return;
    std::snprintf(text, sizeof text, "%s", static_cast<const char*>(value));
}

void ReadVersion(const char* modulePath, Version& version) {
    const uint32_t size = GetFileVersionInfoSizeA(modulePath, nullptr);
    void* handle = size == 0 ? nullptr : GlobalAlloc(GMEM_MOVEABLE, size);
    if (handle == nullptr) return;
    void* resource = GlobalLock(handle);
    if (GetFileVersionInfoA(modulePath, 0, size, resource) != 0) {
        QueryVersion(resource, "ProductName", version.name);
        QueryVersion(resource, "ProductVersion", version.release);
    }
    GlobalUnlock(handle);
    GlobalFree(handle);
}

char* BlockOf(const char* text, uint32_t size) {
    auto* block = static_cast<char*>(LocalAlloc(LMEM_FIXED, size));
    if (block != nullptr) std::memcpy(block, text, std::strlen(text) + 1);
    return block;
}

void SetUp() {
    if (isSetUp) return;
    isSetUp = true;
    VrExitAdd(FreeIdentity);
    EnvironInternationalDate();  // sets VRLDATE

    char modulePath[kModulePathSize] = "";
    GetModuleFileNameA(reinterpret_cast<void*>(GetVrlinkInstance()), modulePath, kModulePathSize);
    vr::SetLauncher(LauncherOf(modulePath));

    Version version = {};
    ReadVersion(modulePath, version);
    product = BlockOf(version.name, kIdentityBlockSize);
    release = BlockOf(version.release, kIdentityBlockSize);

    const char* path = DLLGetEnv("VRLPATH");
    if (path == nullptr || *path == '\0') path = kDefaultVrPath;
    vrPath = BlockOf(path, static_cast<uint32_t>(std::strlen(path)) + 1);
}

}  // namespace

const char* EnvironVrPath() {
    SetUp();
    return vrPath;
}

const char* EnvironProduct() {
    SetUp();
    return product;
}

const char* EnvironRelease() {
    SetUp();
    return release;
}

int32_t GetEnvironLauncher() {
    return vr::Launcher();
}
