// Text of unknown origin on its way to a terminal.

#include <cstdlib>
#include <cstring>

#include "linux/textfile.h"
#include "platform/text.h"

namespace vrplatform {

namespace {

constexpr char kMask = '.';

// As the C library chooses the variable, without its tables of locales.
bool IsUtf8Locale() {
    for (const char* variable : {"LC_ALL", "LC_CTYPE", "LANG"}) {
        const char* value = std::getenv(variable);
        if (value == nullptr || *value == '\0') continue;
        const char* dot = std::strchr(value, '.');
        return dot != nullptr && (SameName(dot, ".UTF-8") || SameName(dot, ".UTF8"));
    }
    return false;
}

bool IsControl(unsigned char byte) {
    return byte < 32 || byte == 127;
}

bool IsC1(unsigned char byte) {
    return byte >= 0x80 && byte <= 0x9F;
}

// How many bytes a character of UTF-8 has by its first one; 0 for a byte that begins none.
uint32_t LengthByFirst(unsigned char byte) {
    if (byte >= 0xC2 && byte <= 0xDF) return 2;
    if (byte >= 0xE0 && byte <= 0xEF) return 3;
    return byte >= 0xF0 && byte <= 0xF4 ? 4 : 0;
}

// The length of the character of UTF-8 there; 0 when there is none, or a control.
uint32_t CharacterAt(const unsigned char* text, uint32_t length) {
    const uint32_t wanted = LengthByFirst(*text);
    if (wanted == 0 || wanted > length) return 0;
    for (uint32_t i = 1; i < wanted; ++i) {
        if ((text[i] & 0xC0) != 0x80) return 0;
    }
    return text[0] == 0xC2 && IsC1(text[1]) ? 0 : wanted;
}

}  // namespace

}  // namespace vrplatform

using namespace vrplatform;

void MaskControls(char* text, uint32_t length, const char* kept) {
    const bool utf8 = IsUtf8Locale();
    auto* bytes = reinterpret_cast<unsigned char*>(text);
    for (uint32_t at = 0; at < length;) {
        const uint32_t character = utf8 ? CharacterAt(bytes + at, length - at) : 0;
        const unsigned char byte = bytes[at];
        const bool isKept = byte != 0 && std::strchr(kept, byte) != nullptr;
        if (character == 0 && !isKept && (IsControl(byte) || IsC1(byte))) text[at] = kMask;
        at += character == 0 ? 1 : character;
    }
}
