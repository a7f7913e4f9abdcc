// Directory searches: each search has a directory stream, whose names are compared with the pattern
// without regard to case.

#include "platform/find.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "linux/owned.h"
#include "linux/paths.h"
#include "linux/shortage.h"
#include "linux/text.h"

namespace vrplatform {

namespace {

struct Search {
    DirectoryStream directory;  // null marks a free number
    std::string pattern;        // of names
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

std::string NamePattern(std::string_view pattern) {
    return std::string(pattern == "*.*" ? "*" : pattern);
}

// Allocates its memory before the directory is opened.
int32_t NewSearch(const char* hostPath, std::string_view pattern) {
    std::vector<Search>& searches = Searches();
    const auto isFree = [](const Search& search) { return search.directory == nullptr; };
    auto free = std::find_if(searches.begin(), searches.end(), isFree);
    if (free == searches.end()) free = searches.emplace(free);
    free->pattern = NamePattern(pattern);
    free->directory.reset(opendir(hostPath));
    return free->directory == nullptr ? -1 : static_cast<int32_t>(free - searches.begin());
}

bool IsLetter(char c) {
    return FoldCase(c) >= 'a' && FoldCase(c) <= 'z';
}

// A name that would be read as two names, or as one on another drive, cannot be opened.
bool IsNameable(const char* name) {
    return std::strchr(name, '\\') == nullptr && !(IsLetter(name[0]) && name[1] == ':');
}

// At a byte that does not match, the last * takes one byte more.
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

// Divides the pattern into the host's directory and the pattern of names.
bool SplitPattern(std::string_view& pattern, char (&hostPath)[kHostPathSize]) {
    const size_t nameStart = pattern.find_last_of("\\/:") + 1;  // 0 when there is none
    char directory[kHostPathSize] = ".";
    if (nameStart >= sizeof directory) return false;
    if (nameStart != 0) directory[pattern.copy(directory, nameStart)] = '\0';
    pattern.remove_prefix(nameStart);
    return HostPath(directory, hostPath);
}

std::string Folded(std::string name) {
    std::transform(name.begin(), name.end(), name.begin(), FoldCase);
    return name;
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

}  // namespace vrplatform

using namespace vrplatform;

struct PlatformFolderNames {
    std::vector<std::string> folded;  // sorted
};

int32_t FindFirst(const char* pattern, FindData* data) {
    std::string_view names = pattern == nullptr ? "" : pattern;
    char hostPath[kHostPathSize];
    if (!SplitPattern(names, hostPath)) return -1;
    const int32_t search = UnlessShort(-1, [&] { return NewSearch(hostPath, names); });
    if (search == -1 || FindNext(search, data) == 0) return search;
    FindClose(search);
    errno = ENOENT;
    return -1;
}

int32_t FindNext(int32_t search, FindData* data) {
    const Search* found = FindSearch(search);
    if (found == nullptr) return -1;
    while (const dirent* entry = readdir(found->directory.get())) {
        if (!IsNameable(entry->d_name) || !Fits(entry->d_name, found->pattern.c_str())) continue;
        Describe(found->directory.get(), entry->d_name, data);
        return 0;
    }
    return -1;
}

int32_t FindClose(int32_t search) {
    Search* found = FindSearch(search);
    if (found == nullptr) return -1;
    return closedir(found->directory.release());
}

PlatformFolderNames* FolderNamesRead(const char* pattern) {
    std::string_view names = pattern == nullptr ? "" : pattern;
    char hostPath[kHostPathSize];
    if (!SplitPattern(names, hostPath)) return nullptr;
    return UnlessShort<PlatformFolderNames*>(nullptr, [&]() -> PlatformFolderNames* {
        const std::string wanted = NamePattern(names);
        const DirectoryStream directory(opendir(hostPath));
        if (directory == nullptr) return nullptr;
        auto read = std::make_unique<PlatformFolderNames>();
        while (const dirent* entry = readdir(directory.get()))
            if (Fits(entry->d_name, wanted.c_str())) read->folded.push_back(Folded(entry->d_name));
        std::ranges::sort(read->folded);
        return read.release();
    });
}

void FolderNamesFree(PlatformFolderNames* names) {
    delete names;
}

int32_t FolderNamesHas(const PlatformFolderNames* names, const char* name) {
    const auto has = [=] { return std::ranges::binary_search(names->folded, Folded(name)); };
    return UnlessShort(false, has);
}
