// Commands: what each one starts, told to a recorder, and what comes of real programs.

#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <string>

#include "platform/environment.h"
#include "platform/process.h"
#include "tests/support/library_test.h"

namespace {

constexpr char kBatchFile[] = "__aavrtm.bat";
constexpr char kNoMemory[] = "' failed\n error (8) - Insufficient memory to load application]";
constexpr int32_t kRuns = -1;

bool Has(const std::string& text, const char* part) {
    return text.find(part) != text.npos;
}

std::string Failure(const std::string& line, const std::string& reason) {
    return "[CreateProcess '" + line + "' failed\n error " + reason + "]";
}

void WriteScript(const std::string& name, const std::string& body) {
    WriteFile(name, body);
    std::filesystem::permissions(name, std::filesystem::perms::owner_all);
}

struct SystemTest : FilesTest {
    // Runs the command, whose program ends with 2 or fails to start for that reason. Gives
    // what was started, result and message, as "MODE LINE{BATCH FILE}=RESULT[MESSAGE]".
    std::string Outcome(const std::string& command, const char* output, int32_t reason) {
        reason_ = reason;
        started_.clear();
        ControlPrograms(Record, this);
        const std::string result = Result(command, output);
        ControlPrograms(nullptr, nullptr);
        return started_ + "=" + result;
    }

    std::string Result(const std::string& command, const char* output) {
        boxes.shown.clear();
        const std::string result = std::to_string(System(command.c_str(), output));
        if (boxes.shown.empty()) return result;
        const Box& box = boxes.shown[0];
        EXPECT_TRUE(box.hasCaption && box.caption == EnvironProduct() && box.style == MB_OK);
        return result + "[" + box.text + "]";
    }

private:
    static int32_t Record(void* context, const char* line, int32_t mode, uint32_t* code) {
        auto& self = *static_cast<SystemTest*>(context);
        self.started_ += std::to_string(mode) + " " + line + "{" + ReadFile(kBatchFile) + "}";
        *code = self.reason_ == kRuns ? 2 : static_cast<uint32_t>(self.reason_);
        return self.reason_ == kRuns ? kProgramRan : kProgramFailed;
    }

