// Commands: what each one starts, told to a recorder, and what comes of real programs.

#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <string>

#include "platform/environment.h"
#include "tests/process/counted_library.h"
#include "tests/support/library_test.h"
#include "tests/support/rows.h"

namespace {

constexpr char kBatchFile[] = "__aavrtm.bat";
constexpr char kNoMemory[] = "' failed\n error (8) - Insufficient memory to load application]";
constexpr int32_t kRuns = -1;

std::string Failure(const std::string& line, const std::string& reason) {
    return "[CreateProcess '" + line + "' failed\n error " + reason + "]";
}

void WriteScript(const std::string& name, const std::string& body) {
    WriteFile(name, body);
    std::filesystem::permissions(name, std::filesystem::perms::owner_all);
}

struct SystemTest : FilesTest {
    SystemTest() {
        SetEnvironmentVariableA("VRLPATH", (directory.drivePath + "\\PRODUCT").c_str());
        StartWithFiles();
    }

    // Runs the command, whose program ends with 2 or fails to start for that reason. Gives
    // what was started, result and message, as "MODE LINE{BATCH FILE}=RESULT[MESSAGE]",
    // without the braces when there is no batch file.
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
        EXPECT_EQ(boxes.shown[0], (Box{boxes.shown[0].text, true, EnvironProduct(), MB_OK}));
        return result + "[" + boxes.shown[0].text + "]";
    }

private:
    static int32_t Record(void* context, const char* line, int32_t mode, uint32_t* code) {
        auto& self = *static_cast<SystemTest*>(context);
        self.started_ += std::to_string(mode) + " " + line;
        if (std::filesystem::exists(kBatchFile)) self.started_ += "{" + ReadFile(kBatchFile) + "}";
        *code = self.reason_ == kRuns ? 2 : static_cast<uint32_t>(self.reason_);
        return self.reason_ == kRuns ? kProgramRan : kProgramFailed;
    }

    std::string started_;
    int32_t reason_ = kRuns;
};

// COMMAND -> OUTPUT FILE -> outcome.
TEST_F(SystemTest, CommandsByTheirFirstCharacter) {
    const auto rows = Rows<3>(
        " \t\n -> OUT -> 3 CMD =2 | dir ->  -> 3 CMD /c dir=2 | & -> OUT -> 3 CMD =2"
        " | \v dir  -> OUT -> 3 CMD /c dir  > OUT=2 |  &7x y -> OUT -> 7 x y=1"
        " | &12x;y -> OUT -> 9 x;y=1 | &0x ->  -> 3 x=1 | & 7x ->  -> 7  7x=1"
        " | &-3x ->  -> 0 -3x=1 | +4 -> OUT -> 4 CMD =2 | +calc -> OUT -> 3 calc=2"
        " | +4294967296x ->  -> 9 x=2 | - ->  -> -1 CMD /c =2 | -0dir ->  -> 0 CMD /c dir=2"
        " | -dir -> OUT -> -1 CMD /c dir > OUT=2 | - 0dir ->  -> -1 CMD /c  0dir=2"
        " | --3dir ->  -> -1 CMD /c -3dir=2 | -5 -> OUT -> 5 CMD =2"
        " | -3dir -> OUT -> 3 CMD /c dir > OUT=2 | -12dir ->  -> 9 CMD /c dir=2"
        " | - 5dir ->  -> 5 CMD /c  5dir=2"
        " | a;b -> OUT -> 3 CMD /c __aavrtm.bat{a > OUT\r\nb >> OUT\r\n}=2"
        " |  a ; b;c ->  -> 3 CMD /c __aavrtm.bat{a \r\n b\r\nc\r\n}=2"
        " | \"x;y\"; -> O -> 3 CMD /c __aavrtm.bat{\"x > O\r\ny\" >> O\r\n >> O\r\n}=2"
        " | -0a;b -> OUT -> 0 CMD /c __aavrtm.bat{a > OUT\r\nb >> OUT\r\n}=2"
        " | -; ->  -> -1 CMD /c __aavrtm.bat{\r\n\r\n}=2");
    for (const auto& [command, output, outcome] : rows) {
        EXPECT_EQ(Outcome(command, output.c_str(), kRuns), outcome);
        EXPECT_FALSE(std::filesystem::exists(kBatchFile)) << command;
    }
    ControlPlatformNumber(3);
    WriteFile(kBatchFile, "older, longer than the new one");
    EXPECT_EQ(Outcome("a", "", kRuns), "3 COMMAND.COM /c a{older, longer than the new one}=2");
    EXPECT_TRUE(Outcome("a;b", "", 1).starts_with("3 COMMAND.COM /c __aavrtm.bat{a\r\nb\r\n}=0["));
    EXPECT_FALSE(std::filesystem::exists(kBatchFile)) << "it goes when the start fails, too";
    WriteFile(kBatchFile, "older");
    Outcome("-a", "", kRuns);
    EXPECT_FALSE(std::filesystem::exists(kBatchFile)) << "and always on the hidden route";
}

