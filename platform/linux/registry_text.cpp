// The export file of a registry. Whatever the file's encoding, it becomes Latin-1 first; from
// there on everything is bytes. One pass over the lines then notes where the values of the one
// key stand that is asked for: the lines of other keys are looked at only for their first
// character, which no line inside a value shares with a key line.

#include "linux/registry_text.h"

#include <algorithm>
#include <utility>

#include "linux/latin1.h"
#include "linux/text.h"
#include "linux/textfile.h"

namespace {

constexpr std::string_view kUtf16Mark = "\xFF\xFE";
constexpr std::string_view kHeaderOfBytes = "REGEDIT4";
constexpr std::string_view kHeaderOfUnicode = "Windows Registry Editor Version 5.00";
constexpr uint32_t kRemoved = 0x80000000;  // in the place of a line, which is below it
constexpr size_t kFewPlaces = 1024;
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

// The values that count so far, found by name. Each is the place where its line begins, in the
// order in which their names came up; one that was removed is marked and keeps its place.
class ValueTable {
public:
    ValueTable(std::string_view text, std::vector<uint32_t>& lines) : text_(text), lines_(lines) {
        Clear();
    }

    void Clear() {
        lines_.clear();
        places_.assign(kFewPlaces, {});
    }
    void Set(uint32_t line, const std::string& name) {
        if (places_.size() * 4 < (lines_.size() + 1) * 5) MakeRoomForAll(line);
        Place& place = PlaceOf(name);
        if (place.number != 0 && (lines_[place.number - 1] & kRemoved) == 0) {
            lines_[place.number - 1] = line;
        } else {
            lines_.push_back(line);
            Enter(place, lines_.size(), name);
        }
    }
    void Remove(const std::string& name) {
        const uint32_t number = PlaceOf(name).number;
        if (number != 0) lines_[number - 1] |= kRemoved;
    }
    void DropRemoved() {
        std::erase_if(lines_, [](uint32_t line) { return (line & kRemoved) != 0; });
    }

private:
    // Most names that are not the same differ in the tag, so that no text is read for them.
    struct Place {
        uint32_t number : 24;  // of the line, from 1; 0 is free
        uint32_t tag : 8;      // of the hash
    };

    std::string NameAt(uint32_t at) const {
        std::string_view text = text_.substr(at & ~kRemoved);
        std::string_view line;
        std::string name;
        TakeLine(text, line);
        TakeValueName(line, name);
        return name;
    }

    // Where the name is entered, or would be.
    Place& PlaceOf(const std::string& name) {
        const uint32_t hash = HashOf(name);
        size_t at = hash & (places_.size() - 1);
        while (places_[at].number != 0 && !IsOf(places_[at], hash, name))
            at = (at + 1) & (places_.size() - 1);
        return places_[at];
    }
    bool IsOf(const Place& place, uint32_t hash, const std::string& name) const {
        return place.tag == hash >> kTagShift && SameName(NameAt(lines_[place.number - 1]), name);
    }
    static void Enter(Place& place, size_t number, const std::string& name) {
        place.number = number & kMostNumbers;
        place.tag = HashOf(name) >> kTagShift & kMostTags;
    }

    // Once, for all that can still come: to double again and again would need more room.
    void MakeRoomForAll(uint32_t from) {
        size_t most = lines_.size() + 2;  // the one without a name, too
        std::string_view rest = text_.substr(from);
        for (std::string_view line; TakeLine(rest, line);)
            most += MayBeNamedValue(line) ? 1 : 0;
        size_t size = places_.size();
        while (size * 4 < most * 5)
            size *= 2;
        lines_.reserve(most);
        places_.assign(size, {});
        for (uint32_t i = 0; i < lines_.size(); ++i)
            EnterAgain(i);
    }

    void EnterAgain(uint32_t i) {
        const std::string name = NameAt(lines_[i]);
        Enter(PlaceOf(name), i + 1, name);
    }

    std::string_view text_;
    std::vector<uint32_t>& lines_;
    std::vector<Place> places_;  // by hash
};

class KeyReader {
public:
    KeyReader(std::string_view text, std::string_view path, bool isUnicode,
              std::vector<uint32_t>& lines)
        : text_(text), wanted_(path), isUnicode_(isUnicode), values_(text, lines) {}

    // `rest` is what follows the header.
    bool Read(std::string_view rest) {
        while (!rest.empty()) {
            const auto at = static_cast<uint32_t>(rest.data() - text_.data());
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
        values_.DropRemoved();
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
        const ValueLine said = TakeValue(rest, isUnicode_, value);
        if (said == ValueLine::Set) values_.Set(at, value.name);
        if (said == ValueLine::Remove) values_.Remove(value.name);
    }

    std::string_view text_;
    std::string_view wanted_;
    bool isUnicode_;
    bool inWantedKey_ = false;
    bool found_ = false;
    ValueTable values_;
};

}  // namespace

bool RegistryKey::Read(std::string text, std::string_view path) {
    text_ = std::move(text);
    ToLatin1(text_);
    std::string_view rest = text_;
    std::string_view header;
    if (!TakeLine(rest, header)) return false;
    header = Trimmed(header);
    isUnicode_ = header == kHeaderOfUnicode;
    if (!isUnicode_ && header != kHeaderOfBytes) return false;
    return KeyReader(text_, path, isUnicode_, lines_).Read(rest);
}

RegistryValue RegistryKey::At(size_t index) const {
    std::string_view rest = std::string_view(text_).substr(lines_[index]);
    RegistryValue value;
    TakeValue(rest, isUnicode_, value);
    return value;
}
