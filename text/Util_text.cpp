// Text helpers on plain bytes, independent of the locale. core/Text.cpp folds the case.

#define VR_MODULE "Util"

#include <algorithm>
#include <cstring>

#include "core/Text.h"
#include "core/vrmem.h"
#include "vr/text.h"

namespace {

constexpr uint8_t kLowHalf = 0x0F;
constexpr size_t kCommandSize = 256;

char commandArea[kCommandSize];

// Both directions are computed and not looked up, so that the compiler handles many digits in a
// step.
uint8_t HexDigit(int value) {
    return static_cast<uint8_t>(value + (value < 10 ? '0' : 'A' - 10));
}

uint8_t DigitValue(char digit) {
    const auto byte = static_cast<uint8_t>(digit);
    const auto letter = static_cast<uint8_t>((byte & ~uint8_t{vr::kCaseDistance}) - 'A');
    return letter < 6 ? static_cast<uint8_t>(letter + 10) : byte & kLowHalf;
}

bool IsBlank(char c) {
    return c == ' ' || c == '\t';
}

char* ToCommandArea(const char* text, size_t length) {
    length = std::min(length, kCommandSize - 1);
    std::memmove(commandArea, text, length);
    commandArea[length] = '\0';
    return commandArea;
}

size_t VerbLength(const char* text) {
    return std::strcspn(text, " \t");
}

}  // namespace

int32_t findchar(const char* text, unsigned char character, uint32_t occurrence) {
    if (text == nullptr || character == 0 || occurrence == 0) return -1;
    const char* found = std::strchr(text, character);
    while (found != nullptr && --occurrence != 0)
        found = std::strchr(found + 1, character);
    return found == nullptr ? -1 : static_cast<int32_t>(found - text);
}

VrString HexString(const void* bytes, int32_t length) {
    if (length <= 0) return vr::NullString();
    VrString s = alloc_string(2 * static_cast<uint32_t>(length));
    uint8_t* digits = VrStrText(s);
    const auto* byte = static_cast<const uint8_t*>(bytes);
    for (int32_t i = 0; i < length; ++i) {
        digits[2 * i] = HexDigit(byte[i] >> 4);
        digits[2 * i + 1] = HexDigit(byte[i] & kLowHalf);
    }
    return s;
}

VrString BinaryString(const char* digits, int32_t length) {
    if (length <= 1) return vr::NullString();
    VrString s = alloc_string(static_cast<uint32_t>(length / 2));
    uint8_t* byte = VrStrText(s);
    for (int32_t i = 0; i < length / 2; ++i) {
        const int high = DigitValue(digits[2 * i]) << 4;
        byte[i] = static_cast<uint8_t>(high | DigitValue(digits[2 * i + 1]));
    }
    return s;
}

char* GetCommandVerb(const char* text) {
    return ToCommandArea(text, VerbLength(text));
}

char* GetCommandParams(const char* text) {
    const char* rest = text + VerbLength(text);
    while (IsBlank(*rest))
        ++rest;
    return ToCommandArea(rest, std::strlen(rest));
}