    std::string started_;
    int32_t reason_ = kRuns;
};

// COMMAND => MODE LINE{BATCH FILE}, with -> when nobody waits and ~> on the hidden route;
// on both kinds of system, in success and failure. An older batch file lies there, longer
// than any that is written. OUT is given where it must not matter, too.
TEST_F(SystemTest, CommandsByTheirFirstCharacter) {
    StartWithFiles();
    const std::string cases[] = {
        " => 3 CMD ",
        " \t\n => 3 CMD ",
        "dir => 3 CMD /c dir",
        "\v dir  => 3 CMD /c dir  > OUT",
        "& => 3 CMD ",
        " &7x y -> 7 x y",
        "&12x;y -> 9 x;y",
        "&0x -> 3 x",
        "& 7x -> 7  7x",
        "&-3x -> 0 -3x",
        "+4 => 4 CMD ",
        "+calc => 3 calc",
        "+4294967296x => 9 x",
        "- ~> -1 CMD /c ",
        "-dir ~> -1 CMD /c dir > OUT",
        "-0dir ~> 0 CMD /c dir",
        "- 0dir ~> -1 CMD /c  0dir",
        "--3dir ~> -1 CMD /c -3dir",
        "-5 => 5 CMD ",
        "-3dir => 3 CMD /c dir > OUT",
        "-12dir => 9 CMD /c dir",
        "- 5dir => 5 CMD /c  5dir",
        "a;b => 3 CMD /c __aavrtm.bat{a > OUT\r\nb >> OUT\r\n}",
        " a ; b;c => 3 CMD /c __aavrtm.bat{a \r\n b\r\nc\r\n}",
        "\"x;y\"; => 3 CMD /c __aavrtm.bat{\"x > OUT\r\ny\" >> OUT\r\n >> OUT\r\n}",
        "-0a;b ~> 0 CMD /c __aavrtm.bat{a > OUT\r\nb >> OUT\r\n}",
        "-; ~> -1 CMD /c __aavrtm.bat{\r\n\r\n}"};
    const std::string older(300, 'x');
    for (const std::string shell : {"CMD", "COMMAND.COM"}) {
        ControlPlatformNumber(shell == "CMD" ? 2 : 3);
        for (const std::string& row : cases) {
            const size_t arrow = row.find('>');
            const char route = row[arrow - 1];
            std::string started = row.substr(arrow + 2);
            const bool hasBatch = started.ends_with('}');
            const bool hasOutput = !Has(started, "CMD /c") || Has(started, "OUT");
            if (!hasBatch) started += "{" + older + "}";
            if (Has(started, "CMD")) started.replace(started.find("CMD"), 3, shell);
            const std::string line =
                started.substr(0, started.find('{')).substr(started.find(' ') + 1);
            const std::string ran = started + (route == '-' ? "=1" : "=2");
            const std::string failed =
                started + (route == '~' ? "=-1" : "=0") + Failure(line, "(2) - File not found");
            for (const int32_t reason : {kRuns, 2}) {
                WriteFile(kBatchFile, older);
                EXPECT_EQ(Outcome(row.substr(0, arrow - 2), hasOutput ? "OUT" : "", reason),
                          reason == kRuns ? ran : failed);
                EXPECT_NE(std::filesystem::exists(kBatchFile), hasBatch || route == '~') << row;
            }
        }
    }
}

TEST_F(SystemTest, FailuresAreToldByNumberAndText) {
    StartWithFiles();
    std::string told;
    for (int32_t number = 0; number <= 22; ++number) {
        const std::string outcome = Outcome("dir", nullptr, number);
        told += outcome.substr(outcome.find(" ("));
    }
    EXPECT_EQ(told,
              " (0) - Out of memory or file corrupt] (1) - ] (2) - File not found]"
              " (3) - Path not found] (4) - ] (5) - Sharing or network protection error]"
              " (6) - Library required separate data segments] (7) - ]"
              " (8) - Insufficient memory to load application] (9) - ]"
              " (10) - Windows version incorrect] (11) - Executable file invalid]"
              " (12) - Application not for this OS] (13) - Application for MS-DOS 4.0]"
              " (14) - Executable type unknown] (15) - Can't load Real-Mode application]"
              " (16) - Can't load second instance of executable] (17) - ] (18) - ]"
              " (19) - Can't load compressed executable] (20) - required DDL invalid]"
              " (21) - Need 32-bit windows extensions] (22) - ]");
}

// A line has 259 bytes at most, the clause " >> NAME" with its line end 255, a message 511;
// a part has no limit.
TEST_F(SystemTest, WhatDoesNotFitIsRefused) {
    StartWithFiles();
    const std::string routes[][3] = {
        {"", "3 CMD /c ", "=0["}, {"-0", "0 CMD /c ", "=-1["}, {"+5", "5 ", "=0["}};
    for (const auto& [sign, start, failed] : routes) {
        const std::string fits(261 - start.size(), 't');
        EXPECT_EQ(Outcome(sign + fits, "", kRuns), start + fits + "{}=2");
        for (const size_t more : {1u, 1000u, 100'000u}) {
            const std::string outcome = Outcome(sign + fits + std::string(more, 't'), "", kRuns);
            EXPECT_TRUE(outcome.starts_with(failed) && outcome.ends_with(kNoMemory)) << outcome;
            EXPECT_LE(outcome.size(), 516u);
        }
    }
    const std::string name(250, 'o');
    const std::string part(5000, 'p');
    EXPECT_EQ(Outcome(part + ";b", name.c_str(), kRuns),
              "3 CMD /c __aavrtm.bat{" + part + " > " + name + "\r\nb >> " + name + "\r\n}=2");
    EXPECT_TRUE(Outcome("-0a;b", (name + "o").c_str(), kRuns).starts_with("=-1["));
    EXPECT_FALSE(std::filesystem::exists(kBatchFile));
    ControlFailOpens(1, 1, EACCES);  // no batch file: all goes in one line
    EXPECT_EQ(Outcome("a;b", "OUT", kRuns), "3 CMD /c a;b > OUT{}=2");
}

// A file of the shell's name wins on the hidden route; it turns up in the last place first.
TEST_F(SystemTest, TheHiddenRouteLooksForAFileOfTheShellsName) {
    SetEnvironmentVariableA("VRLPATH", (directory.drivePath + "\\PRODUCT").c_str());
    StartWithFiles();
    std::filesystem::create_directories("PRODUCT/bin");
    std::filesystem::create_directory("HOST");
    std::filesystem::copy_file(VR_COUNTED_LIBRARY_PATH, "HOST/host.so");
    SetHInstance(reinterpret_cast<VrWord>(LoadLibraryA("HOST\\host.so")));
    const std::string started =
        "CMD /c dir /w > OUT{}=-1" + Failure("CMD /c dir /w > OUT", "(3) - Path not found");
    EXPECT_EQ(Outcome("-0dir /w", "OUT", 3), "0 " + started);
    for (const std::string folder : {"PRODUCT/bin/", "", "HOST/"}) {
        WriteScript(folder + "CMD", "#!/bin/sh\necho \"$@\" >args\nexit 7\n");
        std::string where = directory.drivePath + "\\" + folder;
        std::replace(where.begin(), where.end(), '/', '\\');
        EXPECT_EQ(Outcome("-0dir /w", "OUT", 3), "0 " + where + started);
        EXPECT_EQ(Outcome("dir", "", kRuns), "3 CMD /c dir{}=2");
    }
    EXPECT_EQ(Result("-0dir /w", nullptr), "7");
    EXPECT_EQ(ReadFile("args"), "/c dir /w\n");
}

TEST_F(SystemTest, RealProgramsGiveTheirExitCodesAndOutput) {
    StartWithFiles();
    EXPECT_STREQ(GetPortNumber(), "Unknown");
    DLLPutEnv("VRLPORT", "17");
    EXPECT_STREQ(GetPortNumber(), "17");
    WriteScript("my tool.exe", "#!/bin/sh\nprintf '<%s>' \"$@\" >OUT\nexit 6\n");
    WriteScript("noise", "\1\2\3 no program");
    WriteFile("plain", "#!/bin/sh\n");
    WriteFile("steps.bat", "echo 1 >OUT\r\nexit 8\r\n");
    WriteFile("input", "echo typed >OUT; exit 11\n");
    ASSERT_NE(std::freopen("input", "r", stdin), nullptr);
    const std::string word(5000, 'w');
    const struct {
        std::string command;
        const char* output;
        std::string result;  // or why it cannot be started
        std::string out = {};
    } runs[] = {
        {"sleep 0.3 && exit 7", "OUT", "7"},
        {"-0echo $VRLPORT; exit 300", "OUT", "44", "17\n"},
        {"echo 1;echo " + word + ";", "OUT", "0", "1\n" + word + "\n"},
        {"no-such-command 2>ERR", "", "127"},
        {"kill -KILL $$", "", "137"},
        {R"(+my tool "a  b" c\"d "e\\" f\\g \\\"h i)", "", "6", R"(<a  b><c"d><e\><f\\g><\"h><i>)"},
        {R"(+"C:\bin\sh" -c "kill -TERM $$")", "", "143"},
        {"+steps.bat", "", "8", "1\n"},
        {"", "", "11", "typed\n"},
        {"+no-such-program x", "", "(2) - File not found"},
        {"&folder\\program", "", "(3) - Path not found"},
        {"+.\\plain", "", "(5) - Sharing or network protection error"},
        {"&.\\noise", "", "(193) - "},
    };
    for (const auto& run : runs) {
        WriteFile("OUT", "");
        const bool fails = run.result[0] == '(';
        EXPECT_EQ(Result(run.command, run.output),
                  fails ? "0" + Failure(run.command.substr(1), run.result) : run.result);
        EXPECT_EQ(ReadFile("OUT"), run.out) << run.command;
        EXPECT_FALSE(std::filesystem::exists(kBatchFile));
    }
    EXPECT_EQ(System(nullptr, "OUT"), 0) << "the shell, whose input is at its end";
    ControlPlatformNumber(1);
    EXPECT_EQ(Result("exit 12", nullptr), "12");
    const auto start = std::chrono::steady_clock::now();
    GoToSleep(1);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
}

// A program that nobody waits for, started by a host with a file of its own open.
TEST_F(SystemTest, BackgroundProgramsInheritNothingAndLeaveNoZombie) {
    StartWithFiles();
    ASSERT_EQ(dup2(STDOUT_FILENO, 57), 57);
    EXPECT_EQ(Result("&/bin/sh -c \"echo $$ >number; exec sleep 30\"", nullptr), "1");
    for (int i = 0; i < 1000 && !ReadFile("number").ends_with('\n'); ++i)
        usleep(10'000);
    const pid_t program = std::stoi(ReadFile("number"));
    const std::string process = "/proc/" + std::to_string(program);
    EXPECT_FALSE(std::filesystem::is_symlink(process + "/fd/57"));
    EXPECT_EQ(kill(program, SIGKILL), 0);
    for (int i = 0; i < 1000 && std::filesystem::exists(process); ++i)
        usleep(10'000);
    EXPECT_FALSE(std::filesystem::exists(process));
}

}  // namespace
