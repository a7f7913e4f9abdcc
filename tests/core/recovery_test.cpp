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
    Note(value != 0 ? "?" : kind == kVrMemoryShort ? "short:" : "exhausted:");
    free_mem(&ballast);
    if (greedyKind != int32_t(kind)) return;
    ControlFailAllocations(1, 1);
    Array(alloc_string(300));
}

struct RecoveryTest : LibraryTest {
    RecoveryTest() {
        EnvironProduct();  // the boxes' title, whose blocks are not the recovery's
        ControlMessageBoxes(Present, nullptr);
        for (const int32_t kind : {kVrMemoryShort, kVrMemoryExhausted})
            MemAddCallback(kind, GiveBack, VrWord(kind));
        VrExitAdd([] { fprintf(stderr, "%sexit", trace.c_str()); });
        blocksBefore = ControlBlocksOut();
    }
};

// The run ends in the request, or behind it with a note of the block.
void Grow(void* block, uint32_t failures) {
    ControlFailAllocations(1, failures);
    block = realloc_mem(block, 5000);
    Note(std::string(100, 'z') == static_cast<char*>(block) ? "kept:" : "lost:");
    VrExit(0);
    _Exit(9);
}

TEST_F(RecoveryTest, WhatARefusedRequestSetsOff) {
    const std::string low = "^" + kLow + "-1 short:-1 ";
    const std::tuple<uint32_t, int, int32_t, int32_t, std::string> cases[] = {
        {1, 0, IDRETRY, -1, kOut + "0 kept:0 "},
        {1, 2, IDRETRY, -1, "(" + kOut + "0 ){3}kept:0 "},
        {1, 0, IDRETRY, kVrMemoryShort, kLow + "-1 (" + kOut + "0 ){2}kept:0 "},
        {1, 0, IDCANCEL, -1, kOut + "0 exhausted:-1 "},
        {1, 10, IDRETRY, -1, "(" + kOut + "0 ){11}exhausted:-1 "},
        {1000, 0, IDRETRY, -1, "16 Insufficient memory, exiting.:-2 exhausted:-2 "},
        {1, 0, IDCANCEL, kVrMemoryExhausted,
         kOut + "0 exhausted:-1 " + kLow + "-2 short:-2 " + kOut + "-1 "}};
    char* text = dup_str(std::string(100, 'z').c_str());
    blocksBefore = ControlBlocksOut();
    for (const auto& [failures, refused, given, greedy, trail] : cases) {
        refusals = refused;
        answer = given;
        greedyKind = greedy;
        EXPECT_EXIT(Grow(text, failures), testing::ExitedWithCode(9), low + trail + "exit$");
    }
    free_mem(&text);
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
        {[] { MemFixedAlloc(INT32_MAX); }, "2147483656"},
        {[] { vrHeapAlloc(vrHeapCreate(), INT32_MAX); }, "2147487749"},
        {[] { MemBufAlloc(MemBufCreate(INT32_MAX), INT32_MAX); }, "4294967295"},
        {[] { AddStrToBuffer(BufDscrCreate(5), "", INT32_MAX, 'x'); }, "2147483655"},
        {[] { HashTableCreate(0x40000001, nullptr, 0, 0); }, "4294967295"},
        {[] { tblCreate("wraps round", 0x1999999A, 0, nullptr); }, "4294967295"},
        {[] { Edit(-1, INT32_MAX, INT32_MAX); }, "4294967295"},
        {[] { Edit(INT32_MAX, 0, 0); }, "3221225"},
        {[] { Edit((1 << 30) + 1, 0, 0, INT32_MAX); }, "1610613055"}};
    for (const auto& [request, message] : cases)
        EXPECT_EXIT(request(), testing::ExitedWithCode(9), "^0 Can't alloc " + message);
    void* largest = alloc_memory(kVrRefusedSize - 6);
    EXPECT_EQ(trace, "");
    free_mem(&largest);
}

}  // namespace
