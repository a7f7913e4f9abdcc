// Streams of the C library over the numbered files. They read through the handle, and so keep its
// text mode.

#include "platform/streams.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "linux/files.h"
#include "platform/files.h"

namespace vrplatform {

namespace {

int32_t HandleOf(void* cookie) {
    return static_cast<int32_t>(reinterpret_cast<intptr_t>(cookie));
}

ssize_t Read(void* cookie, char* buffer, size_t size) {
    return FileRead(HandleOf(cookie), buffer, size);
}

int Seek(void* cookie, off64_t* position, int origin) {
    if (*position < INT32_MIN || *position > INT32_MAX) return -1;
    const int32_t reached = FileSeek(HandleOf(cookie), static_cast<int32_t>(*position), origin);
    *position = reached;
    return reached == -1 ? -1 : 0;
}

int Close(void* cookie) {
    return FileClose(HandleOf(cookie));
}

std::FILE* FileOf(PlatformStream* stream) {
    return reinterpret_cast<std::FILE*>(stream);
}

constexpr size_t kHostModeSize = 3;

// The mode without the letters that only say how line ends are; false for a bad mode.
bool HostMode(const char* mode, char (&hostMode)[kHostModeSize]) {
    size_t length = 0;
    for (; *mode != '\0'; ++mode) {
        if (*mode == 't' || *mode == 'b') continue;
        if (length == kHostModeSize - 1) return false;
        hostMode[length++] = *mode;
    }
    hostMode[length] = '\0';
    return length != 0 && std::strchr("rwa", hostMode[0]) != nullptr &&
           (length == 1 || hostMode[1] == '+');
}

}  // namespace

}  // namespace vrplatform

using namespace vrplatform;

PlatformStream* StreamAttach(int32_t handle, const char* mode) {
    OpenFile* file = FindFile(handle);
    if (file == nullptr || mode == nullptr) return nullptr;
    char hostMode[kHostModeSize];
    errno = EINVAL;
    if (!HostMode(mode, hostMode)) return nullptr;

    void* cookie = reinterpret_cast<void*>(static_cast<intptr_t>(handle));
    std::FILE* stream = fopencookie(cookie, hostMode, {Read, nullptr, Seek, Close});
    if (stream == nullptr) return nullptr;
    if (std::strchr(mode, 't') != nullptr) file->text = true;
    if (std::strchr(mode, 'b') != nullptr) file->text = false;
    if (hostMode[0] == 'a') FileSeek(handle, 0, kSeekEnd);
    return reinterpret_cast<PlatformStream*>(stream);
}

char* StreamReadLine(char* buffer, int32_t size, PlatformStream* stream) {
    if (stream == nullptr || size < 1) return nullptr;
    return std::fgets(buffer, size, FileOf(stream));
}

int32_t StreamClose(PlatformStream* stream) {
    return stream == nullptr ? -1 : std::fclose(FileOf(stream));
}
