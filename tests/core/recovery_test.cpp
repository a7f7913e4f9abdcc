// What happens when memory runs out, driven through the control panel.

#include <string>

#include "tests/support/library_test.h"

namespace {

const std::string kLow = "System is getting low on memory!\n  Try closing other applications";
const std::string kOut =
    "  System is out of memory!\nTry closing other applications  RETRY will try again or\n"
    "      CANCEL will exit";
constexpr uint32_t kForEver = 1000000;

int shortCalls = 0;
void* ballast = nullptr;

void NoteShort(VrWord data, VrWord value) {
    EXPECT_EQ(data, 5u);
    EXPECT_EQ(value, 0u);
    ++shortCalls;
    free_mem(&ballast);
}

TEST_F(LibraryTest, ARetryThatSucceedsReturnsTheBlock) {
    MemAddCallback(kVrMemoryShort, NoteShort, 5);
    ballast = alloc_memory(40);
    boxes.answers = {IDOK, IDRETRY};
    ControlFailAllocations(1, 1);
    void* block = alloc_memory(5000);
    ASSERT_NE(block, nullptr);
    ASSERT_EQ(boxes.shown.size(), 2u);
    EXPECT_EQ(boxes.shown[0].text, kLow);
    EXPECT_EQ(boxes.shown[0].style, 48u);
    EXPECT_EQ(boxes.shown[1].text, kOut);
    EXPECT_EQ(boxes.shown[1].style, 53u);
    EXPECT_EQ(shortCalls, 1);
    EXPECT_EQ(ballast, nullptr);
    free_mem(&block);
}

// Attempt, reserve, attempt, attempt: the reserve is taken once and held again.
TEST_F(LibraryTest, TheReserveIsHeldAgainBeforeTheCallReturns) {
    EnvironProduct();  // the boxes' title, whose blocks are not of the recovery
    const uint32_t before = ControlBlocksOut();
    boxes.answers = {IDOK, IDRETRY, IDRETRY};
    ControlFailAllocations(1, 1);
    void* first = alloc_memory(100);
    EXPECT_EQ(ControlBlocksOut(), before + 1);
    free_mem(&first);
    EXPECT_EQ(ControlBlocksOut(), before);
}

// A slot given back by a callback while its pool makes a page must not be lost.
TEST_F(LibraryTest, APageMadeUnderPressureGoesInFront) {
    std::vector<void*> full;
    for (int i = 0; i < 25; ++i)
        full.push_back(alloc_memory(40));
    ballast = full[0];
    full[0] = nullptr;
    MemAddCallback(kVrMemoryShort, NoteShort, 5);
    boxes.answers = {IDOK, IDRETRY};
    ControlFailAllocations(1, 1);
    for (int i = 0; i < 26; ++i)
        full.push_back(alloc_memory(40));
    for (void* block : full)
        free_mem(&block);
    EXPECT_EQ(shortCalls, 1);
}

TEST_F(LibraryTest, AFailedResizeLeavesTheBlockAndIsTriedAgain) {
    auto* block = static_cast<char*>(alloc_memory(100));
    block[99] = 'z';
    boxes.answers = {IDOK, IDRETRY};
    ControlFailAllocations(1, 1);
    block = static_cast<char*>(realloc_mem(block, 9000));
    EXPECT_EQ(block[99], 'z');
    free_mem(&block);
}

// The ends of the run. Each is a process of its own; its boxes and exit routines
// speak on standard error.
int32_t Speak(void* answer, const char* text, const char*, uint32_t style) {
    fprintf(stderr, "[%u %s]", style, text);
    return style == 53 ? static_cast<int32_t>(reinterpret_cast<intptr_t>(answer)) : IDOK;
}

void Prepare(int32_t retryAnswer) {
    ControlMessageBoxes(Speak, reinterpret_cast<void*>(static_cast<intptr_t>(retryAnswer)));
    VrExitAdd([] { fputs("[exit chain]", stderr); });
    MemAddCallback(
        kVrMemoryExhausted, [](VrWord, VrWord) { fputs("[exhausted]", stderr); }, 0);
}

using FatalPathDeathTest = LibraryTest;

TEST_F(FatalPathDeathTest, CancelEndsTheRun) {
    Prepare(IDCANCEL);
    EXPECT_EXIT(
        {
            ControlFailAllocations(1, 1);
            alloc_memory(5000);
        },
        testing::ExitedWithCode(9), "getting low.*out of memory.*exhausted.*exit chain");
}

TEST_F(FatalPathDeathTest, TheEleventhRetryIsRefused) {
    boxes.answers.assign(12, IDRETRY);
    boxes.answers[0] = IDOK;
    Prepare(IDRETRY);
    // Refuses every attempt but leaves the reserve alone: it is the second
    // allocation of each round.
    EXPECT_EXIT(
        {
            static int rounds = 0;
            ControlMessageBoxes(
                [](void*, const char*, const char*, uint32_t style) -> int32_t {
                    if (style != 53) return IDOK;
                    fprintf(stderr, "<%d>", ++rounds);
                    ControlFailAllocations(1, 1);
                    return IDRETRY;
                },
                nullptr);
            ControlFailAllocations(1, 1);
            alloc_memory(5000);
        },
        testing::ExitedWithCode(9), "<10><11>.exhausted");
}

TEST_F(FatalPathDeathTest, AReserveThatCannotBeTakenEndsTheRun) {
    Prepare(IDRETRY);
    EXPECT_EXIT(
        {
            ControlFailAllocations(1, kForEver);
            alloc_memory(5000);
        },
        testing::ExitedWithCode(9), "getting low.*16 Insufficient memory, exiting.*exit chain");
}

TEST_F(FatalPathDeathTest, OversizedRequestsAreRefusedAtOnce) {
    Prepare(IDRETRY);
    EXPECT_EXIT(_alloc_memory(kVrRefusedSize - 5, "Cache", 12), testing::ExitedWithCode(9),
                "Can't alloc 20971520 bytes .Cache,12.*exit chain");
    EXPECT_EXIT(_CallocMore(kVrRefusedSize, nullptr, nullptr, 3), testing::ExitedWithCode(9),
                "Can't alloc 20971520 bytes .,3.");
    // Sizes near the end of 32 bits must not wrap round to a small block.
    EXPECT_EXIT(alloc_string(UINT32_MAX - 2), testing::ExitedWithCode(9), "Can't alloc 4294967295");
    EXPECT_EXIT(malloc_memory(UINT32_MAX), testing::ExitedWithCode(9), "Can't alloc 4294967295");
    void* largest = CallocMore(kVrRefusedSize - 1, nullptr);
    EXPECT_NE(largest, nullptr);
    largest = realloc_mem(static_cast<char*>(largest) + 4, kVrRefusedSize - 6);
    free_mem(&largest);
}

}  // namespace
