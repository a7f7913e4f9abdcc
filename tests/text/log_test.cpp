// The database log: its file byte for byte at every level, and when there is none.

#include <sys/wait.h>
#include <unistd.h>

#include <clocale>
#include <functional>
#include <string>
#include <vector>

#include "platform/environment.h"
#include "tests/support/arrays.h"
#include "tests/support/library_test.h"

namespace {

constexpr char kLog[] = "$$VRDB.LOG";
constexpr char kHeader[] = "\r\n---------T----------";
const std::string kOpening = "\r\n@@@DOS OPEN File $$VRDB.LOG\r\n@@@DOS Open Handle: 3";

struct LogTest : FilesTest {
    void StartLog(const std::string& level, int32_t result = 0) {
        StartWithFiles("[DB]\nLOG=" + level + "\n[LATER]\nLOG=1\n");
        EXPECT_EQ(VrdbLogInit("DB", "T"), result);
    }

    // The line buffer stays for the life of the process, once the setting asks for a log.
    void TearDown() override {
        VrExit(0);
        EXPECT_EQ(ControlBlocksOut(), lineBuffers);
        EXPECT_EQ(boxes.shown.size(), 0u);
    }

    // The file, which its owner may not even read at first.
    static std::string Log(const std::string& path = kLog) {
        using std::filesystem::perms;
        const perms mode = std::filesystem::status(path).permissions();
        constexpr perms kWrite = perms::owner_write | perms::group_write | perms::others_write;
        EXPECT_EQ(mode & kWrite, perms::none);
        std::filesystem::permissions(path, perms::owner_read);
        return ReadFile(path);
    }

