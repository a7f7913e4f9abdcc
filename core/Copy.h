// Copying bytes that are mostly few.
#ifndef CORE_COPY_H
#define CORE_COPY_H

#include <emmintrin.h>

#include <cstdint>
#include <cstring>

namespace vr {

// Copies a few bytes without a call: two loads and stores that overlap. Longer copies are left to
// the standard library.
inline void CopyBytes(uint8_t* to, const uint8_t* from, size_t length) {
    const auto copyEnds = [=](auto piece) {
        auto last = piece;
        std::memcpy(&piece, from, sizeof piece);
        std::memcpy(&last, from + length - sizeof last, sizeof last);
        std::memcpy(to, &piece, sizeof piece);
        std::memcpy(to + length - sizeof last, &last, sizeof last);
    };
    if (length > 2 * sizeof(__m128i)) {
        std::memcpy(to, from, length);
    } else if (length >= sizeof(__m128i)) {
        copyEnds(__m128i{});
    } else if (length >= sizeof(uint64_t)) {
        copyEnds(uint64_t{});
    } else if (length >= sizeof(uint32_t)) {
        copyEnds(uint32_t{});
    } else {
        for (size_t i = 0; i < length; ++i)
            to[i] = from[i];
    }
}

}  // namespace vr

#endif
