// What happens when memory runs out. Whatever a request sets off is noted in its order, with
// the number of blocks out compared to before it: -1 means that a reserve was given up.

#include "tests/support/library_test.h"

namespace {

const std::string kLow = "48 System is getting low on memory!\n  Try closing other applications:";
const std::string kOut =
    "53   System is out of memory!\nTry closing other applications  RETRY will try again or\n"
    "      CANCEL will exit:";

std::string trace;
uint32_t blocksBefore = 0;
int refusals = 0;  // of attempts to come, each after a box that asks
int32_t answer = IDRETRY;

void Note(const std::string& what) {
    trace += what + std::to_string(int32_t(ControlBlocksOut() - blocksBefore)) + ' ';
}

int32_t Present(void*, const char* text, const char*, uint32_t style) {
    Note(std::to_string(style) + ' ' + text + ':');
    if (style == 53 && refusals-- > 0) ControlFailAllocations(1, 1);
    return answer;
}

void Raised(VrWord kind, VrWord) {
    Note(kind == kVrMemoryShort ? "short:" : "exhausted:");
}

struct RecoveryTest : LibraryTest {
    RecoveryTest() {
        EnvironProduct();  // the boxes' title, whose blocks are not the recovery's
        ControlMessageBoxes(Present, nullptr);
        for (const int32_t kind : {kVrMemoryShort, kVrMemoryExhausted})
            MemAddCallback(kind, Raised, VrWord(kind));
        VrExitAdd([] { fprintf(stderr, "%sexit", trace.c_str()); });
    }
};

// The run ends in the request, or after it with a note of the block.
void Grow(uint32_t failures) {
    void* block = dup_str(std::string(100, 'z').c_str());
    blocksBefore = ControlBlocksOut();
    ControlFailAllocations(1, failures);
    block = realloc_mem(block, 5000);
    Note(std::string(100, 'z') == static_cast<char*>(block) ? "kept:" : "lost:");
    VrExit(0);
    _Exit(9);
}

TEST_F(RecoveryTest, WhatARefusedRequestSetsOff) {
    const std::tuple<uint32_t, int, int32_t, std::string> cases[] = {
        {1, 2, IDRETRY, "(" + kOut + "0 ){3}kept:0 "},
        {1, 0, IDCANCEL, kOut + "0 exhausted:-1 "},
        {1, 10, IDRETRY, "(" + kOut + "0 ){11}exhausted:-1 "},
        {1000, 0, IDRETRY, "16 Insufficient memory, exiting.:-2 exhausted:-2 "}};
    for (const auto& [failures, refused, given, trail] : cases) {
        refusals = refused;
        answer = given;
        EXPECT_EXIT(Grow(failures), testing::ExitedWithCode(9),
                    "^" + kLow + "-1 short:-1 " + trail + "exit$");
    }
}

// Sizes near the end of 32 bits, and beyond it, must not come round to a small block.
TEST_F(RecoveryTest, OversizedRequestsAreRefusedAtOnce) {
    const std::pair<void (*)(), std::string> cases[] = {
        {[] { std::ignore = _alloc_memory(kVrRefusedSize - 5, "Cache", 12); },
         "20971520 bytes .Cache,12."},
        {[] { std::ignore = _alloc_memory(kVrRefusedSize, nullptr, 12); }, "20971525 bytes .,12."},
        {[] { std::ignore = realloc_mem(alloc_string(200), UINT32_MAX - 15); }, "4294967295"},
        {[] { AddStrToBuffer(BufDscrCreate(5), "", INT32_MAX, 'x'); }, "2147483655"},
        {[] { vrHeapAlloc(vrHeapCreate(), kVrRefusedSize); }, "20975621 bytes .Heap,"},
        {[] { MemBufAlloc(MemBufCreate(1), kVrRefusedSize); }, "20971541 bytes .Membuf,"},
    };
    for (const auto& [request, message] : cases)
        EXPECT_EXIT(request(), testing::ExitedWithCode(9), "^0 Can't alloc " + message);
    void* largest = alloc_memory(kVrRefusedSize - 6);
    free_mem(&largest);
}

TEST_F(RecoveryTest, TheExitChainGoesOnWhereARoutineEndsTheRun) {
    const auto stop = [] {
        blocksBefore = ControlBlocksOut();
        VrExitAdd([] { std::ignore = _alloc_memory(kVrRefusedSize, "core", 1); });
        VrExit(0);
    };
    EXPECT_EXIT(stop(), testing::ExitedWithCode(9),
                "^0 Can't alloc 20971525 bytes .core,1.:0 exhausted:-1 exit$");
}

// A callback that runs short itself is not called within its own call.
TEST_F(RecoveryTest, TheOtherCallbacksHelpOneThatRunsShort) {
    refusals = 0;
    MemAddCallback(
        kVrMemoryShort,
        [](VrWord, VrWord) {
            Note("hungry:");
            ControlFailAllocations(1, 1);
            void* block = alloc_memory(100);
            free_mem(&block);
        },
        0);
    MemAddCallback(kVrMemoryShort, Raised, kVrMemoryShort);
    EXPECT_EXIT(Grow(1), testing::ExitedWithCode(9),
                "^" + kLow + "-1 short:-1 hungry:-1 " +  // the outer shortage up to the callback
                    kLow + "-1 short:-1 short:-1 " + kOut + "0 short:0 " +  // the inner one
                    kOut + "0 kept:0 exit$");
}

}  // namespace
