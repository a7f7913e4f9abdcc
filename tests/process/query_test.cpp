// Which programs run, asked of both back ends: programs of our own under names of their
// own, and programs that may not be read.

#include <spawn.h>

#include "tests/process/counted_library.h"
#include "tests/support/library_test.h"

namespace {

struct BackEndTest : FilesTest, testing::WithParamInterface<const char*> {
    BackEndTest() {
        ControlPlatformNumber(GetParam() == std::string("kernel32") ? 1 : 2);
        Start();
    }
};

INSTANTIATE_TEST_SUITE_P(Both, BackEndTest, testing::Values("psapi", "kernel32"));

TEST_P(BackEndTest, ProgramsAreFoundByTheirFullNames) {
    pid_t child = 0;
    const auto isListed = [&child](const std::string& as) {
        const std::string list = ";" + TakeCText(VrProcessList()) + ";";
        return list.find(";" + std::to_string(child) + "," + as + ";") != list.npos;
    };
    if (TakeCText(VrProcessList()).size() > 2500) GTEST_SKIP() << "the list may be full";
    const std::string name = "Vr" + std::to_string(getpid()) + ".Test";
    std::string path = directory.Drive(name);
    ToLower(path.data());
    std::filesystem::copy_file("/bin/sleep", name);
    char* const arguments[] = {const_cast<char*>("sleep"), const_cast<char*>("60"), nullptr};
    ASSERT_EQ(posix_spawn(&child, name.c_str(), nullptr, nullptr, arguments, environ), 0);
    const std::string listed = path.substr(path.rfind('\\') + 1);
    for (int i = 0; i < 100 && !isListed(listed); ++i)
        Sleep(10);  // an emulator starts it a little later
    EXPECT_TRUE(isListed(listed));
    EXPECT_EQ(VrFindProcess(name.c_str()), uint32_t(child));
    EXPECT_EQ(TakeCText(VrProcessPath(name.c_str())), path);
    EXPECT_EQ(VrFindProcess(name.substr(0, name.find('.')).c_str()), 0u);
    DllUnload(GetParam(), 0);  // it is loaded again
    kill(child, SIGKILL);      // a zombie cannot be read
    waitid(P_PID, id_t(child), nullptr, WEXITED | WNOWAIT);
    EXPECT_TRUE(isListed("unknown"));
    waitpid(child, nullptr, 0);
}

TEST_P(BackEndTest, AllAreListedFromTheFirstButThreadsOfTheKernel) {
    const std::string list = ";" + TakeCText(VrProcessList());
    EXPECT_TRUE(list.starts_with(";1,")) << list;
    const bool isOfTheKernel = ReadFile("/proc/2/comm") == "kthreadd\n";
    EXPECT_TRUE(!isOfTheKernel || list.find(";2,") == list.npos) << list;
}

// A library of the back end's name without its entry points hides the platform's one.
TEST_P(BackEndTest, ABackEndThatFailsIsTold) {
    const std::string impostor = std::string("./") + GetParam() + ".so";
    PutHost("./");
    PutLibrary(impostor);
    for (const char* name : {"unknown", static_cast<const char*>(nullptr)})
        EXPECT_EQ(VrFindProcess(name), 0u);
    for (char* text : {VrProcessList(), VrProcessPath("unknown")})
        EXPECT_EQ(TakeCText(text), "");
    const std::string told = std::string("48 : ") + GetParam() + " DLL could not be initialized.";
    EXPECT_EQ(boxes.shown, std::vector(4, told));
}

}  // namespace
