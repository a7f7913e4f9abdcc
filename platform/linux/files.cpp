// Numbered files over descriptors. A handle is an index into a table of its own, so that numbers
// begin at 3 whatever the process inherited, and so that text mode and locks can be kept with it.

#include "linux/files.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "linux/failures.h"
#include "linux/insist.h"
#include "linux/open.h"
#include "linux/paths.h"
#include "linux/shortage.h"
#include "linux/textmode.h"
#include "linux/write.h"
#include "platform/control.h"
#include "platform/files.h"

namespace vrplatform {

namespace {

constexpr int32_t kFirstHandle = 3;

FailurePlan openFailures = {};
FailurePlan writeFailures = {};
uint32_t bytesKept = 0;  // of a write that is made to fail

// Never destroyed, since exit handlers may still close files.
std::vector<OpenFile>& Table() {
    static auto* table = new std::vector<OpenFile>;
    return *table;
}

size_t FreeIndex() {
    std::vector<OpenFile>& table = Table();
    const auto isFree = [](const OpenFile& file) { return !file.descriptor.IsOpen(); };
    const auto free = std::find_if(table.begin(), table.end(), isFree);
    const auto index = static_cast<size_t>(free - table.begin());
    if (free == table.end()) table.emplace_back();
    return index;
}

int Refuse(int error) {
    errno = error;
    return -1;
}

size_t AtMostInt32(uint32_t count) {
    return std::min(count, static_cast<uint32_t>(INT32_MAX));
}

ssize_t ReadBytes(int descriptor, void* buffer, size_t count) {
    return Insist([=] { return read(descriptor, buffer, count); });
}

int32_t PositionResult(off_t position) {
    if (position > INT32_MAX) return Refuse(EOVERFLOW);
    return static_cast<int32_t>(position);
}

}  // namespace

OpenFile* FindFile(int32_t handle) {
    std::vector<OpenFile>& table = Table();
    const size_t index =
        handle < kFirstHandle ? table.size() : static_cast<size_t>(handle - kFirstHandle);
    if (index < table.size() && table[index].descriptor.IsOpen()) return &table[index];
    errno = EBADF;
    return nullptr;
}

}  // namespace vrplatform

using namespace vrplatform;

int32_t SetHandleCount(int32_t count) {
    rlimit limit = {};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return 0;
    const auto wanted = std::min(static_cast<rlim_t>(std::max(count, 0)), limit.rlim_max);
    if (wanted > limit.rlim_cur) {
        limit.rlim_cur = wanted;
        setrlimit(RLIMIT_NOFILE, &limit);
    }
    return static_cast<int32_t>(std::min(limit.rlim_cur, static_cast<rlim_t>(INT32_MAX)));
}

int32_t FileOpen(const char* path, int32_t flags, int32_t sharing, int32_t permission) {
    if (openFailures.MustFail()) return Refuse(openFailures.error);
    if (sharing != kShareDenyNone) return Refuse(EINVAL);
    return UnlessShort(-1, [=] {
        const size_t index = FreeIndex();
        OpenFile opened;
        if (!OpenOnHost(path, flags, permission, opened)) {
            return errno == ENFILE ? Refuse(kErrorTooManyOpenFiles) : -1;
        }
        opened.text = (flags & kOpenBinary) == 0;
        Table()[index] = std::move(opened);
        return static_cast<int32_t>(index) + kFirstHandle;
    });
}

int32_t FileClose(int32_t handle) {
    OpenFile* file = FindFile(handle);
    if (file == nullptr) return -1;
    const int result = close(file->descriptor.Release());
    *file = {};
    return result;
}

int32_t FileRead(int32_t handle, void* buffer, uint32_t count) {
    OpenFile* file = FindFile(handle);
    if (file == nullptr) return -1;
    const size_t wanted = AtMostInt32(count);
    return static_cast<int32_t>(file->text ? ReadText(*file, static_cast<char*>(buffer), wanted)
                                           : ReadBytes(file->descriptor.Get(), buffer, wanted));
}

int32_t FileWrite(int32_t handle, const void* buffer, uint32_t count) {
    const OpenFile* file = FindFile(handle);
    if (file == nullptr) return -1;
    if (writeFailures.MustFail()) {
        if (bytesKept == 0) return Refuse(writeFailures.error);
        count = std::min(count, bytesKept);
    }
    const auto* bytes = static_cast<const char*>(buffer);
    const size_t wanted = AtMostInt32(count);
    return static_cast<int32_t>(
        file->text ? WriteText(*file, bytes, wanted)
                   : WriteHolding(file->descriptor.Get(), bytes, wanted, file->maySignal));
}

int32_t FileSeek(int32_t handle, int32_t offset, int32_t origin) {
    OpenFile* file = FindFile(handle);
    if (file == nullptr) return -1;
    if (origin < kSeekStart || origin > kSeekEnd) return Refuse(EINVAL);
    file->textEnded = false;
    // From the start of the file no offset exceeds 31 bits.
    const off_t before = origin == kSeekStart ? 0 : lseek(file->descriptor.Get(), 0, SEEK_CUR);
    const off_t reached = lseek(file->descriptor.Get(), offset, origin);
    if (reached > INT32_MAX) lseek(file->descriptor.Get(), before, SEEK_SET);
    return PositionResult(reached);
}

int32_t FileLength(int32_t handle) {
    const OpenFile* file = FindFile(handle);
    struct stat status;
    if (file == nullptr || fstat(file->descriptor.Get(), &status) != 0) return -1;
    return PositionResult(status.st_size);
}

int32_t FileChangeSize(int32_t handle, int32_t size) {
    const OpenFile* file = FindFile(handle);
    if (file == nullptr) return -1;
    const HeldSignals held;
    return Insist([=] { return ftruncate(file->descriptor.Get(), size); });
}

int32_t FileCommit(int32_t handle) {
    const OpenFile* file = FindFile(handle);
    return file == nullptr ? -1 : Insist([=] { return fsync(file->descriptor.Get()); });
}

void* FileSystemHandle(int32_t handle) {
    const intptr_t value = FindFile(handle) == nullptr ? -1 : handle;
    return reinterpret_cast<void*>(value);
}

int32_t FileStatus(const char* path) {
    char hostPath[kHostPathSize];
    struct stat status;
    return HostPath(path, hostPath) ? lstat(hostPath, &status) : -1;
}

int32_t FileIsDirectory(const char* path) {
    char hostPath[kHostPathSize];
    struct stat status;
    return HostPath(path, hostPath) && stat(hostPath, &status) == 0 && S_ISDIR(status.st_mode);
}

void ControlFailOpens(uint32_t nth, uint32_t count, int32_t error) {
    openFailures = {nth, count, error};
}

void ControlFailWrites(uint32_t nth, uint32_t count, uint32_t kept, int32_t error) {
    writeFailures = {nth, count, error};
    bytesKept = kept;
}
