// The export file of a registry. Whatever the file's encoding, it becomes Latin-1 first; from there
// on everything is bytes. One pass over the lines then notes where the values of the wanted key
// are. Of the lines of other keys only the first character is read, since no line inside a value
// begins like a key line.

#include "linux/registry_text.h"

#include <algorithm>
#include <utility>

#include "linux/latin1.h"
#include "linux/text.h"
#include "linux/textfile.h"

namespace vrplatform {

namespace {

constexpr std::string_view kUtf16Mark = "\xFF\xFE";
constexpr std::string_view kHeaderOfBytes = "REGEDIT4";
constexpr std::string_view kHeaderOfUnicode = "Windows Registry Editor Version 5.00";
constexpr uint32_t kRemoved = 0x80000000;  // in the place of a line, which is below it
constexpr size_t kFewPlaces = 1024;
constexpr size_t kFewestPlaces = 4;
constexpr unsigned kTagShift = 24;
constexpr uint32_t kMostTags = 0xFF;
constexpr uint32_t kMostNumbers = 0xFFFFFF;  // a file of 64 MB has fewer values
constexpr size_t kShortestValue = 6;         // "a"=""

void ToLatin1(std::string& text) {
    if (text.starts_with(kUtf16Mark)) {
        text.erase(0, kUtf16Mark.size());
        Utf16ToLatin1(text);
    } else if (text.starts_with(kUtf8Mark)) {
        text.erase(0, kUtf8Mark.size());
        Utf8ToLatin1(text);
    } else if (!text.starts_with(kHeaderOfBytes)) {
        Utf8ToLatin1(text);
    }
}

bool TakePrefix(std::string_view& rest, char prefix) {
    if (!rest.starts_with(prefix)) return false;
    rest.remove_prefix(1);
    return true;
}

bool IsKeyOrBeneath(std::string_view path, std::string_view key) {
    return SameName(path.substr(0, key.size()), key) &&
           (path.size() == key.size() || path[key.size()] == '\\');
}

// FNV-1a of the folded name, with its high bits mixed into the low ones.
uint32_t HashOf(const std::string& name) {
    uint32_t hash = 0x811C9DC5;
    for (const char c : name)
        hash = (hash ^ static_cast<uint32_t>(FoldCase(c))) * 0x01000193;
    hash = (hash ^ hash >> 16) * 0x7FEB352D;
    return hash ^ hash >> 15;
}

bool MayBeNamedValue(std::string_view line) {
    line = Trimmed(line);
    return line.size() >= kShortestValue && line.front() == '"';
}

class KeyReader {
public:
    KeyReader(const RegistryExport& source, std::string_view path, RegistryKey& values)
        : source_(source), wanted_(path), values_(values) {}

    bool Read() {
        std::string_view rest = std::string_view(source_.text).substr(source_.keysBegin);
        while (!rest.empty()) {
            const auto at = static_cast<uint32_t>(rest.data() - source_.text.data());
            std::string_view after = rest;
            std::string_view line;
            TakeLine(after, line);
            line = Trimmed(line);
            if (line.starts_with('[')) {
                TakeKeyLine(line);
            } else if (inWantedKey_) {
                after = rest;
                TakeValueLines(after, at);
            }
            rest = after;
        }
        values_.Finish();
        return found_;
    }

private:
    void TakeKeyLine(std::string_view line) {
        inWantedKey_ = false;
        if (!line.ends_with(']')) return;
        std::string_view key = line.substr(1, line.size() - 2);
        if (TakePrefix(key, '-')) {
            if (!IsKeyOrBeneath(wanted_, key)) return;
            found_ = false;
            values_.Clear();
            return;
        }
        inWantedKey_ = SameName(key, wanted_);
        found_ = found_ || IsKeyOrBeneath(key, wanted_);
    }

    void TakeValueLines(std::string_view& rest, uint32_t at) {
        RegistryValue value;
        const ValueLine said = TakeValue(rest, source_.isUnicode, value);
        if (said == ValueLine::Set) values_.Set(at, value.name);
        if (said == ValueLine::Remove) values_.Remove(value.name);
    }

