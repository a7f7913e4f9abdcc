// Loading the settings file, and copying its ENVIRONMENT section into the process
// environment. All this runs before the allocator is up. The loader of the
// environment has rules of its own, more lenient than those of the key search: it
// reads indented lines, and from the first letter on.

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "config/Ini.h"
#include "core/Text.h"
#include "platform/environment.h"
#include "platform/files.h"
#include "platform/memory.h"
#include "platform/messagebox.h"
#include "platform/paths.h"
#include "platform/text.h"

char ini_path[kVrIniPathSize];
char* ini_buf = nullptr;

namespace {

constexpr char kFileName[] = "\\VRLINK.INI";
constexpr size_t kLineSize = 256;
constexpr int32_t kReadText = kOpenText;
constexpr int32_t kLargestFile = 64 << 20;  // bytes on disk
constexpr char kNameBytes[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789;";
constexpr char kSeparators[] = " \t=";

void FreeText() {
    LocalFree(ini_buf);
    ini_buf = nullptr;
}

// A file that is too large counts as none.
int32_t OpenCandidate() {
    const int32_t handle = FileOpen(ini_path, kReadText, kShareDenyNone, 0);
    if (handle == -1) return -1;
    const int32_t length = FileLength(handle);
    if (length >= 0 && length <= kLargestFile) return handle;
    FileClose(handle);
    return -1;
}

int32_t OpenGiven(const char* path) {
    std::snprintf(ini_path, sizeof ini_path, "%s", path);
    return OpenCandidate();
}

// The directory is in ini_path already.
int32_t OpenInDirectory() {
    const size_t length = std::strlen(ini_path);
    if (length + sizeof kFileName > sizeof ini_path) return -1;
    std::memcpy(ini_path + length, kFileName, sizeof kFileName);
    return OpenCandidate();
}

int32_t OpenInCurrentDirectory() {
    return CurrentDirectory(ini_path, sizeof ini_path) == nullptr ? -1 : OpenInDirectory();
}

int32_t OpenInWindowsDirectory() {
    return GetWindowsDirectoryA(ini_path, sizeof ini_path) < sizeof ini_path ? OpenInDirectory()
                                                                             : -1;
}

int32_t OpenSettings(const char* path) {
    int32_t handle = path == nullptr ? -1 : OpenGiven(path);
    if (handle == -1) handle = OpenInCurrentDirectory();
    if (handle == -1) handle = OpenInWindowsDirectory();
    return handle;
}

// Reads the file into ini_buf. False for an empty file.
bool ReadText(int32_t handle) {
    const int32_t length = FileSeek(handle, 0, kSeekEnd);
    if (length < 0) return false;
    FileSeek(handle, 0, kSeekStart);
    ini_buf = static_cast<char*>(LocalAlloc(LMEM_FIXED, static_cast<uint32_t>(length) + 1));
    VrExitAdd(FreeText);
    if (ini_buf == nullptr) return false;
    const int32_t got = FileRead(handle, ini_buf, static_cast<uint32_t>(length));
    ini_buf[got > 0 ? got : 0] = '\0';
    return got > 0;
}

void SetVariable(const char* name, const char* value) {
    if (SetEnvironmentVariableA(name, value) != 0) return;
    char text[kFormattedTextSize];
    wsprintfA(text, "Environment error !\nCannot set '%80.80s'", name);
    MessageBoxA(nullptr, text, "Warning", MB_OK);
    std::exit(1);
}

// The name is letters, digits and semicolons, then come blanks and equals signs, and
// the rest is the value; a name that ends in any other way has an empty value.
void SetVariableOfLine(char* line) {
    const size_t nameLength = std::strspn(line, kNameBytes);
    char* rest = line + nameLength;
    const size_t separators = std::strspn(rest, kSeparators);
    char* value = separators == 0 ? rest + std::strlen(rest) : rest + separators;
    size_t valueLength = std::strlen(value);
    while (valueLength != 0 && vr::IsSpace(value[valueLength - 1]))
        --valueLength;
    value[valueLength] = '\0';
    *rest = '\0';
    SetVariable(line, value);
}

// The next letter; null where a [ or the end of the text comes first.
const char* PassToLetter(const char* p) {
    while (*p != '\0' && *p != '[' && !vr::IsLetter(*p))
        ++p;
    return vr::IsLetter(*p) ? p : nullptr;
}

// Takes the line at `p`, or its first part, and returns what follows.
const char* TakeLine(const char* p) {
    char line[kLineSize];
    size_t length = strnlen(p, sizeof line - 1);
    if (const void* lineEnd = std::memchr(p, '\n', length)) {
        length = static_cast<size_t>(static_cast<const char*>(lineEnd) - p);
    }
    std::memcpy(line, p, length);
    line[length] = '\0';
    SetVariableOfLine(line);
    return p + length;
}

void LoadEnvironment() {
    const char* p = vr::FindSection("ENVIRONMENT");
    while (p != nullptr && *p != '\0' && *p != '[') {
        if (*p == '\n') {
            ++p;
        } else if (*p == ';') {
            p += std::strcspn(p, "\n");
        } else {
            p = PassToLetter(p);
            if (p != nullptr) p = TakeLine(p);
        }
    }
}

}  // namespace

void vr::StartSettings(const UtilInitRecord& record) {
    const int32_t handle = OpenSettings(record.IniPath);
    if (handle == -1) return;
    if (ReadText(handle)) {
        LoadEnvironment();
        LoadRegistryEnvironment();
    }
    FileClose(handle);
}
