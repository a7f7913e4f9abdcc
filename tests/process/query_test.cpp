// Which programs run, asked of both back ends: programs of our own under names of their
// own, and programs that may not be read.

#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <string>

#include "platform/process.h"
#include "tests/support/library_test.h"

namespace {

std::string Lower(std::string text) {
    for (char& c : text)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
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
    }

    // Every query gives nothing and tells why.
    void ExpectFailure(const std::string& message) {
        EXPECT_EQ(VrFindProcess("unknown"), 0u);
        EXPECT_EQ(TakeText(VrProcessList()) + PathOf("unknown"), "");
        EXPECT_EQ(boxes.shown.size(), 3u);
        for (const Box& box : boxes.shown) {
            EXPECT_EQ(box.text, GetParam() + message);
            EXPECT_EQ(box.style, 48u);
        }
        boxes.shown.clear();
    }
};

INSTANTIATE_TEST_SUITE_P(Both, BackEndTest, testing::Values("psapi", "kernel32"),
                         [](const auto& suite) { return std::string(suite.param); });

TEST_P(BackEndTest, ProgramsAreFoundByTheirFullNames) {
    Start();
    const std::string running = TakeText(VrProcessList());
    if (std::ranges::count(running, ';') > 290) GTEST_SKIP() << "the list may be full already";
    const std::string name = "Vr" + std::to_string(getpid()) + ".Test";
    std::filesystem::copy_file("/bin/sleep", name);
    char* const arguments[] = {const_cast<char*>("sleep"), const_cast<char*>("60"), nullptr};
    pid_t child[3] = {};
    for (pid_t& process : child)
        ASSERT_EQ(posix_spawn(&process, name.c_str(), nullptr, nullptr, arguments, environ), 0);
    kill(child[2], SIGKILL);
    waitid(P_PID, static_cast<id_t>(child[2]), nullptr,
           WEXITED | WNOWAIT);  // a zombie, which cannot be read

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
    EXPECT_TRUE(boxes.shown.empty());
}

// A library of the back end's name without its entry points hides the platform's one.
TEST_P(BackEndTest, ABackEndThatFailsIsTriedAgain) {
    Start();
    std::filesystem::copy_file(VR_COUNTED_LIBRARY_PATH, "host.so");
    SetHInstance(reinterpret_cast<VrWord>(LoadLibraryA(".\\host.so")));
    const std::string impostor = std::string(GetParam()) + ".so";
    std::filesystem::copy_file(VR_COUNTED_LIBRARY_PATH, impostor);
    ExpectFailure(" DLL could not be initialized.");
    std::filesystem::remove(impostor);
    EXPECT_NE(VrFindProcess("unknown"), 0u);
    EXPECT_TRUE(boxes.shown.empty());
}

}  // namespace
