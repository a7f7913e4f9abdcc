// Numbered files over descriptors. A handle is an index into a table of its own, so
// that numbers begin at 3 whatever the process inherited, and so that text mode and
// locks have a place to be kept. The translation of line ends is done here, without
// a buffer: a handle's position is always the descriptor's.

#include "linux/files.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "linux/failures.h"
#include "linux/insist.h"
#include "linux/paths.h"
#include "platform/control.h"
#include "platform/files.h"

namespace {

constexpr int32_t kFirstHandle = 3;
constexpr int32_t kAccessBits = 3;
constexpr mode_t kAnyWrite = S_IWUSR | S_IWGRP | S_IWOTH;
constexpr mode_t kAnyRead = S_IRUSR | S_IRGRP | S_IROTH;
constexpr int kCreateAttempts = 16;
constexpr char kCtrlZ = 26;
constexpr size_t kChunkSize = 16384;
constexpr size_t kTemplateEnd = 6;

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
    const auto isFree = [](const OpenFile& file) { return file.descriptor == -1; };
    const auto free = std::find_if(table.begin(), table.end(), isFree);
    const auto index = static_cast<size_t>(free - table.begin());
    if (free == table.end()) table.emplace_back();
    return index;
}

int Refuse(int error) {
    errno = error;
    return -1;
}

bool Writes(int32_t flags) {
    return (flags & kAccessBits) != kOpenReadOnly;
}

// A file that is there. The permission bits bind everybody here, the superuser too,
// and are looked at before anything is cut. The open itself does not wait for the other
// end of a pipe; what is read and written later does.
int OpenExisting(const char* path, int32_t flags, int hostFlags) {
    const int descriptor = Insist([=] { return open(path, hostFlags | O_NONBLOCK); });
    if (descriptor == -1) return errno == EISDIR ? Refuse(EACCES) : -1;
    struct stat status;
    const bool usable = fstat(descriptor, &status) == 0 && !S_ISDIR(status.st_mode) &&
                        (!Writes(flags) || (status.st_mode & kAnyWrite) != 0) &&
                        (S_ISREG(status.st_mode) || fcntl(descriptor, F_SETFL, hostFlags) == 0);
    const bool cut = (flags & kOpenTruncate) != 0 && usable && S_ISREG(status.st_mode);
    if (!usable || (cut && Insist([=] { return ftruncate(descriptor, 0); }) != 0)) {
        close(descriptor);
        return Refuse(EACCES);
    }
    return descriptor;
}

// Another process may make or delete the file between two steps; a link that leads
// nowhere would look so for ever.
int OpenOrCreate(const char* path, int32_t flags, int hostFlags, mode_t mode) {
    const bool creates = (flags & kOpenCreate) != 0;
    const bool exclusive = creates && (flags & kOpenExclusive) != 0;
    for (int attempt = 0; attempt < kCreateAttempts; ++attempt) {
        if (!exclusive) {
            const int descriptor = OpenExisting(path, flags, hostFlags);
            if (descriptor != -1 || errno != ENOENT || !creates) return descriptor;
        }
        const int descriptor = open(path, hostFlags | O_CREAT | O_EXCL, mode);
        if (descriptor != -1 || errno != EEXIST || exclusive) return descriptor;
    }
    return Refuse(EACCES);
}

// Where a standard stream was closed its number is free, but a file there would get what
// the process writes to the stream.
int AboveStandardStreams(int descriptor) {
    if (descriptor == -1 || descriptor > STDERR_FILENO) return descriptor;
    const int above = fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    const int error = errno;
    close(descriptor);
    errno = error;
    return above;
}

int OpenOnHost(const char* path, int32_t flags, int32_t permission) {
    if ((flags & kAccessBits) == kAccessBits) return Refuse(EINVAL);
    char hostPath[kHostPathSize];
    if (!HostPath(path, hostPath)) return -1;
    const int append = (flags & kOpenAppend) != 0 ? O_APPEND : 0;
    const int hostFlags = (flags & kAccessBits) | append | O_CLOEXEC | O_NOCTTY;
    const mode_t mode = kAnyRead | ((permission & kPermissionWrite) != 0 ? kAnyWrite : 0);
    return AboveStandardStreams(OpenOrCreate(hostPath, flags, hostFlags, mode));
}

size_t AtMostInt32(uint32_t count) {
    return std::min(count, static_cast<uint32_t>(INT32_MAX));
}

ssize_t ReadRaw(int descriptor, void* buffer, size_t count) {
    return Insist([=] { return read(descriptor, buffer, count); });
}

