// The wide scans give what a loop over bytes gives, at every alignment and length.

#include <random>

#include "dynarray/Marks.h"
#include "tests/support/library_test.h"

namespace {

using Bytes = const uint8_t*;

// What both scans count and stop at, byte by byte.
Bytes PassByBytes(Bytes p, Bytes end, uint8_t mark, int32_t& marks, bool higherStops) {
    const bool counted = marks > 0;
    for (; p != end && marks != 0; ++p) {
        if (higherStops && *p > mark) break;
        if (*p == mark && counted) --marks;
    }
    return p;
}

TEST(Scan, WideStepsGiveWhatBytesGive) {
    std::mt19937 random(1);
    const auto below = [&random](uint32_t n) { return static_cast<int32_t>(random() % n); };
    std::vector<uint8_t> text(1500);
    std::vector<uint8_t> copy(text.size());
    for (int round = 0; round < 20000; ++round) {
        // From all marks to hardly any, so that counts pass whole blocks too.
        const uint32_t spread = 1U << below(12);
        for (uint8_t& byte : text)
            byte = static_cast<uint8_t>(below(spread) == 0 ? 250 + below(6) : below(250));
        Bytes begin = text.data() + below(64);
        Bytes end = begin + below(round % 2 == 0 ? 64 : 1400);
        const auto mark = static_cast<uint8_t>(round % 8 == 0 ? below(256) : 252 + below(3));
        const int32_t wanted = below(10) == 0 ? -1 : below(200);
        const bool stop = below(2) == 0;
        SCOPED_TRACE(testing::Message()
                     << "round " << round << " mark " << +mark << " of " << wanted);

        int32_t marks = wanted;
        int32_t expected = wanted;
        Bytes slow = PassByBytes(begin, end, mark, expected, stop);
        const auto higher = stop ? vr::HigherBytes::Stop : vr::HigherBytes::Pass;
        ASSERT_EQ(vr::PassMarks(begin, end, mark, marks, higher) - begin, slow - begin);
        ASSERT_EQ(marks, expected);

        const vr::StopBytes stops = {mark, static_cast<uint8_t>(std::min(mark + below(4), 255))};
        slow = std::find_if(begin, end, [&](int b) { return b >= mark && b <= stops.highest; });
        ASSERT_EQ(vr::FindStop(begin, end, stops) - begin, slow - begin);
        ASSERT_EQ(vr::CopyToStop(copy.data(), begin, end, stops) - begin, slow - begin);
        ASSERT_TRUE(std::equal(begin, slow, copy.begin()));
    }
}

}  // namespace
