// What the operations on dynamic arrays share: reaching text by cursor.
#ifndef DYNARRAY_VRSTR_H
#define DYNARRAY_VRSTR_H

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "core/Copy.h"
#include "core/vrmem.h"
#include "dynarray/Marks.h"
#include "vr/walk.h"

namespace vr {

constexpr uint8_t kHighestByte = 255;

// A cursor counts from the length word, so it is an offset from the string itself. Worked
// out as a number, since the end that a host names for a scan may lie beyond all addresses.
inline uint8_t* At(VrString s, int32_t cursor) {
    return reinterpret_cast<uint8_t*>(reinterpret_cast<uintptr_t>(s) +
                                      static_cast<uintptr_t>(cursor));
}

// The longest text whose end is still a cursor.
constexpr int32_t kLongestText = INT32_MAX - kVrFirstCursor;

// A length word below 0 counts as 0. It may stand at any address.
inline int32_t LengthOf(VrString s) {
    const int32_t length = s->length;
    return std::clamp(length, int32_t{0}, kLongestText);
}

inline int32_t EndCursor(VrString s) {
    return LengthOf(s) + kVrFirstCursor;
}

inline int32_t ClampCursor(int32_t cursor, int32_t end) {
    return std::clamp(cursor, static_cast<int32_t>(kVrFirstCursor), end);
}

// A stretch of text; one without a start stands for "nothing found".
struct Range {
    const uint8_t* start;
    const uint8_t* end;

    size_t Size() const {
        return static_cast<size_t>(end - start);
    }
};

// The attribute as get_field takes it.
Range FindAttribute(int32_t number, VrString s);

}  // namespace vr

#endif
