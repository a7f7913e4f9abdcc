// Start, stop and the words of the frame.

#include <dlfcn.h>
#include <pthread.h>

#include <cmath>
#include <string>

#include "platform/process.h"
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

// The host's module is a library here: a shared object that happens to be there.
TEST(Frame, ALibraryLeavesWithItsThread) {
    const TempDirectory directory;
    if (directory.path.find('.') != std::string::npos) GTEST_SKIP() << "the first dot decides";
    Dl_info object;
    dladdr(reinterpret_cast<void*>(cbrtf), &object);
    std::filesystem::copy_file(object.dli_fname, "host.dll");
    const UtilInitRecord record = {0, VrWord(LoadLibraryA("./host.dll")), nullptr};
    UtilInit(&record);
    EnvironProduct();
    pthread_t thread;
    void* code = nullptr;
    const auto leave = [](void*) { return VrExit(7), static_cast<void*>(nullptr); };
    pthread_create(&thread, nullptr, leave, nullptr);
    pthread_join(thread, &code);
    EXPECT_EQ(VrWord(code), 7u);
}

TEST_F(LibraryTest, ErrorMessagesAreCutAt255Characters) {
    const std::string longest(255, 'x');
    EXPECT_EQ(VrErrorMessage("%d of %s", 7, "nine"), IDOK);
    VrErrorMessage("%s", (longest + "x").c_str());
    VrErrorMessage(nullptr);
    const std::vector<Box> expected = {
        {"7 of nine", true, "", MB_OK}, {longest, true, "", MB_OK}, {"", true, "", MB_OK}};
    EXPECT_EQ(boxes.shown, expected);
}

}  // namespace
