// What happens when memory runs out, driven through the control panel. Whatever a
// request sets off is noted in its order, with the number of blocks out compared to
// before the request: -1 tells that a reserve was given up.

#include <string>

#include "tests/support/arrays.h"
#include "tests/support/library_test.h"

namespace {

const std::string kLow = "48 System is getting low on memory!\n  Try closing other applications:";
const std::string kOut =
    "53   System is out of memory!\nTry closing other applications  RETRY will try again or\n"
    "      CANCEL will exit:";

std::string trace;
uint32_t blocksBefore = 0;
int refusals = 0;  // of attempts to come, each behind a box that asks
int32_t answer = IDRETRY;
int32_t greedyKind = -1;  // of the callback that asks for memory too, in vain at first
void* ballast = nullptr;  // a block that the callbacks give back

void Note(const std::string& what) {
    trace += what + std::to_string(int32_t(ControlBlocksOut() - blocksBefore)) + ' ';
}

int32_t Present(void*, const char* text, const char* caption, uint32_t style) {
    if (caption == nullptr || caption != EnvironProduct()) Note("untitled");
    Note(std::to_string(style) + ' ' + text + ':');
    if (style != 53) return IDOK;
    if (refusals-- > 0) ControlFailAllocations(1, 1);
    return answer;
}

void GiveBack(VrWord kind, VrWord value) {
    EXPECT_EQ(value, 0u);
    Note(kind == kVrMemoryShort ? "short:" : "exhausted:");
    free_mem(&ballast);
    if (greedyKind != int32_t(kind)) return;
    ControlFailAllocations(1, 1);
    Array(alloc_string(300));
}

class RecoveryTest : public LibraryTest {
protected:
    void SetUp() override {
        LibraryTest::SetUp();
        EnvironProduct();  // the boxes' title, whose blocks are not the recovery's
        ControlMessageBoxes(Present, nullptr);
        for (const int32_t kind : {kVrMemoryShort, kVrMemoryExhausted})
            MemAddCallback(kind, GiveBack, VrWord(kind));
        VrExitAdd([] { fprintf(stderr, "%sexit", trace.c_str()); });
        blocksBefore = ControlBlocksOut();
    }
};

TEST_F(RecoveryTest, ARetryThatSucceedsReturnsTheBlock) {
    const std::tuple<int, int32_t, std::string> cases[] = {
        {0, -1, kLow + "-1 short:-1 " + kOut + "0 "},
        {2, -1, kLow + "-1 short:-1 " + kOut + "0 " + kOut + "0 " + kOut + "0 "},
        {0, kVrMemoryShort, kLow + "-1 short:-1 " + kLow + "-1 " + kOut + "0 " + kOut + "0 "},
    };
    for (const auto& [refused, greedy, expected] : cases) {
        char* text = dup_str(std::string(100, 'z').c_str());
        blocksBefore = ControlBlocksOut();
        trace.clear();
        refusals = refused;
        greedyKind = greedy;
        ControlFailAllocations(1, 1);
        text = static_cast<char*>(realloc_mem(text, 5000));
        EXPECT_EQ(text, std::string(100, 'z'));
        EXPECT_EQ(trace, expected);
        EXPECT_EQ(ControlBlocksOut(), blocksBefore) << "the reserve is held again";
        free_mem(&text);
    }
}

// A slot given back by a callback while its pool makes a page must not be lost.
TEST_F(RecoveryTest, APageMadeUnderPressureGoesInFront) {
    for (int i = 0; i < 25; ++i)
        ballast = alloc_memory(40);
    const void* slot = ballast;
    ControlFailAllocations(1, 1);
    for (int i = 0; i < 25; ++i)
        EXPECT_NE(alloc_memory(40), slot);
    EXPECT_EQ(alloc_memory(40), slot);
}

// Each of these is a process of its own, which tells its trace as it ends.
TEST_F(RecoveryTest, EndsOfTheRun) {
    const std::string begin = "^" + kLow + "-1 short:-1 ";
    const std::tuple<uint32_t, int, int32_t, int32_t, std::string> cases[] = {
        {1, 0, IDCANCEL, -1, kOut + "0 exhausted:-1 "},
        {1, 10, IDRETRY, -1, "(" + kOut + "0 ){11}exhausted:-1 "},
        {1000, 0, IDRETRY, -1, "16 Insufficient memory, exiting.:-2 exhausted:-2 "},
        {1, 0, IDCANCEL, kVrMemoryExhausted,
         kOut + "0 exhausted:-1 " + kLow + "-2 short:-2 " + kOut + "-1 "},
    };
    for (const auto& [failures, refused, given, greedy, trail] : cases) {
        refusals = refused;
        answer = given;
        greedyKind = greedy;
        ControlFailAllocations(1, failures);
        EXPECT_EXIT(alloc_memory(5000), testing::ExitedWithCode(9), begin + trail + "exit$");
    }
}

void Edit(int32_t attribute, int32_t value, int32_t subvalue, int32_t memo = 0) {
    UtilPosition position = {attribute, value, subvalue, kVrFirstCursor};
    VrString s = alloc_string(200);
    HeaderOf(s) = {memo, kVrFirstCursor, 300, HeaderOf(s).classWord};
    UtilInsertReplace(&position, s, alloc_string(9), 0);
}

// Sizes near the end of 32 bits, and beyond it, must not come round to a small block.
TEST_F(RecoveryTest, OversizedRequestsAreRefusedAtOnce) {
    const std::pair<void (*)(), std::string> cases[] = {
        {[] { _alloc_memory(kVrRefusedSize - 5, "Cache", 12); }, "20971520 bytes .Cache,12.:0 "},
        {[] { _CallocMore(kVrRefusedSize, nullptr, nullptr, 3); }, "20971520 bytes .,3.:0 "},
        {[] { alloc_memory(UINT32_MAX - 3); }, "4294967295"},
        {[] { malloc_memory(UINT32_MAX); }, "4294967295"},
        {[] { alloc_string(UINT32_MAX - 2); }, "4294967295"},
        {[] { realloc_mem(alloc_memory(9), UINT32_MAX - 3); }, "4294967295"},
        {[] { realloc_mem(alloc_memory(100), UINT32_MAX - 3); }, "4294967295"},
        {[] { realloc_mem(alloc_string(200), UINT32_MAX - 15); }, "4294967295"},
        {[] { Edit(-1, INT32_MAX, INT32_MAX); }, "4294967295"},
        {[] { Edit(INT32_MAX, 0, 0); }, "3221225"},
        {[] { Edit((1 << 30) + 1, 0, 0, INT32_MAX); }, "1610613055"},
    };
    for (const auto& [request, message] : cases) {
        EXPECT_EXIT(request(), testing::ExitedWithCode(9), "^0 Can't alloc " + message);
    }
    void* largest = alloc_memory(kVrRefusedSize - 6);
    EXPECT_EQ(trace, "");
    free_mem(&largest);
}

}  // namespace
