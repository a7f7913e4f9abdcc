// Start, stop and the words of the frame.

#include "tests/support/library_test.h"

namespace {

std::string trace;

template <char Letter>
void Note() {
    trace += Letter;
}

TEST_F(LibraryTest, ExitRoutinesRunOnceFromTheLastAddedToTheFirst) {
    for (VrExitRoutine routine : {Note<'a'>, +[] { VrExit(5); }, Note<'b'>})
        VrExitAdd(routine);
    for (const int32_t inExit : {0, 1}) {
        EXPECT_EQ(VrExitInExit(), inExit);
        VrExit(0);
    }
    EXPECT_EQ(trace, "ba");
}

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
    EXPECT_TRUE(GetEngineInstance() == 11 && GetVrlinkInstance() == 22);
    VrExit(0);
    EXPECT_EQ(trace, std::string(trace.size(), 'b'));
    EXPECT_LT(trace.size(), 50u) << "the start took some of the slots that were left";
    EXPECT_GT(trace.size(), 35u);
    EXPECT_EQ(ControlBlocksOut(), 0u);
}

TEST_F(LibraryTest, ErrorMessagesAreCutAt255Characters) {
    const std::string longest(255, 'x');
    EXPECT_EQ(VrErrorMessage("%d of %s", 7, "nine"), IDOK);
    VrErrorMessage("%s", (longest + "x").c_str());
    VrErrorMessage(nullptr);
    EXPECT_EQ(boxes.shown, (std::vector<std::string>{"0 : 7 of nine", "0 : " + longest, "0 : "}));
}

}  // namespace
