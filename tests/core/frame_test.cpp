// Start, stop and the words of the frame.

#include <pthread.h>

#include <string>
#include <vector>

#include "platform/process.h"
#include "tests/support/library_test.h"

namespace {

std::string trace;

template <char Letter>
void Note() {
    trace += Letter;
}

void LeaveAgain() {
    trace += '!';
    VrExit(5);
}

TEST_F(LibraryTest, ExitRoutinesRunLastAddedFirst) {
    for (VrExitRoutine routine : {Note<'a'>, Note<'b'>, Note<'c'>})
        VrExitAdd(routine);
    EXPECT_EQ(VrExitInExit(), 0);
    VrExit(0);
    EXPECT_EQ(trace, "cba");
    EXPECT_EQ(VrExitInExit(), 1);
    VrExit(0);
    EXPECT_EQ(trace, "cba") << "a second exit must run nothing again";
}

TEST_F(LibraryTest, ExitInsideAnExitRoutineRunsNothingTwice) {
    VrExitAdd(Note<'a'>);
    VrExitAdd(LeaveAgain);
    VrExit(0);
    EXPECT_EQ(trace, "!a");
}

// Slots used before the test's own: whatever the library registered.
TEST_F(LibraryTest, NullAndTheRoutinesBeyondTheLastSlotAreDropped) {
    VrExitAdd(nullptr);
    for (int i = 0; i < kVrExitChainSlots; ++i)
        VrExitAdd(Note<'x'>);
    VrExitAdd(Note<'y'>);
    VrExit(0);
    EXPECT_LT(trace.size(), static_cast<size_t>(kVrExitChainSlots));
    EXPECT_GT(trace.size(), static_cast<size_t>(kVrExitChainSlots) - 10);
    EXPECT_EQ(trace.find('y'), std::string::npos);
}

TEST(Frame, RoutinesAddedBeforeTheStartAreWipedButCounted) {
    for (int i = 0; i < 50; ++i)
        VrExitAdd(Note<'x'>);
    const UtilInitRecord record = {11, 22, nullptr};
    EXPECT_EQ(UtilInit(&record), 1);
    EXPECT_EQ(GetEngineInstance(), 11u);
    EXPECT_EQ(GetVrlinkInstance(), 22u);
    for (int i = 0; i < kVrExitChainSlots; ++i)
        VrExitAdd(Note<'b'>);
    VrExit(0);
    EXPECT_EQ(trace.find('x'), std::string::npos);
    EXPECT_LT(trace.size(), 50u) << "the start took some of the slots that were left";
    EXPECT_GT(trace.size(), 40u);
    EXPECT_EQ(ControlBlocksOut(), 0u);
}

TEST(Frame, ASecondStartChangesNothing) {
    const UtilInitRecord first = {1, 0, nullptr};
    const UtilInitRecord second = {2, 0, nullptr};
    UtilInit(&first);
    VrExitAdd(Note<'a'>);
    EXPECT_EQ(UtilInit(&second), 1);
    EXPECT_EQ(GetEngineInstance(), 1u);
    VrExit(0);
    EXPECT_EQ(trace, "a");
}

TEST(Frame, WordsAreKeptForTheHost) {
    EXPECT_EQ(GetHInstance(), 0u);
    SetHInstance(77);
    EXPECT_EQ(GetHInstance(), 77u);
    EXPECT_EQ(GetRunStatus(), 0);
    SetRunStatus(-3);
    EXPECT_EQ(GetRunStatus(), -3);
    SetBreakState(1);
    EXPECT_EQ(GetBreakState(), 0);
    SetBreakState(0);
    SetBreakState(0);
    SetBreakState(8);
    EXPECT_EQ(GetBreakState(), 1);
}

TEST_F(LibraryTest, ErrorMessagesAreCutAt255Characters) {
    EXPECT_EQ(VrErrorMessage("%d of %s", 7, "nine"), IDOK);
    VrErrorMessage("%s", std::string(300, 'x').c_str());
    VrErrorMessage(nullptr);
    ASSERT_EQ(boxes.shown.size(), 3u);
    EXPECT_EQ(boxes.shown[0].text, "7 of nine");
    EXPECT_TRUE(boxes.shown[0].hasCaption);
    EXPECT_EQ(boxes.shown[0].style, uint32_t{MB_OK});
    EXPECT_EQ(boxes.shown[1].text, std::string(255, 'x'));
    EXPECT_EQ(boxes.shown[2].text, "");
}

}  // namespace
