// The file layer: the platform's handles under a budget of how many are open, the current
// directory, and full paths. Reading, writing and streams are forwarded to the platform.

#define VR_MODULE "Files"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "core/vrmem.h"
#include "files/Os_file.h"
#include "platform/files.h"
#include "platform/paths.h"
#include "platform/streams.h"
#include "vr/files.h"
#include "vr/log.h"
#include "vr/settings.h"
#include "vr/text.h"

namespace {

constexpr int32_t kHandleAllowance = 245;
constexpr int32_t kDefaultLimit = 120;
constexpr int32_t kDirectorySize = 255;  // of the 256 bytes that a path buffer has

int32_t openLimit = 0;
int32_t openCount = 0;
char currentDirectory[kDirectorySize + 1];
bool currentDirectoryIsKnown = false;

void KeepBudget() {
    if (openCount >= openLimit) vr::RaiseCallbacks(kVrTooManyOpenFiles);
}

bool RefreshCurrentDirectory() {
    return CurrentDirectory(currentDirectory, kDirectorySize) != nullptr;
}

// After a failure, the reason is in errno.
bool Open(const char* path, int32_t flags, int32_t permission, int32_t* handle) {
    *handle = FileOpen(path, flags, kShareDenyNone, permission);
    return *handle != -1;
}

// The log's own calls must not hide the reason from the caller.
int32_t Failed(int32_t result, int32_t error) {
    errno = error;
    return result;
}

// Tries again after an open that failed because too many files are open. When this succeeds, errno
// still has the reason of the first failure.
bool OpenAgain(const char* path, int32_t flags, int32_t permission, int32_t* handle) {
    vr::RaiseCallbacks(kVrTooManyOpenFiles);
    errno = kErrorTooManyOpenFiles;
    const bool opened = Open(path, flags, permission, handle);
    const int32_t error = opened ? kErrorTooManyOpenFiles : errno;
    VrdbLogOutInt("@@@DOS OPEN Stat:", error);
    errno = error;
    return opened;
}

}  // namespace

int32_t files_init() {
    vr::StartPool();
    SetHandleCount(kHandleAllowance);
    openLimit = IniGetInt("Environment", "MaxOpenFiles", kDefaultLimit);
    return 1;
}

int32_t OsOpen(const char* path, int32_t flags, int32_t permission, int32_t* handle) {
    errno = 0;
    KeepBudget();
    const bool opened = Open(path, flags, permission, handle);
    const int32_t error = errno;
    VrdbLogOutChar("@@@DOS OPEN File", path);
    if (!opened && error != kErrorTooManyOpenFiles) return Failed(-1, error);
    if (!opened && !OpenAgain(path, flags, permission, handle)) return -2;
    ++openCount;
    VrdbLogOutInt("@@@DOS Open Handle:", *handle);
    return 0;
}

int32_t OsClose(int32_t handle) {
    FileClose(handle);
    if (openCount != 0) --openCount;
    return 1;
}

void OsFilesInc() {
    KeepBudget();
    ++openCount;
}

void OsFilesDec() {
    --openCount;
}

int32_t OsRead(int32_t handle, void* buffer, uint32_t count) {
    return FileRead(handle, buffer, count);
}

int32_t OsWrite(int32_t handle, const void* buffer, uint32_t count) {
    return FileWrite(handle, buffer, count);
}

int32_t OsFileLength(int32_t handle) {
    return FileLength(handle);
}

int32_t OsChsize(int32_t handle, int32_t size) {
    return FileChangeSize(handle, size);
}

int32_t OsLseek(int32_t handle, int32_t offset, int32_t origin) {
    return FileSeek(handle, offset, origin);
}

VrStream* OsFdopen(int32_t handle, const char* mode) {
    return StreamAttach(handle, mode);
}

int32_t OsFclose(VrStream* stream) {
    return StreamClose(stream);
}

char* OsFgets(char* buffer, int32_t size, VrStream* stream) {
    return StreamReadLine(buffer, size, stream);
}

VrString GetFullPath(VrString path) {
    char full[kDirectorySize + 1];
    const auto* text = vr::CharsOf(vr::OrNullString(path));
    if (*text == '\0' || ExpandPath(full, text, kDirectorySize) == nullptr) {
        return vr::NullString();
    }
    ToUpper(full);
    return StrToVrStr(full);
}

char* GetCwd(char* buffer, int32_t size) {
    if (!currentDirectoryIsKnown) currentDirectoryIsKnown = RefreshCurrentDirectory();
    if (!currentDirectoryIsKnown) return nullptr;
    const int32_t copied = std::clamp(size, int32_t{0}, kDirectorySize);
    std::memcpy(buffer, currentDirectory, static_cast<size_t>(copied));
    return buffer;
}

int32_t ChDir(const char* path) {
    const int32_t result = ChangeDirectory(path);
    if (result == 0) RefreshCurrentDirectory();
    return result;
}

int32_t WriteLockFile(VrWord, VrWord) {
    return 1;
}
