// Start, stop and the words of the frame; what does next to nothing, in one table.

#include "tests/support/library_test.h"

namespace {

std::string trace;

template <char Letter>
void Note() {
    trace += Letter;
}

// A routine that ends the run again, or adds another, changes nothing about those left.
TEST_F(LibraryTest, ExitRoutinesRunOnceFromTheLastAddedToTheFirst) {
    for (VrExitRoutine routine :
         {Note<'a'>, +[] { VrExit(5); }, +[] { VrExitAdd(Note<'x'>); }, Note<'b'>, Note<'c'>})
        VrExitAdd(routine);
    for (const int32_t inExit : {0, 1}) {
        EXPECT_EQ(VrExitInExit(), inExit);
        VrExit(0);
    }
    EXPECT_EQ(trace, "cba");
}

// The library itself takes five: identity, memory, tables, quarks, libraries.
TEST(Frame, TheFirstStartWipesTheChainButNotItsCountOf100) {
    const UtilInitRecord records[] = {{11, 22, nullptr}, {33, 44, nullptr}};
    for (int i = 0; i < 50; ++i) {
        VrExitAdd(nullptr);
        VrExitAdd(Note<'a'>);
    }
    EXPECT_EQ(UtilInit(&records[0]), 1);
    for (int i = 0; i < 100; ++i)
        VrExitAdd(Note<'b'>);
    EXPECT_EQ(UtilInit(&records[1]), 1);
    EXPECT_EQ(GetEngineInstance(), 11u);
    EXPECT_EQ(GetVrlinkInstance(), 22u);
    VrExit(0);
    EXPECT_EQ(trace, std::string(45, 'b'));
    EXPECT_EQ(ControlBlocksOut(), 0u);
}

TEST_F(LibraryTest, ErrorMessagesAreCutAt255Characters) {
    const std::string longest(255, 'x');
    EXPECT_EQ(VrErrorMessage("%d of %s", 7, "nine"), IDOK);
    VrErrorMessage("%s", (longest + "x").c_str());
    VrErrorMessage(nullptr);
    EXPECT_EQ(boxes.shown, (std::vector<std::string>{"0 : 7 of nine", "0 : " + longest, "0 : "}));
}

TEST_F(LibraryTest, BreaksNest) {
    for (const auto& [state, open] : {std::pair(1, 0), {0, 1}, {0, 2}, {0, 3}, {5, 2}, {-1, 1}}) {
        SetBreakState(state);
        EXPECT_EQ(GetBreakState(), open);
    }
}

TEST_F(LibraryTest, WhatIsKeptForTheHostOrDoesNothing) {
    uint32_t total = 0, largest = 0;
    const std::pair<int64_t, int64_t> words[] = {
        {GetRunStatus(), 0},
        {(SetRunStatus(-7), GetRunStatus()), -7},
        {GetHInstance(), 0},
        {(SetHInstance(7), GetHInstance()), 7},
        {MemState(&total, &largest), 1},
        {total, 0x100000},
        {largest, GlobalCompact(0)},
        {MemAvail(1), 0},
        {MemDebugFormat(1, 2, 3, 4, 5, 6), 0},
        {EnvironShowErrorCode(), 1},
        {WriteLockFile(1, 2), 1},
    };
    for (size_t row = 0; row < std::size(words); ++row)
        EXPECT_EQ(words[row].first, words[row].second) << "row " << row;
    EXPECT_STREQ(EnvironTerminalType(), "PCWIN.COL");
    for (char* area : {MemBuf1, MemBuf2, MemBuf3, MemBuf4, MemBuf5})
        std::memset(area, 'x', kVrScratchSize);
    for (void* block : {CallocMore(9, nullptr), MallocMore(9, nullptr)})
        LocalFree(block);
    SetBreakCallback(nullptr, 0);
    PgmMemInit();
    PgmMemReport(0);
    MemDump();
    MemCheckBounds();
    VrdbLogFlush();
}

}  // namespace
