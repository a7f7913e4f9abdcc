// The process environment, which is the C library's own.

#include "platform/environment.h"

#include <cstdlib>
#include <cstring>

#include "linux/variables.h"

namespace vrplatform {

namespace {

constexpr char kDefaultWindowsDirectory[] = "C:\\WINDOWS";

// How every service here fills a caller's buffer with a text.
uint32_t CopyOut(const char* text, char* buffer, uint32_t size) {
    const auto length = static_cast<uint32_t>(std::strlen(text));
    if (length >= size) return length + 1;
    std::memcpy(buffer, text, length + 1);
    return length;
}

}  // namespace

}  // namespace vrplatform

using namespace vrplatform;

uint32_t GetEnvironmentVariableA(const char* name, char* buffer, uint32_t size) {
    const char* value = name == nullptr ? nullptr : std::getenv(name);
    return value == nullptr ? 0 : CopyOut(value, buffer, size);
}

int32_t SetEnvironmentVariableA(const char* name, const char* value) {
    if (name == nullptr) return 0;
    const int result = value == nullptr ? unsetenv(name) : SetVariable(name, value);
    return result == 0 ? 1 : 0;
}

uint32_t GetWindowsDirectoryA(char* buffer, uint32_t size) {
    const char* directory = std::getenv("VRPLATFORM_WINDOWS_DIR");
    if (directory == nullptr || *directory == '\0') directory = kDefaultWindowsDirectory;
    return CopyOut(directory, buffer, size);
}
