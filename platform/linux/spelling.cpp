// A name that is not there as spelled is looked for in its folder, in any case.

#include "linux/spelling.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include "linux/insist.h"
#include "linux/owned.h"
#include "platform/files.h"
#include "platform/text.h"

namespace vrplatform {

namespace {

bool Exists(const char* path) {
    struct stat status;
    return lstat(path, &status) == 0;
}

enum class Search { Found, Absent, NotPossible };

// Looks through what was read of a directory, and overwrites the name with a spelling that
// differs in case alone.
bool TakeSpelling(const char* entries, size_t size, char* name) {
    for (const char* at = entries; at < entries + size;) {
        const auto* entry = reinterpret_cast<const dirent64*>(at);
        if (lstrcmpiA(entry->d_name, name) == 0) {
            std::memcpy(name, entry->d_name, std::strlen(name));
            return true;
        }
        at += entry->d_reclen;
    }
    return false;
}

// The directory's spelling of the name, when it has one. Where handles or memory are short it
// cannot be found, and errno has the reason. The entries are read without the C library, whose
// buffer for them is larger than the library's reserves.
Search FindAnyCase(const char* directory, char* name) {
    const Descriptor folder(
        Insist([=] { return open(directory, O_RDONLY | O_DIRECTORY | O_CLOEXEC); }));
    if (!folder.IsOpen()) {
        if (errno == ENFILE) errno = kErrorTooManyOpenFiles;
        const bool isShort = errno == kErrorTooManyOpenFiles || errno == ENOMEM;
        return isShort ? Search::NotPossible : Search::Absent;
    }
    alignas(dirent64) char entries[8192];
    bool found = false;
    ssize_t got = 0;
    while (!found && (got = getdents64(folder.Get(), entries, sizeof entries)) > 0)
        found = TakeSpelling(entries, static_cast<size_t>(got), name);
    return found ? Search::Found : Search::Absent;
}

}  // namespace

bool FindSpelling(char* path, size_t rootLength) {
    if (Exists(path)) return true;
    Search search = Search::Found;
    for (char* name = path + rootLength; *name != '\0' && search == Search::Found;) {
        char* end = name + 1 + std::strcspn(name + 1, "/");
        const char separator = std::exchange(*end, '\0');
        if (!Exists(path)) {
            *name = '\0';
            search = FindAnyCase(*path == '\0' ? "/" : path, name + 1);
            *name = '/';
        }
        *end = separator;
        name = end;
    }
    return search != Search::NotPossible;
}

}  // namespace vrplatform
