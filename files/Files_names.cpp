// Names on disk from free text. A mapped name is tried plain, then with its one dot,
// then with hexadecimal numbers at its end, which shorten its stem as they grow.

#define VR_MODULE "Files"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "core/Text.h"
#include "core/vrmem.h"
#include "platform/files.h"
#include "platform/find.h"
#include "vr/files.h"
#include "vr/settings.h"
#include "vr/text.h"

namespace {

constexpr size_t kMappedSize = 12;  // characters of a whole mapped name
constexpr size_t kStemSize = 8;
constexpr int kExtensionSize = 3;
constexpr size_t kNumberedStem = kStemSize - 1;
constexpr size_t kDotPlaces = 4;  // from the end, where a dot may stay
constexpr char kReplaced[] = "\"\x01.\\|+/:;,-[]{}*?$><= ";
constexpr size_t kLongNameSize = 260;
constexpr size_t kTemplateSize = 104;
constexpr int32_t kTriedOneByOne = 16;

// A candidate under construction, in the text of the string that will be returned.
struct Candidate {
    char* text;             // kMappedSize characters and a zero
    const char* extension;  // upper case, or null
    size_t stem;            // characters before extension and number
    size_t marks;           // characters of the stem that had to be changed
    int32_t tried;
    PlatformFolderNames* taken;  // the folder's names with the same first letter, or null
};

// Also true when the platform cannot say: each further candidate would end the same way. To
// ask for a name may search the whole folder, so after some names the folder is read once.
bool IsFree(Candidate& candidate) {
    if (++candidate.tried == kTriedOneByOne) {
        const char pattern[] = {candidate.text[0], '*', '\0'};
        candidate.taken = FolderNamesRead(pattern);
    }
    const bool isTaken =
        candidate.taken != nullptr && FolderNamesHas(candidate.taken, candidate.text) != 0;
    return !isTaken && FileStatus(candidate.text) != 0;
}

void WriteAfterStem(const Candidate& candidate, const char* number) {
    char* end = candidate.text + candidate.stem;
    const size_t room = kMappedSize + 1 - candidate.stem;
    if (candidate.extension == nullptr) {
        std::snprintf(end, room, "%s", number);
    } else {
        std::snprintf(end, room, "%s.%.*s", number, kExtensionSize, candidate.extension);
    }
}

// A lower-case letter counts as changed, since it becomes upper case.
void WriteStem(Candidate& candidate, const char* name) {
    for (size_t i = 0; i < candidate.stem; ++i) {
        const bool replaced = std::strchr(kReplaced, name[i]) != nullptr;
        const bool folded = vr::Upper(name[i]) != name[i];
        candidate.marks += replaced || folded ? 1 : 0;
        candidate.text[i] = replaced ? '_' : name[i];
    }
    WriteAfterStem(candidate, "");
    ToUpper(candidate.text);
}

bool TryDots(Candidate& candidate, const char* name, size_t length) {
    const size_t places = std::min(length, kDotPlaces);
    for (size_t i = length; i-- > length - places;) {
        if (name[i] != '.') continue;
        candidate.text[i] = '.';
        if (IsFree(candidate)) return true;
        candidate.text[i] = '_';
    }
    return false;
}

// Each digit more takes a character off the stem. Numbers start at 1, and at 0 from the second
// length on.
bool TryNumbers(Candidate& candidate) {
    uint64_t first = 1;
    for (candidate.stem = std::min(candidate.stem, kNumberedStem); candidate.stem != 0;
         --candidate.stem) {
        const uint64_t end = uint64_t{1} << 4 * (kStemSize - candidate.stem);
        for (uint64_t number = first; number != end; ++number) {
            char digits[kStemSize + 1];
            std::snprintf(digits, sizeof digits, "%X", static_cast<unsigned>(number));
            WriteAfterStem(candidate, digits);
            if (IsFree(candidate)) return true;
        }
        first = 0;
    }
    return false;
}

bool FindFreeName(Candidate& candidate, const char* name) {
    const size_t length = std::strlen(name);
    candidate.stem = std::min(length, candidate.extension == nullptr ? kMappedSize : kStemSize);
    WriteStem(candidate, name);
    if (length <= kStemSize && candidate.marks == 0 && IsFree(candidate)) return true;
    const bool mayKeepDot =
        candidate.extension == nullptr && candidate.marks == 1 && length <= kMappedSize;
    if (mayKeepDot && TryDots(candidate, name, length)) return true;
    return TryNumbers(candidate);
}

VrString UniqueNameFrom(char* nameTemplate, int wanted) {
    if (!vr::Fits(wanted, kTemplateSize)) return vr::NullString();
    return StrToVrStr(UniqueName(nameTemplate));
}

}  // namespace

VrString OsFileName(VrString name, char* extension) {
    VrString result = alloc_string(kMappedSize);
    ToUpper(extension);
    Candidate candidate = {.text = reinterpret_cast<char*>(VrStrText(result)),
                           .extension = extension,
                           .stem = 0,
                           .marks = 0,
                           .tried = 0,
                           .taken = nullptr};
    const bool isFound = FindFreeName(candidate, vr::CharsOf(vr::OrNullString(name)));
    FolderNamesFree(candidate.taken);
    if (!isFound) {
        free_mem(&result);
        return vr::NullString();
    }
    result->length = static_cast<int32_t>(std::strlen(candidate.text));
    return result;
}

VrString OsFileLongName(VrString name, const char* extension) {
    VrString result = alloc_string(kLongNameSize);
    const auto* from = vr::CharsOf(vr::OrNullString(name));
    auto* text = reinterpret_cast<char*>(VrStrText(result));
    const size_t length = strnlen(from, kLongNameSize);
    std::replace_copy(from, from + length, text, '*', '^');
    text[length] = '\0';
    if (extension != nullptr) {
        const auto room = static_cast<size_t>(vr::CapacityOf(result)) + 1 - length;
        std::snprintf(text + length, room, ".%s", extension);
    }
    result->length = static_cast<int32_t>(std::strlen(text));
    return result;
}

VrString GetUniqueFileName(const char* prefix) {
    char nameTemplate[kTemplateSize];
    const int wanted = std::snprintf(nameTemplate, sizeof nameTemplate, "%sXXXXXX", prefix);
    return UniqueNameFrom(nameTemplate, wanted);
}

VrString GetUniqueTempFileName(const char* prefix) {
    char nameTemplate[kTemplateSize];
    const char* directory = DLLGetEnv("VRLTEMP");
    if (directory == nullptr) return GetUniqueFileName(prefix);
    if (*directory == '\0') return vr::NullString();  // too long to be read
    const int wanted =
        std::snprintf(nameTemplate, sizeof nameTemplate, "%s%c%sXXXXXX", directory, '\\', prefix);
    return UniqueNameFrom(nameTemplate, wanted);
}

VrString ExtractBaseName(VrString line, char* prefix) {
    const size_t prefixLength = prefix == nullptr ? 0 : std::strlen(prefix);
    if (prefixLength == 0) return nullptr;
    ToUpper(prefix);
    line = vr::OrNullString(line);
    const auto* text = vr::CharsOf(line);
    const char* end = text + line->length;
    const bool fits = prefixLength <= static_cast<size_t>(line->length);
    if (!fits || !vr::BeginsWith(text, prefix, prefixLength)) return nullptr;

    const char* rest = std::find_if_not(text + prefixLength, end, vr::IsSpace);
    if (rest == end) return nullptr;
    VrString base = alloc_string(static_cast<uint32_t>(end - rest));
    std::memcpy(VrStrText(base), rest, static_cast<size_t>(end - rest));
    return base;
}