// Whether the byte behind what was read is an LF, which is then taken.
bool TakeLineFeed(int descriptor) {
    char next = 0;
    const off_t position = lseek(descriptor, 0, SEEK_CUR);
    if (position < 0 || pread(descriptor, &next, 1, position) != 1 || next != '\n') return false;
    lseek(descriptor, 1, SEEK_CUR);
    return true;
}

char* Find(char* from, char* end, char wanted) {
    auto* found = static_cast<char*>(std::memchr(from, wanted, static_cast<size_t>(end - from)));
    return found == nullptr ? end : found;
}

// Takes the CR off each CR LF, in place and a line at a time.
ssize_t ReadText(OpenFile& file, char* buffer, size_t count) {
    if (file.textEnded) return 0;
    const ssize_t got = ReadRaw(file.descriptor, buffer, count);
    if (got <= 0) return got;
    char* end = Find(buffer, buffer + got, kCtrlZ);
    file.textEnded = end != buffer + got;
    char* out = buffer;
    for (char* in = buffer; in != end;) {
        char* lineEnd = Find(in, end, '\r');
        if (out != in) std::memmove(out, in, static_cast<size_t>(lineEnd - in));
        out += lineEnd - in;
        in = lineEnd;
        if (in == end) break;
        ++in;
        const bool last = in == end;
        const bool pair = last ? !file.textEnded && TakeLineFeed(file.descriptor) : *in == '\n';
        *out++ = pair ? '\n' : '\r';
        if (pair && !last) ++in;
    }
    return out - buffer;
}

size_t SizeOnDisk(char c) {
    return c == '\n' ? 2 : 1;
}

// Puts as much of the text as fits, with its CRs, into the chunk; returns how much.
size_t FillChunk(const char* text, size_t count, char (&chunk)[kChunkSize], size_t& filled) {
    size_t taken = 0;
    filled = 0;
    for (;;) {
        const void* lineEnd = std::memchr(text + taken, '\n', count - taken);
        const size_t line =
            lineEnd == nullptr
                ? count - taken
                : static_cast<size_t>(static_cast<const char*>(lineEnd) - (text + taken));
        const size_t fits = std::min(line, kChunkSize - filled);
        std::memcpy(chunk + filled, text + taken, fits);
        taken += fits;
        filled += fits;
        if (fits != line || lineEnd == nullptr || filled + 2 > kChunkSize) return taken;
        chunk[filled++] = '\r';
        chunk[filled++] = '\n';
        ++taken;
    }
}

// How many bytes of the text stand whole in the first `written` bytes on disk, which are
// counted down to what is left: 1 for the CR of a line end without its LF.
size_t BytesWithin(const char* text, size_t& written) {
    size_t bytes = 0;
    while (written != 0 && written >= SizeOnDisk(text[bytes]))
        written -= SizeOnDisk(text[bytes++]);
    return bytes;
}

// Takes the byte before the position off the file again, as far as it is one that can.
void TakeBack(int descriptor) {
    struct stat status;
    const off_t at = lseek(descriptor, -1, SEEK_CUR);
    if (at < 0 || fstat(descriptor, &status) != 0 || status.st_size != at + 1) return;
    [[maybe_unused]] const int cut = ftruncate(descriptor, at);
}

// Behind a write that was cut. Half a line end goes again: going on writes it whole.
size_t BytesKept(int descriptor, const char* text, size_t written) {
    const size_t bytes = BytesWithin(text, written);
    if (written != 0) TakeBack(descriptor);
    return bytes;
}

ssize_t WriteText(int descriptor, const char* text, size_t count) {
    char chunk[kChunkSize];
    size_t done = 0;
    while (done < count) {
        size_t filled = 0;
        const size_t taken = FillChunk(text + done, count - done, chunk, filled);
        const ssize_t written = WriteAll(descriptor, chunk, filled);
        if (written < 0) return done != 0 ? static_cast<ssize_t>(done) : -1;
        if (static_cast<size_t>(written) < filled) {
            return static_cast<ssize_t>(
                done + BytesKept(descriptor, text + done, static_cast<size_t>(written)));
        }
        done += taken;
    }
    return static_cast<ssize_t>(done);
}

// In full, or else the group alone, which many may share a file by.
bool GiveTo(const struct stat& other, const struct stat& own, const char* path) {
    const bool sameGroup = own.st_gid == other.st_gid;
    if (own.st_uid == other.st_uid && sameGroup) return true;
    return chown(path, other.st_uid, other.st_gid) == 0 || sameGroup ||
           chown(path, own.st_uid, other.st_gid) == 0;
}

