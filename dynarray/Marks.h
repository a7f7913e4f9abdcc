// Looking for marks sixteen bytes at a step, as the baseline of the processor has it.
// A step never reads beyond the text: what is shorter is passed byte by byte.
#ifndef DYNARRAY_MARKS_H
#define DYNARRAY_MARKS_H

#include <emmintrin.h>

#include <bit>
#include <cstdint>

namespace vr {

constexpr int32_t kStepBytes = 16;

inline __m128i LoadStep(const uint8_t* p) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}

inline __m128i AllBytes(uint8_t byte) {
    return _mm_set1_epi8(static_cast<char>(byte));
}

// Bit n tells of byte n.
inline uint32_t BitsOf(__m128i matches) {
    return static_cast<uint32_t>(_mm_movemask_epi8(matches));
}

// Bytes that end an element: all from `lowest` to `highest`.
struct StopBytes {
    uint8_t lowest;
    uint8_t highest;

    constexpr uint8_t Span() const {
        return static_cast<uint8_t>(highest - lowest);
    }
};

// The first stop byte from `from` on, or `end`. A range is one comparison, since a byte
// below it wraps round to a large difference.
inline const uint8_t* FindStop(const uint8_t* from, const uint8_t* end, StopBytes stops) {
    const __m128i lowest = AllBytes(stops.lowest);
    const __m128i span = AllBytes(stops.Span());
    for (; end - from >= kStepBytes; from += kStepBytes) {
        const __m128i distance = _mm_sub_epi8(LoadStep(from), lowest);
        const uint32_t hits = BitsOf(_mm_cmpeq_epi8(_mm_min_epu8(distance, span), distance));
        if (hits != 0) return from + std::countr_zero(hits);
    }
    while (from != end && static_cast<uint8_t>(*from - stops.lowest) > stops.Span())
        ++from;
    return from;
}

enum class HigherBytes { Stop, Pass };

// Passes `marks` bytes `mark` (all of them when it is negative) from `p`, and stops at
// `end` or, if they are to stop it, at a higher byte. Takes those passed off `marks`.
const uint8_t* PassMarks(const uint8_t* p, const uint8_t* end, uint8_t mark, int32_t& marks,
                         HigherBytes higher);

// Goes down from `p` until `marks` attribute marks are crossed, and returns the place
// behind the last of them, or `begin` with those left over in `marks`.
const uint8_t* PassMarksBack(const uint8_t* p, const uint8_t* begin, uint32_t& marks);

}  // namespace vr

#endif
