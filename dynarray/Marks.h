// Looking for marks sixteen bytes at a step, as the baseline of the processor has it. A step never
// reads beyond the text: fewer bytes are searched one by one.
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

// Bit n stands for byte n.
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

// Finds the stop bytes of a step. A range is one comparison, since a byte below it wraps
// round to a large difference.
class StopFinder {
public:
    explicit StopFinder(StopBytes stops)
        : lowest_(AllBytes(stops.lowest)), span_(AllBytes(stops.Span())), stops_(stops) {}

    uint32_t BitsIn(__m128i step) const {
        const __m128i distance = _mm_sub_epi8(step, lowest_);
        return BitsOf(_mm_cmpeq_epi8(_mm_min_epu8(distance, span_), distance));
    }
    bool Is(uint8_t byte) const {
        return static_cast<uint8_t>(byte - stops_.lowest) <= stops_.Span();
    }

private:
    __m128i lowest_;
    __m128i span_;
    StopBytes stops_;
};

// The first stop byte from `from` on, or `end`.
inline const uint8_t* FindStop(const uint8_t* from, const uint8_t* end, StopBytes stops) {
    const StopFinder finder(stops);
    for (; end - from >= 2 * kStepBytes; from += 2 * kStepBytes) {  // two steps, one decision
        const uint32_t hits = finder.BitsIn(LoadStep(from)) |
                              finder.BitsIn(LoadStep(from + kStepBytes)) << kStepBytes;
        if (hits != 0) return from + std::countr_zero(hits);
    }
    if (end - from >= kStepBytes) {
        const uint32_t hits = finder.BitsIn(LoadStep(from));
        if (hits != 0) return from + std::countr_zero(hits);
        from += kStepBytes;
    }
    while (from != end && !finder.Is(*from))
        ++from;
    return from;
}

// The place after the last stop byte before `from`, or `begin`.
inline const uint8_t* FindStopBack(const uint8_t* from, const uint8_t* begin, StopBytes stops) {
    const StopFinder finder(stops);
    for (; from - begin >= kStepBytes; from -= kStepBytes) {
        const uint32_t hits = finder.BitsIn(LoadStep(from - kStepBytes));
        if (hits != 0) return from - kStepBytes + std::bit_width(hits);
    }
    while (from != begin && !finder.Is(from[-1]))
        --from;
    return from;
}

// As FindStop, and copies what is in front of the stop byte to `to`, which has room for all up to
// `end` and may hold more of the text than that afterwards.
inline const uint8_t* CopyToStop(uint8_t* to, const uint8_t* from, const uint8_t* end,
                                 StopBytes stops) {
    const StopFinder finder(stops);
    for (; end - from >= kStepBytes; from += kStepBytes, to += kStepBytes) {
        const __m128i step = LoadStep(from);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(to), step);
        const uint32_t hits = finder.BitsIn(step);
        if (hits != 0) return from + std::countr_zero(hits);
    }
    while (from != end && !finder.Is(*from))
        *to++ = *from++;
    return from;
}

enum class HigherBytes { Stop, Pass };

// Passes `marks` bytes `mark` (all of them when it is negative) from `p`, and stops at
// `end` or, if they are to stop it, at a higher byte. Takes those passed off `marks`.
const uint8_t* PassMarks(const uint8_t* p, const uint8_t* end, uint8_t mark, int32_t& marks,
                         HigherBytes higher);

// Goes down from `p` until `marks` attribute marks are crossed, and returns the place after the
// last of them, or `begin` with those left over in `marks`.
const uint8_t* PassMarksBack(const uint8_t* p, const uint8_t* begin, uint32_t& marks);

}  // namespace vr

#endif
