// Directory searches: one directory stream a search, its names held against the
// pattern without regard to case.

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include "linux/paths.h"
#include "linux/text.h"
#include "platform/files.h"

namespace {

struct Search {
    DIR* directory = nullptr;  // null marks a free number
    std::string pattern;       // of names
};

std::vector<Search>& Searches() {
    static auto* searches = new std::vector<Search>;
    return *searches;
}

Search* FindSearch(int32_t number) {
    std::vector<Search>& searches = Searches();
    if (number < 0 || static_cast<size_t>(number) >= searches.size()) return nullptr;
    Search& search = searches[static_cast<size_t>(number)];
    return search.directory == nullptr ? nullptr : &search;
}

int32_t NewSearch(DIR* directory, const char* pattern) {
    std::vector<Search>& searches = Searches();
    const auto isFree = [](const Search& search) { return search.directory == nullptr; };
    auto free = std::find_if(searches.begin(), searches.end(), isFree);
    if (free == searches.end()) free = searches.emplace(free);
    *free = {directory, std::strcmp(pattern, "*.*") == 0 ? "*" : pattern};
    return static_cast<int32_t>(free - searches.begin());
}

// At a byte that does not fit, the last * takes one byte more.
bool Fits(const char* name, const char* pattern) {
    const char* afterStar = nullptr;
    const char* retry = nullptr;
    while (*name != '\0') {
        if (*pattern == '*') {
            afterStar = ++pattern;
            retry = name;
        } else if (*pattern != '\0' && (*pattern == '?' || FoldCase(*pattern) == FoldCase(*name))) {
            ++pattern;
            ++name;
        } else if (afterStar != nullptr) {
            pattern = afterStar;
            name = ++retry;
        } else {
            return false;
        }
    }
    while (*pattern == '*')
        ++pattern;
    return *pattern == '\0';
}

void Describe(DIR* directory, const char* name, FindData* data) {
    *data = {};
    std::memcpy(data->name, name, std::strlen(name) + 1);
    struct stat status;
    if (fstatat(dirfd(directory), name, &status, 0) != 0 &&
        fstatat(dirfd(directory), name, &status, AT_SYMLINK_NOFOLLOW) != 0) {
        return;
    }
    if (S_ISDIR(status.st_mode)) data->attributes |= kFindDirectory;
    if ((status.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0) data->attributes |= kFindReadOnly;
    data->creationTime = static_cast<int32_t>(status.st_ctime);
    data->accessTime = static_cast<int32_t>(status.st_atime);
    data->writeTime = static_cast<int32_t>(status.st_mtime);
    data->size = static_cast<uint32_t>(std::clamp<off_t>(status.st_size, 0, UINT32_MAX));
}

}  // namespace

int32_t FindFirst(const char* pattern, FindData* data) {
    const std::string text = pattern == nullptr ? "" : pattern;
    const size_t separator = text.find_last_of("\\/:");
    const size_t nameStart = separator == std::string::npos ? 0 : separator + 1;
    const std::string directoryPath = nameStart == 0 ? "." : text.substr(0, nameStart);

    char hostPath[kHostPathSize];
    DIR* directory = HostPath(directoryPath.c_str(), hostPath) ? opendir(hostPath) : nullptr;
    if (directory == nullptr) return -1;
    const int32_t search = NewSearch(directory, text.c_str() + nameStart);
    if (FindNext(search, data) == 0) return search;
    FindClose(search);
    errno = ENOENT;
    return -1;
}

int32_t FindNext(int32_t search, FindData* data) {
    const Search* found = FindSearch(search);
    if (found == nullptr) return -1;
    while (const dirent* entry = readdir(found->directory)) {
        const bool nameable = std::strchr(entry->d_name, '\\') == nullptr;
        if (!nameable || !Fits(entry->d_name, found->pattern.c_str())) continue;
        Describe(found->directory, entry->d_name, data);
        return 0;
    }
    return -1;
}

int32_t FindClose(int32_t search) {
    Search* found = FindSearch(search);
    if (found == nullptr) return -1;
    const int result = closedir(found->directory);
    *found = {};
    return result;
}