    uint32_t lineBuffers = 1;
};

struct Report {
    int32_t group;
    std::function<void()> call;  // none for the second line of the call before
    std::string line;
};

// Every function once.
std::vector<Report> Reports() {
    static VrString text = StringOfBytes("C:\\A/b c");
    return {
        {1, [] { VrdbLogStartMes("NAME"); }, "NAME"},
        {1, [] { VrdbLogEndMes("READ", -1); }, "READ Ret: -1"},
        {1, [] { VrdbLogStartMesCreate("MK", text); }, "MK File: C:\\A/b c"},
        {1, [] { VrdbLogEndMesCreate("MK", 7, text); }, "MK Ret: 7 File: C:\\A/b c"},
        {1, [] { VrdbLogStartMesOpen("OPEN", text); }, "OPEN File: C:\\A/b c"},
        {1, [] { VrdbLogEndMesOpen("OPEN", -2, 9); }, "OPEN Ret: -2 Handle: 9"},
        {1, [] { VrdbLogStartMes1("%d%n%s", -3); }, "%d%n%s Handle: -3"},
        {1, [] { VrdbLogStartMes2("GET", 4, text); }, "GET Handle: 4 Key: C:\\A/b c"},
        {1, [] { VrdbLogStartMesClose(INT32_MIN); }, "CLOSE Handle: -2147483648"},
        {2, [] { VrdbLogOutInt("N", 5); }, "N 5"},
        {2, [] { VrdbLogOutChar("N", "a\nb"); }, "N a\r\nb"},
        {4, [] { VrdbLogTimeMes1("READ", 1500); }, "READ time: 1.500000"},
        {2, [] { VrdbLogBTRVMes(5, 3); }, "***BTRV Op:   5 Stat:   3"},
        {16, nullptr, "***BTRV Op:   5 Stat:   3"},
        {2, [] { VrdbLogBTRVMes(0, 0); }, "***BTRV Op:   0 Stat:   0"},
        {2, [] { VrdbLogBTRVMes(1, 4); }, "***BTRV Op:   1 Stat:   4"},
        {2, [] { VrdbLogBTRVMes(1, 9); }, "***BTRV Op:   1 Stat:   9"},
        {2, [] { VrdbLogBTRVMes(1, 22); }, "***BTRV Op:   1 Stat:  22"},
        {2, [] { VrdbLogBTRVMes(1, 59); }, "***BTRV Op:   1 Stat:  59"},
        {32, [] { VrdbLogMesLock("K", 1); }, "LOCK Key K Ret: 1"},
        {32, [] { VrdbLogMesUnlock("K", 0); }, "LOCK Key K Ret: 0"},
        {0,
         [] {
             VrdbLogFlush();
             free_mem(&text);
         },
         ""},
    };
}

struct LogLevelTest : LogTest, testing::WithParamInterface<int32_t> {};

TEST_P(LogLevelTest, WritesTheLinesOfItsGroups) {
    const int32_t level = GetParam();
    VrdbLogStartMes("before the start");
    StartLog(std::to_string(level));
    std::string expected = (level & 2) != 0 ? kOpening + kHeader : kHeader;
    for (const Report& report : Reports()) {
        if (report.call) report.call();
        if ((level & report.group) != 0) expected += "\r\n" + report.line;
    }
    const bool on = level >= 1 && level <= 63;
    if (!on) lineBuffers = 0;
    ASSERT_EQ(std::filesystem::exists(kLog), on);
    EXPECT_EQ(on ? Log() : expected, expected);
}

INSTANTIATE_TEST_SUITE_P(Levels, LogLevelTest,
                         ::testing::Values(-1, 0, 1, 2, 4, 8, 16, 18, 32, 63, 64, 65));

TEST_F(LogTest, StartsOnceAndFromByteZero) {
    WriteFile(kLog, std::string(50, '.'));
    std::filesystem::permissions(kLog, std::filesystem::perms::owner_all);
    StartLog("0");
    EXPECT_EQ(VrdbLogInit("NONE", "T"), 0);
    EXPECT_EQ(VrdbLogInit("LATER", nullptr), 0) << "it was off, so it can still begin";
    EXPECT_EQ(VrdbLogInit("DB", "second"), 0);
    VrdbLogOutInt("details", 0);
    std::filesystem::permissions(kLog, std::filesystem::perms::owner_read);
    EXPECT_EQ(Log(), "\r\n---------Database Log file V2.00----------......") << "and no more";
}

TEST_F(LogTest, AFileOfAnEarlierProcessStays) {
    if (fork() == 0) {
        StartLog("1");
        _exit(HasFailure() ? 1 : 0);
    }
    int status = -1;
    wait(&status);
    EXPECT_EQ(status, 0);
    StartLog("63", -1);
    EXPECT_EQ(VrdbLogInit("LATER", "T"), 0);
    for (const Report& report : Reports())
        if (report.call) report.call();
    EXPECT_EQ(Log(), kHeader);
}

TEST_F(LogTest, LongLinesAreCutAndNullsAreEmpty) {
    StartLog("63");
    std::string expected = kOpening + kHeader;
    for (size_t length : {1012u, 1013u, 1014u, 1022u, 1023u, 100000u}) {
        const std::string name(length, 'n');
        VrdbLogEndMes(name.c_str(), -12345);
        expected += "\r\n" + (name + " Ret: -12345").substr(0, 1022);
    }
    VrdbLogStartMes(nullptr);
    VrdbLogEndMesCreate(nullptr, 0, nullptr);
    VrdbLogStartMes2(nullptr, 0, NullString());
    VrdbLogOutChar(nullptr, nullptr);
    VrdbLogMesLock(nullptr, 1);
    VrdbLogTimeMes1(nullptr, 0);
    EXPECT_EQ(Log(), expected +
                         "\r\n\r\n Ret: 0 File: \r\n Handle: 0 Key: \r\n \r\nLOCK Key  Ret: 1"
                         "\r\n time: 0.000000");
}

TEST_F(LogTest, TimesHaveAPointInEveryLocale) {
    setlocale(LC_ALL, "de_DE.UTF-8");  // where the system has it
    StartLog("4");
    for (int32_t time : {1, -1, -999, 1000, INT32_MAX, INT32_MIN})
        VrdbLogTimeMes1("T", time);
    EXPECT_EQ(Log(), std::string(kHeader) +
                         "\r\nT time: 0.001000\r\nT time: -0.001000\r\nT time: -0.999000"
                         "\r\nT time: 1.000000\r\nT time: 2147483.647000"
                         "\r\nT time: -2147483.648000");
}

}  // namespace