TEST_F(SystemTest, FailuresAreToldByNumberAndText) {
    std::string told;
    for (int32_t number = 0; number <= 22; ++number) {
        const std::string outcome = Outcome("dir", nullptr, number);
        told += outcome.substr(outcome.find(" - ") + 3);
    }
    EXPECT_EQ(told,
              "Out of memory or file corrupt]]File not found]Path not found]]"
              "Sharing or network protection error]Library required separate data segments]]"
              "Insufficient memory to load application]]Windows version incorrect]"
              "Executable file invalid]Application not for this OS]Application for MS-DOS 4.0]"
              "Executable type unknown]Can't load Real-Mode application]"
              "Can't load second instance of executable]]]Can't load compressed executable]"
              "required DDL invalid]Need 32-bit windows extensions]]");
}

// A line has 259 bytes at most, the clause " >> NAME" with its line end 255, a message 511;
// a part has no limit.
TEST_F(SystemTest, WhatDoesNotFitIsRefused) {
    for (const auto& [sign, start, failed] :
         Rows<3>(" -> 3 CMD /c  -> =0[ | -0 -> 0 CMD /c  -> =-1[ | +5 -> 5  -> =0[")) {
        const std::string fits(261 - start.size(), 't');
        EXPECT_EQ(Outcome(sign + fits, "", kRuns), start + fits + "=2");
        for (const size_t more : {1u, 100'000u}) {
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
    EXPECT_EQ(Outcome("a;b", "OUT", kRuns), "3 CMD /c a;b > OUT=2");
}

// A file of the shell's name wins on the hidden route; it turns up in the last place first.
TEST_F(SystemTest, TheHiddenRouteLooksForAFileOfTheShellsName) {
    PutHost("HOST/");
    std::filesystem::create_directories("PRODUCT/bin");
    const std::string started =
        "CMD /c dir /w > OUT=-1" + Failure("CMD /c dir /w > OUT", "(3) - Path not found");
    EXPECT_EQ(Outcome("-0dir /w", "OUT", 3), "0 " + started);
    for (const auto& [folder, path] :
         Rows<2>("PRODUCT/bin/ -> \\PRODUCT\\bin\\ |  -> \\ | HOST/ -> \\HOST\\")) {
        WriteScript(folder + "CMD", "#!/bin/sh\necho \"$@\" >args\nexit 7\n");
        EXPECT_EQ(Outcome("-0dir /w", "OUT", 3), "0 " + directory.drivePath + path + started);
        EXPECT_EQ(Outcome("dir", "", kRuns), "3 CMD /c dir=2");
    }
    EXPECT_EQ(Result("-0dir /w", nullptr), "7");
    EXPECT_EQ(ReadFile("args"), "/c dir /w\n");
}

TEST_F(SystemTest, RealProgramsGiveTheirExitCodesAndOutput) {
    EXPECT_STREQ(GetPortNumber(), "Unknown");
    DLLPutEnv("VRLPORT", "17");
    WriteScript("my tool.exe", "#!/bin/sh\nprintf '<%s>' \"$@\" >OUT\nexit 6\n");
    WriteScript("noise", "\1\2\3 no program");
    WriteFile("plain", "#!/bin/sh\n");
    WriteFile("true", "no program, and no reason to look no further");
    WriteScript("busy", "#!/bin/sh\n");
    const std::ofstream writer("busy", std::ios::app);
    signal(SIGTERM, SIG_IGN);  // which a program does not inherit
    WriteFile("steps.bat", "echo 1 >OUT\r\nexit 8\r\n");
    WriteFile("input", "echo typed >OUT; exit 11\n");
    ASSERT_NE(std::freopen("input", "r", stdin), nullptr);
    const std::string word(5000, 'w');
    for (const auto& [command, result, out] :
         Rows<3>("sleep 0.3 && exit 7 -> 7 | -0echo $VRLPORT >OUT; exit 300 -> 44 -> 17\n"
                 " | no-such-command 2>ERR -> 127 | kill -KILL $$ -> 137 | +steps.bat -> 8 -> 1\n"
                 R"( | +my tool "a  b" c\"d "e\\" f\\g \\\"h i)"
                 R"( -> 6 -> <a  b><c"d><e\><f\\g><\"h><i> | +"C:\bin\sh" -c "kill $$" -> 143)"
                 " |  -> 11 -> typed\n | +no-such-program x -> (2) - File not found"
                 " | &folder\\program -> (3) - Path not found"
                 " | +.\\plain -> (5) - Sharing or network protection error"
                 " | +.\\busy -> (5) - Sharing or network protection error | +true -> 0"
                 " | &.\\noise -> (193) -  | echo 1 >OUT;echo " +
                 word + " >>OUT; -> 0 -> 1\n" + word + "\n")) {
        WriteFile("OUT", "");
        const bool fails = result[0] == '(';
        EXPECT_EQ(Result(command, nullptr),
                  fails ? "0" + Failure(command.substr(1), result) : result);
        EXPECT_EQ(ReadFile("OUT"), out) << command;
    }
    EXPECT_EQ(Result("echo 1;echo 2", "OUT"), "0");
    EXPECT_EQ(ReadFile("OUT"), "1\n2\n");
    EXPECT_EQ(System(nullptr, "OUT"), 0) << "the shell, whose input is at its end";
    ControlPlatformNumber(1);
    EXPECT_EQ(Result("exit 12", nullptr), "12");
    const auto start = std::chrono::steady_clock::now();
    GoToSleep(1);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
}

// A program that nobody waits for, started by a host with a file of its own open.
TEST_F(SystemTest, BackgroundProgramsInheritNothingAndLeaveNoZombie) {
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
