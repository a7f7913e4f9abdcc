// The folder is read once: a name that fits in another case counts only until the exact one
// is met, as it is when a file is opened.

#include "record_place.h"

#include <algorithm>

#include "platform/text.h"
#include "vr/files.h"

namespace {

constexpr size_t kDigits = 5;
constexpr size_t kSuffixSize = 2 + kDigits;  // dot, letter, digits

// Where the name begins in the path.
size_t NameStart(const std::string& path) {
    const size_t separator = path.find_last_of("\\/");
    if (separator != std::string::npos) return separator + 1;
    return path.size() > 1 && path[1] == ':' ? 2 : 0;  // after a drive
}

bool IsLetter(char c) {
    return c >= 'a' && c <= 'z';
}

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

std::vector<std::string> NamesIn(const std::string& folder) {
    std::vector<std::string> names;
    DirSearch* search = nullptr;
    const char* name = DirFirst(folder.c_str(), &search);
    for (; name != nullptr; name = DirNext(search))
        names.emplace_back(name);
    DirClose(&search);
    return names;
}

std::string Spelling(const std::string& wanted, const std::vector<std::string>& names) {
    if (std::ranges::find(names, wanted) != names.end()) return wanted;
    const auto fits = [&](const std::string& name) {
        return lstrcmpiA(name.c_str(), wanted.c_str()) == 0;
    };
    const auto found = std::ranges::find_if(names, fits);
    return found == names.end() ? wanted : *found;
}

}  // namespace

std::string FolderOf(const std::string& path) {
    const std::string folder = path.substr(0, NameStart(path));
    return folder.find_first_of("\\/") == std::string::npos ? folder + ".\\" : folder;
}

std::string NameIn(const std::string& path) {
    return path.substr(NameStart(path));
}

std::string_view RecordOfTemporary(std::string_view name) {
    if (name.size() <= kSuffixSize) return {};
    const std::string_view suffix = name.substr(name.size() - kSuffixSize);
    const bool isTemporary =
        suffix[0] == '.' && IsLetter(suffix[1]) && std::ranges::all_of(suffix.substr(2), IsDigit);
    return isTemporary ? name.substr(0, name.size() - kSuffixSize) : std::string_view();
}

RecordPlace FindPlace(const std::string& path) {
    RecordPlace place = {FolderOf(path), "", {}};
    const std::vector<std::string> names = NamesIn(place.folder);
    place.name = Spelling(NameIn(path), names);
    for (const std::string& name : names) {
        const std::string_view record = RecordOfTemporary(name);
        if (!record.empty() && record == place.name) place.temporaries.push_back(name);
    }
    return place;
}
