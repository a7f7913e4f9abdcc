// The export file of a registry. Whatever the file's encoding, it becomes Latin-1
// first, in place, since no character grows by that; from there on everything is
// bytes. One pass over the lines then picks up the values of the one key that is
// asked for: the lines of other keys are looked at only for their first character,
// which no line inside a value shares with a key line.

#include "linux/registry_text.h"

#include <algorithm>
#include <charconv>
#include <map>
#include <optional>
#include <utility>

#include "linux/text.h"
#include "linux/textfile.h"
#include "platform/registry.h"

namespace {

constexpr std::string_view kUtf16Mark = "\xFF\xFE";
constexpr std::string_view kHeaderOfBytes = "REGEDIT4";
constexpr std::string_view kHeaderOfUnicode = "Windows Registry Editor Version 5.00";
constexpr size_t kBytesOfNumber = 4;

uint32_t ByteAt(std::string_view text, size_t index) {
    return static_cast<unsigned char>(text[index]);
}

std::string FoldedName(std::string name) {
    for (char& c : name)
        c = static_cast<char>(FoldCase(c));
    return name;
}

// A last odd byte is dropped.
void Utf16ToLatin1(std::string& text) {
    size_t out = 0;
    bool afterHighSurrogate = false;
    for (size_t in = 0; in + 1 < text.size(); in += 2) {
        const uint32_t unit = ByteAt(text, in) | ByteAt(text, in + 1) << 8;
        const bool endsPair = afterHighSurrogate && unit >= 0xDC00 && unit <= 0xDFFF;
        afterHighSurrogate = unit >= 0xD800 && unit <= 0xDBFF;
        if (!endsPair) text[out++] = unit <= 0xFF ? static_cast<char>(unit) : '?';
    }
    text.resize(out);
}

// The number of bytes of the character at `index`; 1 also for a byte that begins none.
size_t Utf8Length(std::string_view text, size_t index) {
    const uint32_t lead = ByteAt(text, index);
    if (lead < 0xC2 || lead > 0xF4) return 1;
    const size_t length = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    if (text.size() - index < length) return 1;
    for (size_t i = 1; i < length; ++i) {
        if ((ByteAt(text, index + i) & 0xC0) != 0x80) return 1;
    }
    return length;
}

void Utf8ToLatin1(std::string& text) {
    size_t out = 0;
    size_t length = 0;
    for (size_t in = 0; in < text.size(); in += length) {
        length = Utf8Length(text, in);
        const uint32_t lead = ByteAt(text, in);
        char character = '?';
        if (length == 1) {
            character = text[in];
        } else if (lead <= 0xC3) {
            character = static_cast<char>((lead & 3) << 6 | (ByteAt(text, in + 1) & 0x3F));
        }
        text[out++] = character;
    }
    text.resize(out);
}

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

bool IsTextType(uint32_t type) {
    return type == REG_SZ || type == REG_EXPAND_SZ;
}

// Nothing but a comment is left of the line.
bool IsEnd(std::string_view rest) {
    rest = Trimmed(rest);
    return rest.empty() || rest.front() == ';';
}

bool TakePrefix(std::string_view& rest, std::string_view prefix) {
    if (!SameName(rest.substr(0, prefix.size()), prefix)) return false;
    rest.remove_prefix(prefix.size());
    return true;
}

bool TakeHexNumber(std::string_view& rest, size_t maxDigits, uint32_t& number) {
    const char* begin = rest.data();
    const auto [end, error] = std::from_chars(begin, begin + rest.size(), number, 16);
    const auto digits = static_cast<size_t>(end - begin);
    if (error != std::errc() || digits > maxDigits) return false;
    rest.remove_prefix(digits);
    return true;
}

bool TakeQuoted(std::string_view& rest, std::string& text) {
    if (!rest.starts_with('"')) return false;
    for (size_t i = 1; i < rest.size(); ++i) {
        if (rest[i] == '"') {
            rest.remove_prefix(i + 1);
            return true;
        }
        const bool escapes =
            rest[i] == '\\' && i + 1 < rest.size() && (rest[i + 1] == '\\' || rest[i + 1] == '"');
        if (escapes) ++i;
        text.push_back(rest[i]);
    }
    return false;
}

bool TakeValueName(std::string_view& rest, std::string& name) {
    return TakePrefix(rest, "@") || TakeQuoted(rest, name);
}

// "hex:" or "hex(N):".
bool TakeHexType(std::string_view& rest, uint32_t& type) {
    type = REG_BINARY;
    if (!TakePrefix(rest, "hex")) return false;
    if (TakePrefix(rest, "(") && !(TakeHexNumber(rest, 8, type) && TakePrefix(rest, ")"))) {
        return false;
    }
    return TakePrefix(rest, ":");
}

bool IsKeyOrBeneath(std::string_view path, std::string_view key) {
    return SameName(path.substr(0, key.size()), key) &&
           (path.size() == key.size() || path[key.size()] == '\\');
}

class KeyReader {
public:
    KeyReader(std::string_view lines, std::string_view path, bool isUnicode)
        : rest(lines), wanted(path), hexTextIsUtf16(isUnicode) {}

