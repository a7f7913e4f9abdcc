// The two scans by which an element is found: forward over marks of one level to
// the end of the enclosing element, and backward over attribute marks. Far from the
// target they count marks a block at a time, which costs the same however many
// there are; in the block of the target they look at each mark.

#include "dynarray/Marks.h"
#include "dynarray/Vrstr.h"
#include "vr/edit.h"

namespace {

constexpr int32_t kBlockSteps = 16;
constexpr int32_t kBlockBytes = kBlockSteps * vr::kStepBytes;
constexpr int32_t kNearBytes = 4 * vr::kStepBytes;

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
    const __m128i sums = _mm_sad_epu8(counts, _mm_setzero_si128());
    const int32_t marks =
        _mm_cvtsi128_si32(sums) + _mm_cvtsi128_si32(_mm_unpackhi_epi64(sums, sums));
    return {marks, vr::BitsOf(_mm_cmpeq_epi8(highest, mark)) != 0xFFFF};
}

// What a scan forward still looks for.
struct Wanted {
    uint8_t mark;
    bool higherStops;
    bool toTheEnd;  // all marks, which are not counted
    int32_t marks;  // until the scan is over
};

// Passes whole blocks that hold neither the last mark wanted nor a byte that stops.
const uint8_t* PassBlocks(const uint8_t* p, const uint8_t* end, Wanted& wanted) {
    const __m128i mark = vr::AllBytes(wanted.mark);
    for (; end - p >= kBlockBytes; p += kBlockBytes) {
        const Block block = LookAtBlock(p, mark);
        if (wanted.higherStops && block.hasHigher) break;
        if (wanted.toTheEnd) continue;
        if (block.marks >= wanted.marks) break;
        wanted.marks -= block.marks;
    }
    return p;
}

// Whether the byte ends the scan. Where the scan is left: at a byte that stops it, and
// behind the last mark.
bool EndsAt(const uint8_t*& p, Wanted& wanted) {
    if (*p != wanted.mark) return true;
    if (wanted.toTheEnd || --wanted.marks != 0) return false;
    ++p;
    return true;
}

// Looks at each mark up to `end`. True when the scan is over, which leaves `p` there.
bool PassSteps(const uint8_t*& p, const uint8_t* end, Wanted& wanted) {
    const __m128i mark = vr::AllBytes(wanted.mark);
    for (; end - p >= vr::kStepBytes; p += vr::kStepBytes) {
        const __m128i bytes = vr::LoadStep(p);
        // The higher one of a byte and the mark is the byte where it counts or stops.
        const __m128i compared = wanted.higherStops ? _mm_max_epu8(bytes, mark) : mark;
        for (uint32_t hits = vr::BitsOf(_mm_cmpeq_epi8(compared, bytes)); hits != 0;
             hits &= hits - 1) {
            const uint8_t* hit = p + std::countr_zero(hits);
            if (!EndsAt(hit, wanted)) continue;
            p = hit;
            return true;
        }
    }
    for (; p != end; ++p) {
        const bool counts = *p == wanted.mark || (wanted.higherStops && *p > wanted.mark);
        if (counts && EndsAt(p, wanted)) return true;
    }
    return false;
}

const uint8_t* PassBlocksBack(const uint8_t* p, const uint8_t* begin, uint32_t& marks) {
    const __m128i mark = vr::AllBytes(kVrAttributeMark);
    for (; p - begin >= kBlockBytes; p -= kBlockBytes) {
        const auto passed = static_cast<uint32_t>(LookAtBlock(p - kBlockBytes, mark).marks);
        if (passed >= marks) break;
        marks -= passed;
    }
    return p;
}

}  // namespace

// Most scans go to the next element or the one behind it, for which no block is needed.
const uint8_t* vr::PassMarks(const uint8_t* p, const uint8_t* end, uint8_t mark, int32_t& marks,
                             HigherBytes higher) {
    if (marks == 0) return p;
    Wanted wanted = {mark, higher == HigherBytes::Stop, marks < 0, marks};
    const bool isFar = end - p > kNearBytes + kBlockBytes;
    if (!isFar || !PassSteps(p, p + kNearBytes, wanted)) {
        if (isFar) p = PassBlocks(p, end, wanted);
        PassSteps(p, end, wanted);
    }
    marks = wanted.marks;
    return p;
}

const uint8_t* vr::PassMarksBack(const uint8_t* p, const uint8_t* begin, uint32_t& marks) {
    p = PassBlocksBack(p, begin, marks);
    const __m128i mark = AllBytes(kVrAttributeMark);
    for (; p - begin >= kStepBytes; p -= kStepBytes) {
        uint32_t hits = BitsOf(_mm_cmpeq_epi8(LoadStep(p - kStepBytes), mark));
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
