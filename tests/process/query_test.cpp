// Which programs run, asked of both back ends: programs of our own under names of their
// own, and programs that may not be read.

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <string>

#include "tests/process/counted_library.h"
#include "tests/support/library_test.h"

namespace {

std::string Lower(std::string text) {
    ToLower(text.data());
    return text;
}

std::string TakeText(char* text) {
    std::string taken = text;
    free_mem(&text);
    return taken;
}

std::string PathOf(const std::string& name) {
    return TakeText(VrProcessPath(name.c_str()));
}

struct BackEndTest : FilesTest, testing::WithParamInterface<const char*> {
    BackEndTest() {
        ControlPlatformNumber(GetParam() == std::string("kernel32") ? 1 : 2);
        Start();
    }
};

INSTANTIATE_TEST_SUITE_P(Both, BackEndTest, testing::Values("psapi", "kernel32"),
                         [](const auto& suite) { return std::string(suite.param); });

TEST_P(BackEndTest, ProgramsAreFoundByTheirFullNames) {
    const std::string running = TakeText(VrProcessList());
    if (std::ranges::count(running, ';') > 290) GTEST_SKIP() << "the list may be full already";
    const std::string name = "Vr" + std::to_string(getpid()) + ".Test";
    std::filesystem::copy_file("/bin/sleep", name);
    char* const arguments[] = {const_cast<char*>("sleep"), const_cast<char*>("60"), nullptr};
    pid_t child[3] = {};
    for (pid_t& process : child)
        ASSERT_EQ(posix_spawn(&process, name.c_str(), nullptr, nullptr, arguments, environ), 0);
    kill(child[2], SIGKILL);  // a zombie, which cannot be read
    waitid(P_PID, id_t(child[2]), nullptr, WEXITED | WNOWAIT);

    const std::string list = ";" + TakeText(VrProcessList()) + ";";
    for (int i = 0; i < 3; ++i) {
        const std::string shown = i < 2 ? Lower(name) : "unknown";
        EXPECT_NE(list.find(";" + std::to_string(child[i]) + "," + shown + ";"), list.npos) << list;
    }
    const size_t first = list.find("," + Lower(name) + ";");
    const std::string number = list.substr(0, first).substr(list.rfind(';', first) + 1);
    EXPECT_EQ(std::to_string(VrFindProcess(name.c_str())), number);
    EXPECT_EQ(PathOf(Lower(name)), Lower(directory.drivePath + "\\" + name));
    EXPECT_EQ(VrFindProcess(name.substr(0, name.find('.')).c_str()), 0u);
    EXPECT_EQ(PathOf(name + "x"), "");
    EXPECT_EQ(PathOf("Unknown"), "unknown");
    for (const pid_t process : child) {
        kill(process, SIGKILL);
        waitpid(process, nullptr, 0);
    }
    EXPECT_EQ(VrFindProcess(name.c_str()), 0u);
}

// A library of the back end's name without its entry points hides the platform's one.
TEST_P(BackEndTest, ABackEndThatFailsIsTriedAgain) {
    const std::string impostor = std::string("./") + GetParam() + ".so";
    PutHost("./");
    PutLibrary(impostor);
    EXPECT_EQ(VrFindProcess("unknown"), 0u);
    EXPECT_EQ(TakeText(VrProcessList()) + PathOf("unknown"), "");
    EXPECT_EQ(boxes.shown,
              std::vector<Box>(
                  3, {std::string(GetParam()) + " DLL could not be initialized.", true, "", 48}));
    std::filesystem::remove(impostor);
    EXPECT_NE(VrFindProcess("unknown"), 0u);
    EXPECT_EQ(boxes.shown.size(), 3u);
}

}  // namespace
