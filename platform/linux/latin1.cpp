// Each character is written where an earlier one was read.

#include "linux/latin1.h"

#include <cstdint>
#include <string_view>

namespace vrplatform {

namespace {

uint32_t ByteAt(std::string_view text, size_t index) {
    return static_cast<unsigned char>(text[index]);
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

}  // namespace

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

}  // namespace vrplatform