// Gives a file the owner, the group and the permissions of another. What cannot be given to
// the group is kept from it and from others.
bool TakeOver(const char* path, const char* from) {
    struct stat own;
    struct stat other;
    if (stat(path, &own) != 0 || stat(from, &other) != 0) return false;
    if (!S_ISREG(other.st_mode)) return Refuse(EACCES) == 0;
    mode_t mode = other.st_mode & (S_IRWXU | S_IRWXG | S_IRWXO);
    if (!GiveTo(other, own, path)) mode &= S_IRWXU;
    return (own.st_mode & ~mode_t{S_IFMT}) == mode || chmod(path, mode) == 0;
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
    if (index < table.size() && table[index].descriptor != -1) return &table[index];
    errno = EBADF;
    return nullptr;
}

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
    const int descriptor = OpenOnHost(path, flags, permission);
    if (descriptor == -1) return errno == ENFILE ? Refuse(kErrorTooManyOpenFiles) : -1;
    const size_t index = FreeIndex();
    Table()[index] = {descriptor, (flags & kOpenBinary) == 0, false, {}};
    return static_cast<int32_t>(index) + kFirstHandle;
}

int32_t FileClose(int32_t handle) {
    OpenFile* file = FindFile(handle);
    if (file == nullptr) return -1;
    const int result = close(file->descriptor);
    *file = {};
    return result;
}

int32_t FileRead(int32_t handle, void* buffer, uint32_t count) {
    OpenFile* file = FindFile(handle);
    if (file == nullptr) return -1;
    const size_t wanted = AtMostInt32(count);
    return static_cast<int32_t>(file->text ? ReadText(*file, static_cast<char*>(buffer), wanted)
                                           : ReadRaw(file->descriptor, buffer, wanted));
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
    return static_cast<int32_t>(file->text ? WriteText(file->descriptor, bytes, wanted)
                                           : WriteAll(file->descriptor, bytes, wanted));
}

int32_t FileSeek(int32_t handle, int32_t offset, int32_t origin) {
    OpenFile* file = FindFile(handle);
    if (file == nullptr) return -1;
    if (origin < kSeekStart || origin > kSeekEnd) return Refuse(EINVAL);
    file->textEnded = false;
    const off_t before = lseek(file->descriptor, 0, SEEK_CUR);
    const off_t reached = lseek(file->descriptor, offset, origin);
    if (reached > INT32_MAX) lseek(file->descriptor, before, SEEK_SET);
    return PositionResult(reached);
}

int32_t FileLength(int32_t handle) {
    const OpenFile* file = FindFile(handle);
    struct stat status;
    if (file == nullptr || fstat(file->descriptor, &status) != 0) return -1;
    return PositionResult(status.st_size);
}

int32_t FileChangeSize(int32_t handle, int32_t size) {
    const OpenFile* file = FindFile(handle);
    return file == nullptr ? -1 : Insist([=] { return ftruncate(file->descriptor, size); });
}

int32_t FileCommit(int32_t handle) {
    const OpenFile* file = FindFile(handle);
    return file == nullptr ? -1 : Insist([=] { return fsync(file->descriptor); });
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

int32_t FileDelete(const char* path) {
    char hostPath[kHostPathSize];
    return HostPath(path, hostPath) ? unlink(hostPath) : -1;
}

int32_t FileReplace(const char* from, const char* to) {
    char hostFrom[kHostPathSize];
    char hostTo[kHostPathSize];
    char target[kHostPathSize];
    if (!HostPath(from, hostFrom) || !HostPath(to, hostTo)) return -1;
    if (realpath(hostTo, target) == nullptr) return std::rename(hostFrom, hostTo);
    return TakeOver(hostFrom, target) ? std::rename(hostFrom, target) : -1;
}

char* UniqueName(char* path) {
    const size_t length = path == nullptr ? 0 : std::strlen(path);
    errno = EINVAL;
    if (length < kTemplateEnd) return nullptr;
    char* place = path + length - kTemplateEnd;
    if (std::strcmp(place, "XXXXXX") != 0) return nullptr;
    const unsigned digits = static_cast<unsigned>(getpid()) % 100000;
    for (char letter = 'a'; letter <= 'z'; ++letter) {
        std::snprintf(place, kTemplateEnd + 1, "%c%05u", letter, digits);
        if (FileStatus(path) != 0 && errno == kErrorNoSuchFile) return path;
    }
    return nullptr;
}

void ControlFailOpens(uint32_t nth, uint32_t count, int32_t error) {
    openFailures = {nth, count, error};
}

void ControlFailWrites(uint32_t nth, uint32_t count, uint32_t kept, int32_t error) {
    writeFailures = {nth, count, error};
    bytesKept = kept;
}
