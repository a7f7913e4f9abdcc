// The database log: its file byte for byte at every level, and when there is none.

#include "tests/support/library_test.h"

namespace {

constexpr char kLog[] = "$$VRDB.LOG";
constexpr char kHeader[] = "\r\n---------T----------";
const std::string kOpening = "\r\n@@@DOS OPEN File $$VRDB.LOG\r\n@@@DOS Open Handle: 3";

struct LogTest : FilesTest {
    void StartLog(const std::string& level) {
        StartWithFiles("[DB]\nLOG=" + level + "\n[LATER]\nLOG=1\n");
        EXPECT_EQ(VrdbLogInit("DB", "T"), 0);
    }
    void TearDown() override {
        if (std::filesystem::exists(kLog)) KeepLog();
        FilesTest::TearDown();
    }
};

struct Report {
    int32_t group;
    std::function<void()> call;  // none for the second line of the call before
    std::string line;
};

// Every function once.
std::vector<Report> Reports() {
    static VrString text = StringOfBytes("C:\\A/b c");  // goes with its page
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
        {2, [] { VrdbLogBTRVMes(1, 59); }, "***BTRV Op:   1 Stat:  59"},
        {32, [] { VrdbLogMesLock("K", 1); }, "LOCK Key K Ret: 1"},
        {32, [] { VrdbLogMesUnlock("K", 0); }, "LOCK Key K Ret: 0"},
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
    ASSERT_EQ(std::filesystem::exists(kLog), on);
    EXPECT_EQ(on ? ReadFile(kLog) : expected, expected);
}

INSTANTIATE_TEST_SUITE_P(Levels, LogLevelTest, ::testing::Values(-1, 0, 1, 2, 4, 16, 32, 63, 64));

TEST_F(LogTest, StartsOnceAndFromByteZero) {
    WriteFile(kLog, std::string(50, '.'));
    std::filesystem::permissions(kLog, std::filesystem::perms::owner_all);
    setenv("VRLTEMP", ("." + std::string(243, '/')).c_str(), 1);  // a path of 255 bytes
    StartLog("0");
    EXPECT_EQ(VrdbLogInit("LATER", nullptr), 0) << "it was off, so it can still begin";
    EXPECT_EQ(VrdbLogInit("DB", "second"), 0);
    EXPECT_EQ(ReadFile(kLog), "\r\n---------Database Log file V2.00----------......")
        << "and no more";
}

TEST_F(LogTest, ADirectoryThatIsTooLongHasNone) {
    setenv("VRLTEMP", std::string(9000, 'd').c_str(), 1);
    StartWithFiles("[DB]\nLOG=1\n");
    EXPECT_EQ(VrdbLogInit("DB", "T"), -1);
    ++held["platform blocks"];
    EXPECT_EQ(TakeBytes(GetUniqueTempFileName("p")), "");
}

TEST_F(LogTest, LinesAreCutAndNullsAreEmpty) {
    StartLog("63");
    std::string expected = kOpening + kHeader;
    for (size_t length : {1010u, 1011u, 100000u}) {
        const std::string name(length, 'n');
        VrdbLogEndMes(name.c_str(), -12345);
        expected += "\r\n" + (name + " Ret: -12345").substr(0, 1022);
    }
    VrdbLogStartMes(nullptr);
    VrdbLogEndMesCreate(nullptr, 0, nullptr);
    VrdbLogTimeMes1(nullptr, INT32_MIN);
    EXPECT_EQ(ReadFile(kLog), expected + "\r\n\r\n Ret: 0 File: \r\n time: -2147483.648000");
}

}  // namespace
