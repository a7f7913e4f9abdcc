// Reading by number. One search finds an element inside a range of bytes; the
// levels of a dynamic array are that search three times, each inside what the one
// before found.

#define VR_MODULE "Extract"

#include "vr/extract.h"

#include <algorithm>
#include <cstring>

#include "core/vrmem_check.h"
#include "dynarray/Vrstr.h"

namespace {

constexpr char kBlank = ' ';

// A stretch of text; one without a start stands for "nothing found".
struct Range {
    const uint8_t* start;
    const uint8_t* end;
};

size_t SizeOf(const Range& range) {
    return static_cast<size_t>(range.end - range.start);
}

VrString CopyOf(const Range& range) {
    return vr::StringOf(range.start, SizeOf(range), VR_MODULE, __LINE__);
}

// Numbers of 1 and below take the first element.
Range FindElement(int32_t number, uint8_t mark, Range in) {
    if (number > 1) {
        int32_t marks = number - 1;
        in.start = vr::PassMarks(in.start, in.end, mark, marks, vr::HigherBytes::Pass);
        if (marks != 0) return {};
    }
    return {in.start, vr::FindStop(in.start, in.end, {mark, mark})};
}

Range FindPlace(int32_t attribute, int32_t value, int32_t subvalue, VrString s) {
    const uint8_t* text = VrStrText(s);
    Range found = FindElement(attribute, kVrAttributeMark, {text, text + vr::LengthOf(s)});
    if (found.start == nullptr || value == 0) return found;
    found = FindElement(value, kVrValueMark, found);
    if (found.start == nullptr || subvalue == 0) return found;
    return FindElement(subvalue, kVrSubvalueMark, found);
}

// Moves the text down over the length word. An empty string is one of a zero
// length word, and so reads as empty text as it is.
char* TextInPlace(VrString s) {
    auto* text = reinterpret_cast<char*>(s);
    if (s->length == 0) return text;
    std::memmove(text, VrStrText(s), static_cast<size_t>(s->length) + 1);
    if constexpr (vr::check::kOn) vr::check::BecameText(s);
    return text;
}

char* TextBlock(const char* text, size_t length) {
    auto* block = static_cast<char*>(alloc_memory(static_cast<uint32_t>(length) + 1));
    std::memcpy(block, text, length);
    return block;
}

// Marks separate, so there is one item more than there are marks.
int32_t CountItems(const uint8_t* data, int32_t length, uint8_t mark) {
    if (length <= 0) return 0;
    return 1 + static_cast<int32_t>(std::count(data, data + length, mark));
}

}  // namespace

VrString extract_field(int32_t attribute, int32_t value, int32_t subvalue, VrString s) {
    return CopyOf(FindPlace(attribute, value, subvalue, s));
}

VrString extract_tail(int32_t attribute, int32_t value, int32_t subvalue, VrString s) {
    Range found = FindPlace(attribute, value, subvalue, s);
    if (found.start != nullptr) found.end = VrStrText(s) + vr::LengthOf(s);
    return CopyOf(found);
}

VrString get_field(int32_t attribute, VrString s) {
    return extract_field(attribute, 0, 0, s);
}

char* get_field_string(int32_t attribute, VrString s) {
    return TextInPlace(get_field(attribute, s));
}

char* get_tail_string(int32_t attribute, VrString s) {
    return TextInPlace(extract_tail(attribute, 0, 0, s));
}

VrString get_field_at_pos(int32_t offset, VrString s) {
    if (offset < 0 || offset >= s->length) return vr::NullString();
    const uint8_t* text = VrStrText(s);
    return CopyOf(FindElement(1, kVrAttributeMark, {text + offset, text + vr::LengthOf(s)}));
}

char* get_text_word(int32_t* offset, const char* text) {
    const size_t length = text == nullptr ? 0 : std::strlen(text);
    if (*offset < 0 || static_cast<size_t>(*offset) >= length) return TextBlock("", 0);
    const char* start = text + *offset;
    while (*start == kBlank)
        ++start;
    const char* end = std::find(start, text + length, kBlank);
    *offset = static_cast<int32_t>(end - text);
    return TextBlock(start, static_cast<size_t>(end - start));
}

char* get_text_field(const char* text, unsigned char delimiter, int32_t number) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(text);
    const Range field = FindElement(number, delimiter, {bytes, bytes + std::strlen(text)});
    if (field.start == nullptr) return TextBlock("", 0);
    return TextBlock(reinterpret_cast<const char*>(field.start), SizeOf(field));
}

int32_t value_count(const unsigned char* data, int32_t length) {
    return CountItems(data, length, kVrValueMark);
}

int32_t field_count(const unsigned char* data, int32_t length) {
    return CountItems(data, length, kVrAttributeMark);
}

int32_t item_count(VrString s, unsigned char delimiter) {
    return CountItems(VrStrText(s), s->length, delimiter);
}
