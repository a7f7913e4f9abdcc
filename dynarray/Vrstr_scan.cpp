// The two scans by which an element is found: forward over marks of one level to
// the end of the enclosing element, and backward over attribute marks. Both pass
// plain text four bytes at a step: marks have the top bit set, so a word without
// any top bit holds none.

#include <cstring>

#include "dynarray/Vrstr.h"
#include "vr/edit.h"

namespace {

constexpr int32_t kWordBytes = 4;
constexpr uint8_t kTopBit = 0x80;
constexpr uint32_t kTopBits = 0x80808080;

bool IsPlainWord(const uint8_t* bytes) {
    uint32_t word = 0;
    std::memcpy(&word, bytes, sizeof word);
    return (word & kTopBits) == 0;
}

// Passes `marks` marks (all of them when it is negative) from `p`, and stops at a
// higher byte or at `end`. Takes those passed off `marks`. A mark without the top
// bit can hide in a plain word, so only a true mark lets words be skipped.
const uint8_t* PassMarks(const uint8_t* p, const uint8_t* end, uint8_t mark, int32_t& marks) {
    const bool byWords = (mark & kTopBit) != 0;
    const bool toTheEnd = marks < 0;
    while (p != end && marks != 0) {
        if (byWords && end - p >= kWordBytes && IsPlainWord(p)) {
            p += kWordBytes;
            continue;
        }
        if (*p > mark) break;
        if (*p == mark && !toTheEnd) --marks;
        ++p;
    }
    return p;
}

// Goes down from `p` until `marks` attribute marks are crossed, and returns the
// place behind the last of them, or `begin` with those left over in `marks`.
const uint8_t* PassMarksBack(const uint8_t* p, const uint8_t* begin, uint32_t& marks) {
    while (p != begin) {
        if (p - begin >= kWordBytes && IsPlainWord(p - kWordBytes)) {
            p -= kWordBytes;
            continue;
        }
        if (p[-1] == kVrAttributeMark && --marks == 0) break;
        --p;
    }
    return p;
}

}  // namespace

int32_t ScanStr(VrString s, int32_t cursor, int32_t length, unsigned char mark, int32_t* count) {
    length = std::clamp(length, 0, vr::kLongestText);
    const int32_t end = length + kVrFirstCursor;
    const uint8_t* from = vr::At(s, vr::ClampCursor(cursor, end));
    int32_t marks = *count > INT32_MIN ? *count - 1 : *count;

    const uint8_t* reached = PassMarks(from, vr::At(s, end), mark, marks);
    const auto reachedCursor = static_cast<int32_t>(reached - vr::At(s, 0));
    // An append needs a mark in front of it unless the enclosing element is empty,
    // which shows in what stands before: the start of the text or an outer mark.
    if (marks < 0 && length != 0 && reachedCursor > kVrFirstCursor && reached[-1] <= mark) {
        marks = 1;
    }
    *count = marks;
    return reachedCursor;
}

int32_t SkipBackNAttrs(VrString s, int32_t cursor, int32_t* count) {
    if (cursor <= kVrFirstCursor || *count <= 0) return cursor;
    // The first mark to cross is the one in front of the attribute at `cursor`.
    uint32_t marks = static_cast<uint32_t>(*count) + 1;
    const uint8_t* reached = PassMarksBack(vr::At(s, vr::ClampCursor(cursor, vr::EndCursor(s))),
                                           vr::At(s, kVrFirstCursor), marks);
    // The first attribute has no mark in front: one left over is none short.
    *count = marks > 1 ? static_cast<int32_t>(marks - 1) : 0;
    return static_cast<int32_t>(reached - vr::At(s, 0));
}
