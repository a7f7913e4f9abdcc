// Paths in two steps: a text is first made a full drive path, by the current
// directory and without looking at the disk, and then found under its drive's root,
// name by name, where a name that is not there as spelled is looked for in any case.

#include "linux/paths.h"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "platform/files.h"
#include "platform/text.h"

namespace {

constexpr std::string_view kSeparators = "\\/";
constexpr size_t kDriveSize = 2;  // letter and colon
constexpr char kDefaultDrive = 'C';

// A full path in parts.
struct FullPath {
    char drive;  // upper case
    std::vector<std::string> names;
};

bool IsSeparator(char c) {
    return kSeparators.find(c) != std::string_view::npos;
}

char DriveOf(std::string_view path) {
    if (path.size() < kDriveSize || path[1] != ':') return '\0';
    const char letter = static_cast<char>(path[0] & ~0x20);
    return letter >= 'A' && letter <= 'Z' ? letter : '\0';
}

// The host's directory of the drive's root, without a separator at its end; false for
// a drive that has none.
bool DriveRoot(char drive, std::string& root) {
    char variable[] = "VRPLATFORM_DRIVE_C";
    variable[sizeof variable - 2] = drive;
    const char* directory = std::getenv(variable);
    if (directory == nullptr || *directory != '/') {
        root.clear();
        return drive == kDefaultDrive;
    }
    char real[PATH_MAX];
    root = realpath(directory, real) == nullptr ? directory : real;
    while (!root.empty() && root.back() == '/')
        root.pop_back();
    return true;
}

bool IsBelow(std::string_view path, std::string_view directory) {
    return path.substr(0, directory.size()) == directory &&
           (path.size() == directory.size() || path[directory.size()] == '/');
}

void AppendNames(std::string_view text, std::vector<std::string>& names) {
    while (!text.empty()) {
        const std::string_view name = text.substr(0, text.find_first_of(kSeparators));
        text.remove_prefix(std::min(name.size() + 1, text.size()));
        if (name.empty() || name == ".") continue;
        if (name != "..") {
            names.emplace_back(name);
        } else if (!names.empty()) {
            names.pop_back();
        }
    }
}

// A path lies on the drive whose root is the nearest above it. A name that holds a
// backslash cannot be told from two.
bool SplitHostPath(std::string_view hostPath, FullPath& full) {
    if (hostPath.find('\\') != std::string_view::npos) return false;
    std::string nearest;
    full.drive = '\0';
    for (char drive = 'A'; drive <= 'Z'; ++drive) {
        std::string root;
        if (!DriveRoot(drive, root) || !IsBelow(hostPath, root)) continue;
        if (full.drive != '\0' && root.size() <= nearest.size()) continue;
        nearest = root;
        full.drive = drive;
    }
    if (full.drive == '\0') return false;
    AppendNames(hostPath.substr(nearest.size()), full.names);
    return true;
}

bool SplitCurrentDirectory(FullPath& full) {
    char directory[PATH_MAX];
    return getcwd(directory, sizeof directory) != nullptr && SplitHostPath(directory, full);
}

// Where the current directory lies on no drive, or is gone, only what it has no part in
// can be named; a path from the root is then on drive C.
bool SplitPath(std::string_view path, FullPath& full) {
    const char drive = DriveOf(path);
    if (drive != '\0') path.remove_prefix(kDriveSize);
    const bool fromRoot = !path.empty() && IsSeparator(path.front());
    const bool current = SplitCurrentDirectory(full);
    if (!current) full = {kDefaultDrive, {}};
    if (!current && !fromRoot && drive == '\0') return false;
    if (fromRoot || (drive != '\0' && drive != full.drive)) full.names.clear();
    if (drive != '\0') full.drive = drive;
    AppendNames(path, full.names);
    return true;
}

std::string Join(const FullPath& full) {
    std::string path = {full.drive, ':', '\\'};
    for (const std::string& name : full.names) {
        if (path.back() != '\\') path += '\\';
        path += name;
    }
    return path;
}

bool CopyOut(const std::string& text, char* buffer, size_t size) {
    if (text.size() >= size) {
        errno = ERANGE;
        return false;
    }
    std::memcpy(buffer, text.c_str(), text.size() + 1);
    return true;
}

bool Exists(const std::string& path) {
    struct stat status;
    return lstat(path.c_str(), &status) == 0;
}

enum class Search { Found, Absent, NotPossible };

// The directory's spelling of the name, when it has one that differs in case alone. Where
// handles or memory are short nobody can tell, and errno says why.
Search FindAnyCase(const std::string& directory, std::string& name) {
    DIR* entries = opendir(directory.empty() ? "/" : directory.c_str());
    if (entries == nullptr) {
        if (errno == ENFILE) errno = kErrorTooManyOpenFiles;
        const bool isShort = errno == kErrorTooManyOpenFiles || errno == ENOMEM;
        return isShort ? Search::NotPossible : Search::Absent;
    }
    const dirent* entry = readdir(entries);
    while (entry != nullptr && lstrcmpiA(entry->d_name, name.c_str()) != 0)
        entry = readdir(entries);
    if (entry != nullptr) name = entry->d_name;
    closedir(entries);
    return entry != nullptr ? Search::Found : Search::Absent;
}

// The names under the root as they are spelled there, from the first that is not there on
// as they are given. False when that cannot be told.
bool FindUnder(const std::string& root, const std::vector<std::string>& names, std::string& path) {
    path = root;
    for (const std::string& name : names)
        path += '/' + name;
    if (path.empty()) path += '/';
    if (names.empty() || Exists(path)) return true;

    path = root;
    Search search = Search::Found;
    for (std::string name : names) {
        const size_t directoryLength = path.size();
        path.append("/").append(name);
        if (search == Search::Absent || Exists(path)) continue;
        path.resize(directoryLength);
        search = FindAnyCase(path, name);
        if (search == Search::NotPossible) return false;
        path.append("/").append(name);
    }
    return true;
}

}  // namespace

