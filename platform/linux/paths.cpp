// Paths in two steps: a text is first made a full drive path, by the current directory and without
// looking at the disk, and then found under its drive's root, name by name, where a name that is
// not there as spelled is looked for in any case. All of it happens in buffers of fixed size, so
// that files can be named when there is no memory.

#include "linux/paths.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "linux/spelling.h"
#include "platform/paths.h"

namespace vrplatform {

namespace {

constexpr size_t kDriveSize = 2;  // letter and colon
constexpr char kDefaultDrive = 'C';

using HostPathBuffer = char[kHostPathSize];

// A full path in parts.
struct FullPath {
    char drive;            // upper case
    size_t length;         // of the names
    HostPathBuffer names;  // each after a slash; empty for the drive's root
};

bool IsSeparator(char c) {
    return c == '\\' || c == '/';
}

bool Refuse(int error) {
    errno = error;
    return false;
}

char DriveOf(std::string_view path) {
    if (path.size() < kDriveSize || path[1] != ':') return '\0';
    const char letter = static_cast<char>(path[0] & ~0x20);
    return letter >= 'A' && letter <= 'Z' ? letter : '\0';
}

void DropSeparatorsAtEnd(HostPathBuffer& directory) {
    for (size_t end = std::strlen(directory); end != 0 && directory[end - 1] == '/'; --end)
        directory[end - 1] = '\0';
}

// The drive's root as its variable names it; null for a drive that has none.
const char* NamedRoot(char drive) {
    char variable[] = "VRPLATFORM_DRIVE_C";
    variable[sizeof variable - 2] = drive;
    const char* directory = std::getenv(variable);
    if (directory != nullptr && *directory == '/') return directory;
    return drive == kDefaultDrive ? "/" : nullptr;
}

// The host's directory of the drive's root, without links on the way to it and without a
// separator at its end; false for a drive that has none.
bool DriveRoot(char drive, HostPathBuffer& root) {
    const char* directory = NamedRoot(drive);
    if (directory == nullptr) return false;
    if (realpath(directory, root) == nullptr) {
        if (std::strlen(directory) >= sizeof root) return false;
        std::strcpy(root, directory);
    }
    DropSeparatorsAtEnd(root);
    return true;
}

bool IsBelow(std::string_view path, std::string_view directory) {
    return path.substr(0, directory.size()) == directory &&
           (path.size() == directory.size() || path[directory.size()] == '/');
}

bool AppendName(std::string_view name, FullPath& full) {
    if (full.length + 1 + name.size() >= sizeof full.names) return Refuse(ENAMETOOLONG);
    full.names[full.length++] = '/';
    std::memcpy(full.names + full.length, name.data(), name.size());
    full.length += name.size();
    return true;
}

void DropLastName(FullPath& full) {
    while (full.length != 0 && full.names[--full.length] != '/') {
    }
}

bool AppendNames(std::string_view text, FullPath& full) {
    while (!text.empty()) {
        const auto end = std::find_if(text.begin(), text.end(), IsSeparator);
        const std::string_view name(text.begin(), end);
        text.remove_prefix(std::min(name.size() + 1, text.size()));
        if (name == "..") {
            DropLastName(full);
        } else if (!name.empty() && name != "." && !AppendName(name, full)) {
            return false;
        }
    }
    return true;
}

// A path lies on the drive whose root is the nearest above it. A name that holds a backslash would
// be read as two names.
bool SplitHostPath(std::string_view hostPath, FullPath& full) {
    if (hostPath.find('\\') != std::string_view::npos) return false;
    size_t nearest = 0;
    full.drive = '\0';
    full.length = 0;
    for (char drive = 'A'; drive <= 'Z'; ++drive) {
        HostPathBuffer root;
        if (!DriveRoot(drive, root) || !IsBelow(hostPath, root)) continue;
        const size_t length = std::strlen(root);
        if (full.drive != '\0' && length <= nearest) continue;
        nearest = length;
        full.drive = drive;
    }
    return full.drive != '\0' && AppendNames(hostPath.substr(nearest), full);
}

bool SplitCurrentDirectory(FullPath& full) {
    HostPathBuffer directory;
    return getcwd(directory, sizeof directory) != nullptr && SplitHostPath(directory, full);
}

// Where the current directory lies on no drive, or is gone, only paths that do not depend on it can
// be named; a path from the root is then on drive C.
bool StartSplit(char drive, bool fromRoot, FullPath& full) {
    const bool isFull = drive != '\0' && fromRoot;
    if (isFull || !SplitCurrentDirectory(full)) {
        full.drive = kDefaultDrive;
        full.length = 0;
        if (drive == '\0' && !fromRoot) return false;
    }
    if (fromRoot || (drive != '\0' && drive != full.drive)) full.length = 0;
    if (drive != '\0') full.drive = drive;
    return true;
}

bool SplitPath(std::string_view path, FullPath& full) {
    const char drive = DriveOf(path);
    if (drive != '\0') path.remove_prefix(kDriveSize);
    const bool fromRoot = !path.empty() && IsSeparator(path.front());
    return StartSplit(drive, fromRoot, full) && AppendNames(path, full);
}

// Below the current directory a name does not depend on the drive.
bool IsBelowCurrent(std::string_view path) {
    return DriveOf(path) == '\0' && !IsSeparator(path.front()) &&
           path.find("..") == std::string_view::npos;
}

bool LiesOnADrive(std::string_view hostPath) {
    const auto isOn = [hostPath](char drive) {
        HostPathBuffer root;
        return DriveRoot(drive, root) && IsBelow(hostPath, root);
    };
    if (hostPath.find('\\') != std::string_view::npos) return false;
    if (isOn(kDefaultDrive)) return true;  // the usual case
    char drive = 'A';
    while (drive <= 'Z' && !isOn(drive))
        ++drive;
    return drive <= 'Z';
}

// The current directory as the root of what is below it.
bool CurrentRoot(HostPathBuffer& root) {
    if (getcwd(root, sizeof root) == nullptr || !LiesOnADrive(root)) return false;
    DropSeparatorsAtEnd(root);
    return true;
}

bool AddNames(const FullPath& full, HostPathBuffer& root) {
    const size_t rootLength = std::strlen(root);
    if (rootLength + full.length >= sizeof root) return Refuse(ENAMETOOLONG);
    std::memcpy(root + rootLength, full.names, full.length);
    root[rootLength + full.length] = '\0';
    return true;
}

// Where the path begins, and its names from there on.
bool SplitHostName(std::string_view name, HostPathBuffer& root, FullPath& full) {
    if (!IsBelowCurrent(name)) {
        return SplitPath(name, full) && (DriveRoot(full.drive, root) || Refuse(ENOENT));
    }
    full.length = 0;
    return CurrentRoot(root) && AppendNames(name, full);
}

// Writes the drive path with a separator at its end, if that is asked for.
bool CopyOut(const FullPath& full, bool withSeparator, char* buffer, size_t size) {
    const bool ends = full.length == 0 || withSeparator;
    const size_t length = kDriveSize + full.length + (ends ? 1 : 0);
    if (length >= size) return Refuse(ERANGE);
    *buffer++ = full.drive;
    *buffer++ = ':';
    buffer = std::replace_copy(full.names, full.names + full.length, buffer, '/', '\\');
    if (ends) *buffer++ = '\\';
    *buffer = '\0';
    return true;
}

}  // namespace

bool HostPath(const char* name, char (&path)[kHostPathSize]) {
    FullPath full;
    errno = ENOENT;
    if (name == nullptr || *name == '\0' || !SplitHostName(name, path, full)) return false;
    const size_t rootLength = std::strlen(path);
    if (!AddNames(full, path)) return false;
    if (full.length != 0) return FindSpelling(path, rootLength);
    if (rootLength == 0) std::strcpy(path, "/");
    return true;
}

bool SpelledHostPath(const char* name, char (&path)[kHostPathSize]) {
    if (name == nullptr || *name == '\0') return false;
    FullPath full;
    full.length = 0;
    if (IsBelowCurrent(name))
        return CurrentRoot(path) && AppendNames(name, full) && AddNames(full, path);
    const char drive = DriveOf(name);
    const char* root = drive == '\0' ? nullptr : NamedRoot(drive);
    if (root == nullptr || !IsSeparator(name[kDriveSize]) || std::strlen(root) >= sizeof path)
        return false;
    std::strcpy(path, root);
    DropSeparatorsAtEnd(path);
    return AppendNames(name + kDriveSize, full) && AddNames(full, path);
}

bool ExecutablePath(char (&path)[kHostPathSize]) {
    const ssize_t length = readlink("/proc/self/exe", path, sizeof path - 1);
    if (length <= 0) return false;
    path[length] = '\0';
    return true;
}

bool DrivePath(const char* hostPath, char* path, size_t size) {
    FullPath full;
    return SplitHostPath(hostPath, full) && CopyOut(full, false, path, size);
}

}  // namespace vrplatform

using namespace vrplatform;

char* CurrentDirectory(char* buffer, int32_t size) {
    FullPath full;
    if (size <= 0 || !SplitCurrentDirectory(full)) return nullptr;
    return CopyOut(full, false, buffer, static_cast<size_t>(size)) ? buffer : nullptr;
}

int32_t ChangeDirectory(const char* path) {
    char hostPath[kHostPathSize];
    return HostPath(path, hostPath) ? chdir(hostPath) : -1;
}

char* ExpandPath(char* buffer, const char* path, int32_t size) {
    FullPath full;
    if (size <= 0 || path == nullptr || !SplitPath(path, full)) return nullptr;
    const size_t length = std::strlen(path);
    const bool withSeparator = length != 0 && IsSeparator(path[length - 1]);
    return CopyOut(full, withSeparator, buffer, static_cast<size_t>(size)) ? buffer : nullptr;
}