    const RegistryExport& source_;
    std::string_view wanted_;
    bool inWantedKey_ = false;
    bool found_ = false;
    RegistryKey& values_;
};

}  // namespace

bool RegistryExport::Take(std::string bytes) {
    text = std::move(bytes);
    ToLatin1(text);
    std::string_view rest = text;
    std::string_view header;
    if (!TakeLine(rest, header)) return false;
    header = Trimmed(header);
    keysBegin = text.size() - rest.size();
    isUnicode = header == kHeaderOfUnicode;
    return isUnicode || header == kHeaderOfBytes;
}

RegistryKey::RegistryKey(std::shared_ptr<const RegistryExport> source)
    : source_(std::move(source)) {
    Clear();
}

RegistryValue RegistryKey::At(size_t index) const {
    std::string_view rest = std::string_view(source_->text).substr(lines_[index]);
    RegistryValue value;
    TakeValue(rest, source_->isUnicode, value);
    return value;
}

bool RegistryKey::Find(const std::string& name, RegistryValue& value) const {
    const uint32_t number = places_[IndexOf(name)].number;
    if (number != 0) value = At(number - 1);
    return number != 0;
}

void RegistryKey::Clear() {
    lines_.clear();
    places_.assign(kFewPlaces, {});
}

void RegistryKey::Set(uint32_t line, const std::string& name) {
    if (places_.size() * 4 < (lines_.size() + 1) * 5) MakeRoomForAll(line);
    const size_t at = IndexOf(name);
    const uint32_t number = places_[at].number;
    if (number != 0 && (lines_[number - 1] & kRemoved) == 0) {
        lines_[number - 1] = line;
    } else {
        lines_.push_back(line);
        Enter(at, lines_.size(), name);
    }
}

void RegistryKey::Remove(const std::string& name) {
    const uint32_t number = places_[IndexOf(name)].number;
    if (number != 0) lines_[number - 1] |= kRemoved;
}

void RegistryKey::Finish() {
    std::erase_if(lines_, [](uint32_t line) { return (line & kRemoved) != 0; });
    MakeIndex(lines_.size());
}

std::string RegistryKey::NameAt(uint32_t line) const {
    std::string_view text = std::string_view(source_->text).substr(line & ~kRemoved);
    std::string_view first;
    std::string name;
    TakeLine(text, first);
    TakeValueName(first, name);
    return name;
}

// Where the name is entered, or would be.
size_t RegistryKey::IndexOf(const std::string& name) const {
    const uint32_t hash = HashOf(name);
    size_t at = hash & (places_.size() - 1);
    while (places_[at].number != 0 && !IsOf(places_[at], hash, name))
        at = (at + 1) & (places_.size() - 1);
    return at;
}

bool RegistryKey::IsOf(const Place& place, uint32_t hash, const std::string& name) const {
    return place.tag == hash >> kTagShift && SameName(NameAt(lines_[place.number - 1]), name);
}

void RegistryKey::Enter(size_t at, size_t number, const std::string& name) {
    places_[at].number = number & kMostNumbers;
    places_[at].tag = HashOf(name) >> kTagShift & kMostTags;
}

// Allocated once, for all values that can still come: repeated doubling would need more room.
void RegistryKey::MakeRoomForAll(uint32_t from) {
    size_t most = lines_.size() + 2;  // the one without a name, too
    std::string_view rest = std::string_view(source_->text).substr(from);
    for (std::string_view line; TakeLine(rest, line);)
        most += MayBeNamedValue(line) ? 1 : 0;
    lines_.reserve(most);
    MakeIndex(most);
}

void RegistryKey::MakeIndex(size_t most) {
    size_t size = kFewestPlaces;
    while (size * 4 < most * 5)
        size *= 2;
    places_ = std::vector<Place>(size);
    for (size_t i = 0; i < lines_.size(); ++i) {
        const std::string name = NameAt(lines_[i]);
        Enter(IndexOf(name), i + 1, name);
    }
}

std::shared_ptr<const RegistryKey> ReadRegistryKey(
    const std::shared_ptr<const RegistryExport>& source, std::string_view path) {
    auto key = std::make_shared<RegistryKey>(source);
    return KeyReader(*source, path, *key).Read() ? key : nullptr;
}

}  // namespace vrplatform