bool HostPath(const char* name, char (&path)[kHostPathSize]) {
    FullPath full;
    std::string root;
    errno = ENOENT;
    if (name == nullptr || *name == '\0' || !SplitPath(name, full)) return false;
    if (!DriveRoot(full.drive, root)) {
        errno = ENOENT;
        return false;
    }
    std::string found;
    if (!FindUnder(root, full.names, found)) return false;
    if (CopyOut(found, path, sizeof path)) return true;
    errno = ENAMETOOLONG;
    return false;
}

bool ExecutablePath(char (&path)[kHostPathSize]) {
    const ssize_t length = readlink("/proc/self/exe", path, sizeof path - 1);
    if (length <= 0) return false;
    path[length] = '\0';
    return true;
}

bool DrivePath(const char* hostPath, char* path, size_t size) {
    FullPath full;
    return SplitHostPath(hostPath, full) && CopyOut(Join(full), path, size);
}

char* CurrentDirectory(char* buffer, int32_t size) {
    FullPath full;
    if (size <= 0 || !SplitCurrentDirectory(full)) return nullptr;
    return CopyOut(Join(full), buffer, static_cast<size_t>(size)) ? buffer : nullptr;
}

int32_t ChangeDirectory(const char* path) {
    char hostPath[kHostPathSize];
    return HostPath(path, hostPath) ? chdir(hostPath) : -1;
}

char* ExpandPath(char* buffer, const char* path, int32_t size) {
    FullPath full;
    if (size <= 0 || path == nullptr || !SplitPath(path, full)) return nullptr;
    std::string text = Join(full);
    const size_t length = std::strlen(path);
    if (length != 0 && IsSeparator(path[length - 1]) && text.back() != '\\') text += '\\';
    return CopyOut(text, buffer, static_cast<size_t>(size)) ? buffer : nullptr;
}
