// What the operations on dynamic arrays share: reaching text by cursor, and the
// search for a mark.
#ifndef DYNARRAY_VRSTR_H
#define DYNARRAY_VRSTR_H

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "core/vrmem.h"
#include "vr/walk.h"

namespace vr {

constexpr uint8_t kHighestByte = 255;

// A cursor counts from the length word, so it is an offset from the string itself.
inline uint8_t* At(VrString s, int32_t cursor) {
    return reinterpret_cast<uint8_t*>(s) + cursor;
}

// The longest text whose end is still a cursor.
constexpr int32_t kLongestText = INT32_MAX - kVrFirstCursor;

// A length word below 0 counts as 0.
inline int32_t LengthOf(VrString s) {
    return std::clamp(s->length, 0, kLongestText);
}

inline int32_t EndCursor(VrString s) {
    return LengthOf(s) + kVrFirstCursor;
}

inline int32_t ClampCursor(int32_t cursor, int32_t end) {
    return std::clamp(cursor, static_cast<int32_t>(kVrFirstCursor), end);
}

// Bytes that end an element: all from `lowest` to `highest`.
struct StopBytes {
    uint8_t lowest;
    uint8_t highest;
};

// The first stop byte from `from` on, or `end`. One byte alone is what the
// standard library searches for fastest; a range is one comparison, since a byte
// below it wraps round to a large difference.
inline const uint8_t* FindStop(const uint8_t* from, const uint8_t* end, StopBytes stops) {
    const auto room = static_cast<size_t>(end - from);
    if (stops.lowest == stops.highest) {
        const void* found = room == 0 ? nullptr : std::memchr(from, stops.lowest, room);
        return found == nullptr ? end : static_cast<const uint8_t*>(found);
    }
    const auto span = static_cast<uint8_t>(stops.highest - stops.lowest);
    return std::find_if(from, end, [stops, span](uint8_t byte) {
        return static_cast<uint8_t>(byte - stops.lowest) <= span;
    });
}

// A new string of the bytes at `text`.
inline VrString StringOf(const uint8_t* text, size_t length, const char* tag, int32_t line) {
    VrString s = _alloc_string(static_cast<uint32_t>(length), tag, line);
    if (length != 0) std::memcpy(VrStrText(s), text, length);
    return s;
}

}  // namespace vr

#endif
