// The two scans by which an element is found: forward over marks of one level to
// the end of the enclosing element, and backward over attribute marks. Far from the
// target they count marks a block at a time, which costs the same however many
// there are; in the block of the target they look at each mark.

#include "dynarray/Marks.h"
#include "dynarray/Vrstr.h"
#include "vr/edit.h"

namespace {

constexpr int32_t kBlockSteps = 8;
constexpr int32_t kBlockBytes = kBlockSteps * vr::kStepBytes;

struct Block {
    int32_t marks;
    bool hasHigher;  // than the mark
};

// Each byte of a match is -1, so subtracting matches counts them, place by place; the
// places are then added up.
Block LookAtBlock(const uint8_t* p, __m128i mark) {
    __m128i counts = _mm_setzero_si128();
    __m128i highest = mark;
    for (int32_t step = 0; step < kBlockSteps; ++step) {
        const __m128i bytes = vr::LoadStep(p + step * vr::kStepBytes);
        counts = _mm_sub_epi8(counts, _mm_cmpeq_epi8(bytes, mark));
        highest = _mm_max_epu8(highest, bytes);
    }
    const __m128i halves = _mm_sad_epu8(counts, _mm_setzero_si128());
    const int32_t marks =
        _mm_cvtsi128_si32(halves) + _mm_cvtsi128_si32(_mm_unpackhi_epi64(halves, halves));
    return {marks, vr::BitsOf(_mm_cmpeq_epi8(highest, mark)) != 0xFFFF};
}

// Passes whole blocks that hold neither the last mark wanted nor a byte that stops.
const uint8_t* PassBlocks(const uint8_t* p, const uint8_t* end, __m128i mark, int32_t& marks,
                          bool higherStops) {
    for (; end - p >= kBlockBytes && marks != 0; p += kBlockBytes) {
        const Block block = LookAtBlock(p, mark);
        if (higherStops && block.hasHigher) break;
        if (marks < 0) continue;
        if (block.marks >= marks) break;
        marks -= block.marks;
    }
    return p;
}

}  // namespace

const uint8_t* vr::PassMarks(const uint8_t* p, const uint8_t* end, uint8_t mark, int32_t& marks,
                             HigherBytes higher) {
    const bool toTheEnd = marks < 0;
    const bool higherStops = higher == HigherBytes::Stop;
    const __m128i wanted = AllBytes(mark);
    p = PassBlocks(p, end, wanted, marks, higherStops);
    for (; end - p >= kStepBytes && marks != 0; p += kStepBytes) {
        const __m128i bytes = LoadStep(p);
        // The higher one of a byte and the mark is the byte where it counts or stops.
        const __m128i compared = higherStops ? _mm_max_epu8(bytes, wanted) : wanted;
        uint32_t hits = BitsOf(_mm_cmpeq_epi8(compared, bytes));
        for (; hits != 0; hits &= hits - 1) {
            const uint8_t* hit = p + std::countr_zero(hits);
            if (*hit != mark) return hit;
            if (!toTheEnd && --marks == 0) return hit + 1;
        }
    }
    for (; p != end && marks != 0; ++p) {
        if (higherStops && *p > mark) break;
        if (*p == mark && !toTheEnd) --marks;
    }
    return p;
}

const uint8_t* vr::PassMarksBack(const uint8_t* p, const uint8_t* begin, uint32_t& marks) {
    const __m128i wanted = AllBytes(kVrAttributeMark);
    for (; p - begin >= kBlockBytes; p -= kBlockBytes) {
        const auto passed = static_cast<uint32_t>(LookAtBlock(p - kBlockBytes, wanted).marks);
        if (passed >= marks) break;
        marks -= passed;
    }
    for (; p - begin >= kStepBytes; p -= kStepBytes) {
        uint32_t hits = BitsOf(_mm_cmpeq_epi8(LoadStep(p - kStepBytes), wanted));
        while (hits != 0) {
            const auto last = static_cast<uint32_t>(std::bit_width(hits)) - 1;
            if (--marks == 0) return p - kStepBytes + last + 1;
            hits ^= 1U << last;
        }
    }
    for (; p != begin; --p) {
        if (p[-1] == kVrAttributeMark && --marks == 0) break;
    }
    return p;
}

int32_t ScanStr(VrString s, int32_t cursor, int32_t length, unsigned char mark, int32_t* count) {
    length = std::clamp(length, 0, vr::kLongestText);
    const int32_t end = length + kVrFirstCursor;
    const uint8_t* from = vr::At(s, vr::ClampCursor(cursor, end));
    int32_t marks = *count > INT32_MIN ? *count - 1 : *count;

    const uint8_t* reached =
        vr::PassMarks(from, vr::At(s, end), mark, marks, vr::HigherBytes::Stop);
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
    const uint8_t* from = vr::At(s, vr::ClampCursor(cursor, vr::EndCursor(s)));
    const uint8_t* reached = vr::PassMarksBack(from, vr::At(s, kVrFirstCursor), marks);
    // The first attribute has no mark in front: one left over is none short.
    *count = marks > 1 ? static_cast<int32_t>(marks - 1) : 0;
    return static_cast<int32_t>(reached - vr::At(s, 0));
}