    bool Read(std::vector<RegistryValue>& values) {
        std::string_view line;
        while (TakeLine(rest, line)) {
            line = Trimmed(line);
            if (line.starts_with('[')) {
                TakeKeyLine(line);
            } else if (inWantedKey) {
                TakeValueLine(line);
            }
        }
        for (std::optional<RegistryValue>& slot : slots) {
            if (slot) values.push_back(*std::move(slot));
        }
        return found;
    }

private:
    void TakeKeyLine(std::string_view line) {
        inWantedKey = false;
        if (!line.ends_with(']')) return;
        std::string_view key = line.substr(1, line.size() - 2);
        if (TakePrefix(key, "-")) {
            if (IsKeyOrBeneath(wanted, key)) Forget();
            return;
        }
        inWantedKey = SameName(key, wanted);
        found = found || IsKeyOrBeneath(key, wanted);
    }

    void Forget() {
        found = false;
        slots.clear();
        slotOfName.clear();
    }

    void TakeValueLine(std::string_view line) {
        RegistryValue value = {};
        if (!TakeValueName(line, value.name)) return;
        line = Trimmed(line);
        if (!TakePrefix(line, "=")) return;
        line = Trimmed(line);
        if (line.starts_with('-') && IsEnd(line.substr(1))) {
            Remove(value.name);
        } else if (TakeData(line, value)) {
            if (IsTextType(value.type) && !value.data.ends_with('\0')) value.data.push_back('\0');
            Store(std::move(value));
        }
    }

    bool TakeData(std::string_view line, RegistryValue& value) {
        if (line.starts_with('"')) {
            value.type = REG_SZ;
            return TakeQuoted(line, value.data) && IsEnd(line);
        }
        if (TakePrefix(line, "dword:")) {
            value.type = REG_DWORD;
            return TakeNumber(line, value.data);
        }
        if (!TakeHexType(line, value.type) || !TakeBytes(line, value.data)) return false;
        const bool holdsText = IsTextType(value.type) || value.type == REG_MULTI_SZ;
        if (holdsText && hexTextIsUtf16) Utf16ToLatin1(value.data);
        return true;
    }

    static bool TakeNumber(std::string_view line, std::string& data) {
        uint32_t number = 0;
        if (!TakeHexNumber(line, 2 * kBytesOfNumber, number) || !IsEnd(line)) return false;
        for (size_t i = 0; i < kBytesOfNumber; ++i) {
            data.push_back(static_cast<char>(number >> 8 * i));
        }
        return true;
    }

    bool TakeBytes(std::string_view line, std::string& data) {
        uint32_t byte = 0;
        while (!IsEnd(line)) {
            if (line == "\\") {
                line = TakeContinuation();
                continue;
            }
            if (!TakeHexNumber(line, 2, byte)) return false;
            data.push_back(static_cast<char>(byte));
            line = Trimmed(line);
            if (TakePrefix(line, ",")) line = Trimmed(line);
        }
        return true;
    }

    // A line that begins otherwise stays where it is: a value that was cut off must
    // not swallow the key line behind it.
    std::string_view TakeContinuation() {
        std::string_view behind = rest;
        std::string_view line;
        uint32_t byte = 0;
        if (!TakeLine(behind, line)) return {};
        line = Trimmed(line);
        std::string_view probe = line;
        if (!TakeHexNumber(probe, 2, byte)) return {};
        rest = behind;
        return line;
    }

    void Store(RegistryValue value) {
        const auto [entry, isNew] = slotOfName.try_emplace(FoldedName(value.name), slots.size());
        if (isNew) slots.emplace_back();
        slots[entry->second] = std::move(value);
    }

    void Remove(const std::string& name) {
        const auto entry = slotOfName.find(FoldedName(name));
        if (entry == slotOfName.end()) return;
        slots[entry->second].reset();
        slotOfName.erase(entry);
    }

    std::string_view rest;
    std::string_view wanted;
    bool hexTextIsUtf16;
    bool inWantedKey = false;
    bool found = false;
    std::vector<std::optional<RegistryValue>> slots;  // an empty one was removed
    std::map<std::string, size_t> slotOfName;         // names folded
};

}  // namespace

bool ReadRegistryKey(std::string text, std::string_view path, std::vector<RegistryValue>& values) {
    ToLatin1(text);
    std::string_view rest = text;
    std::string_view header;
    if (!TakeLine(rest, header)) return false;
    header = Trimmed(header);
    const bool isUnicode = header == kHeaderOfUnicode;
    if (!isUnicode && header != kHeaderOfBytes) return false;
    return KeyReader(rest, path, isUnicode).Read(values);
}
