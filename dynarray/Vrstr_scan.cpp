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

// A scan forward: where it is, and what it still looks for. It ends at a byte that stops it,
// and after the last mark.
struct Scanner {
    const uint8_t* p;
    uint8_t mark;
    bool higherStops;
    bool toTheEnd;  // all marks, which are not counted
    int32_t marks;  // until the scan is over

    void PassBlocks(const uint8_t* end);
    bool PassBytes(const uint8_t* end);

private:
    bool EndsAt(const uint8_t* hit);
};

// Passes whole blocks that hold neither the last mark wanted nor a byte that stops.
void Scanner::PassBlocks(const uint8_t* end) {
    const __m128i wanted = vr::AllBytes(mark);
    for (; end - p >= kBlockBytes; p += kBlockBytes) {
        const Block block = LookAtBlock(p, wanted);
        if (higherStops && block.hasHigher) break;
        if (toTheEnd) continue;
        if (block.marks >= marks) break;
        marks -= block.marks;
    }
}

// Counts the hit, and moves to the end of the scan when this is it.
bool Scanner::EndsAt(const uint8_t* hit) {
    const bool isMark = *hit == mark;
    if (isMark && (toTheEnd || --marks != 0)) return false;
    p = isMark ? hit + 1 : hit;
    return true;
}

// Looks at each mark up to `end`. True when the scan is over.
bool Scanner::PassBytes(const uint8_t* end) {
    const __m128i wanted = vr::AllBytes(mark);
    for (; end - p >= vr::kStepBytes; p += vr::kStepBytes) {
        const __m128i bytes = vr::LoadStep(p);
        // The higher one of a byte and the mark is the byte where it counts or stops.
        const __m128i compared = higherStops ? _mm_max_epu8(bytes, wanted) : wanted;
        for (uint32_t hits = vr::BitsOf(_mm_cmpeq_epi8(compared, bytes)); hits != 0;
             hits &= hits - 1) {
            if (EndsAt(p + std::countr_zero(hits))) return true;
        }
    }
    for (; p != end; ++p) {
        const bool isHit = *p == mark || (higherStops && *p > mark);
        if (isHit && EndsAt(p)) return true;
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

// An element that is appended at `end` needs a mark before it unless the enclosing element is
// empty, which shows in what stands before: the start of the text or an outer mark.
bool AppendNeedsMark(const uint8_t* start, const uint8_t* end, uint8_t mark) {
    return end > start && end[-1] <= mark;
}

}  // namespace

// Most scans go to the next element or the one after it, for which no block is needed.
const uint8_t* vr::PassMarks(const uint8_t* p, const uint8_t* end, uint8_t mark, int32_t& marks,
                             HigherBytes higher) {
    if (marks == 0) return p;
    Scanner scanner = {.p = p,
                       .mark = mark,
                       .higherStops = higher == HigherBytes::Stop,
                       .toTheEnd = marks < 0,
                       .marks = marks};
    const bool isFar = end - p > kNearBytes + kBlockBytes;
    if (!isFar || !scanner.PassBytes(p + kNearBytes)) {
        if (isFar) scanner.PassBlocks(end);
        scanner.PassBytes(end);
    }
    marks = scanner.marks;
    return scanner.p;
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
    const int32_t end = std::clamp(length, 0, vr::kLongestText) + kVrFirstCursor;
    const uint8_t* from = vr::At(s, vr::ClampCursor(cursor, end));
    int32_t marks = *count > INT32_MIN ? *count - 1 : *count;

    const uint8_t* reached =
        vr::PassMarks(from, vr::At(s, end), mark, marks, vr::HigherBytes::Stop);
    if (marks < 0 && AppendNeedsMark(vr::At(s, kVrFirstCursor), reached, mark)) marks = 1;
    *count = marks;
    return static_cast<int32_t>(reached - vr::At(s, 0));
}

int32_t SkipBackNAttrs(VrString s, int32_t cursor, int32_t* count) {
    if (cursor <= kVrFirstCursor || *count <= 0) return cursor;
    // The first mark to cross is the one before the attribute at `cursor`.
    uint32_t marks = static_cast<uint32_t>(*count) + 1;
    const uint8_t* from = vr::At(s, vr::ClampCursor(cursor, vr::EndCursor(s)));
    const uint8_t* reached = vr::PassMarksBack(from, vr::At(s, kVrFirstCursor), marks);
    // The first attribute has no mark before it, so one mark left over is none missing.
    *count = marks > 1 ? static_cast<int32_t>(marks - 1) : 0;
    return static_cast<int32_t>(reached - vr::At(s, 0));
}
