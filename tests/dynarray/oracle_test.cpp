// Random bytes for the target that holds dynamic arrays against a plain model, and where
// the search for an attribute begins.
// A failure names the seed of its case: the same seed makes the same case again.

#include <random>
#include <vector>

#include "fuzz/fuzz.h"
#include "tests/support/library_test.h"

namespace {

constexpr uint32_t kSeed = 31121967;

TEST_F(LibraryTest, RandomEditsAndReadsAgreeWithTheModel) {
    for (uint32_t seed = kSeed; seed < kSeed + 3000; ++seed) {
        std::mt19937 random(seed);
        std::vector<uint8_t> bytes(random() % 6000);
        std::generate(bytes.begin(), bytes.end(), [&] { return uint8_t(random()); });
        ASSERT_NO_THROW(LLVMFuzzerTestOneInput(bytes.data(), bytes.size())) << "seed " << seed;
    }
}

// A memo that is planted one attribute too far shows where a search began.
TEST_F(LibraryTest, TheNearerOfMemoAndStartBeginsTheSearch) {
    const Array s(std::string(200, '^'));
    for (int32_t memo = -1; memo < 80; ++memo) {
        for (int32_t target = 1; target < 80; ++target) {
            HeaderOf(s).memoAttribute = memo;
            HeaderOf(s).memoCursor = 4 + std::max(memo, 1);
            UtilPosition position = {target, 0, 0, 0};
            UtilInsertReplace(&position, s, NullString(), 1);
            const bool fromStart = memo < 1 || (memo > target && memo >= 2 * target - 2);
            ASSERT_EQ(position.cursor, fromStart ? 3 + target : 4 + target)
                << memo << ' ' << target;
        }
    }
}

}  // namespace
