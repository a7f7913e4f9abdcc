// Streams are the C library's, over the numbered files: they read through the
// handle, and so keep its text mode.

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

#include "linux/files.h"
#include "platform/files.h"

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

bool IsMode(const std::string& mode) {
    return mode == "r" || mode == "w" || mode == "a" || mode == "r+" || mode == "w+" ||
           mode == "a+";
}

}  // namespace

PlatformStream* StreamAttach(int32_t handle, const char* mode) {
    OpenFile* file = FindFile(handle);
    if (file == nullptr || mode == nullptr) return nullptr;
    std::string hostMode = mode;
    std::erase(hostMode, 't');
    std::erase(hostMode, 'b');
    errno = EINVAL;
    if (!IsMode(hostMode)) return nullptr;

    void* cookie = reinterpret_cast<void*>(static_cast<intptr_t>(handle));
    std::FILE* stream = fopencookie(cookie, hostMode.c_str(), {Read, nullptr, Seek, Close});
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
