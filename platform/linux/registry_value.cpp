// A value is a name, an equals sign and its data: a quoted text, a number, or bytes in
// hexadecimal, which a backslash at the end of a line carries on to the next one.

#include "linux/registry_value.h"

#include <charconv>

#include "linux/latin1.h"
#include "linux/textfile.h"
#include "platform/registry.h"

namespace vrplatform {

namespace {

constexpr size_t kBytesOfNumber = 4;

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

// "hex:" or "hex(N):".
bool TakeHexType(std::string_view& rest, uint32_t& type) {
    type = REG_BINARY;
    if (!TakePrefix(rest, "hex")) return false;
    if (TakePrefix(rest, "(") && !(TakeHexNumber(rest, 8, type) && TakePrefix(rest, ")"))) {
        return false;
    }
    return TakePrefix(rest, ":");
}

bool TakeNumber(std::string_view line, std::string& data) {
    uint32_t number = 0;
    if (!TakeHexNumber(line, 2 * kBytesOfNumber, number) || !IsEnd(line)) return false;
    for (size_t i = 0; i < kBytesOfNumber; ++i) {
        data.push_back(static_cast<char>(number >> 8 * i));
    }
    return true;
}

// The next line, if it continues the bytes. Any other line is left: a value that was cut off must
// not swallow the key line after it.
std::string_view TakeContinuation(std::string_view& text) {
    std::string_view after = text;
    std::string_view line;
    uint32_t byte = 0;
    if (!TakeLine(after, line)) return {};
    line = Trimmed(line);
    std::string_view probe = line;
    if (!TakeHexNumber(probe, 2, byte)) return {};
    text = after;
    return line;
}

bool TakeBytes(std::string_view line, std::string_view& text, std::string& data) {
    uint32_t byte = 0;
    while (!IsEnd(line)) {
        if (line == "\\") {
            line = TakeContinuation(text);
            continue;
        }
        if (!TakeHexNumber(line, 2, byte)) return false;
        data.push_back(static_cast<char>(byte));
        line = Trimmed(line);
        if (TakePrefix(line, ",")) line = Trimmed(line);
    }
    return true;
}

// `text` is what follows the line.
bool TakeData(std::string_view line, std::string_view& text, bool isUnicode, RegistryValue& value) {
    if (line.starts_with('"')) {
        value.type = REG_SZ;
        return TakeQuoted(line, value.data) && IsEnd(line);
    }
    if (TakePrefix(line, "dword:")) {
        value.type = REG_DWORD;
        return TakeNumber(line, value.data);
    }
    if (!TakeHexType(line, value.type) || !TakeBytes(line, text, value.data)) return false;
    const bool holdsText = IsTextType(value.type) || value.type == REG_MULTI_SZ;
    if (holdsText && isUnicode) Utf16ToLatin1(value.data);
    return true;
}

}  // namespace

bool TakeValueName(std::string_view& line, std::string& name) {
    line = Trimmed(line);
    return TakePrefix(line, "@") || TakeQuoted(line, name);
}

ValueLine TakeValue(std::string_view& text, bool isUnicode, RegistryValue& value) {
    std::string_view line;
    TakeLine(text, line);
    if (!TakeValueName(line, value.name)) return ValueLine::Nothing;
    line = Trimmed(line);
    if (!TakePrefix(line, "=")) return ValueLine::Nothing;
    line = Trimmed(line);
    if (line.starts_with('-') && IsEnd(line.substr(1))) return ValueLine::Remove;
    if (!TakeData(line, text, isUnicode, value)) return ValueLine::Nothing;
    if (IsTextType(value.type) && !value.data.ends_with('\0')) value.data.push_back('\0');
    return ValueLine::Set;
}

}  // namespace vrplatform
