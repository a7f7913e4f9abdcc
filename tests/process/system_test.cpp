// Commands: what each one starts, as a recorder notes it, and the results of real programs.

#include "tests/process/counted_library.h"
#include "tests/support/library_test.h"

namespace {

constexpr char kBatchFile[] = "__aavrtm.bat";
constexpr char kNoMemory[] = "' failed\n error (8) - Insufficient memory to load application]";
constexpr int32_t kRuns = -1;

struct SystemTest : FilesTest {
    SystemTest() {
        SetEnvironmentVariableA("VRLPATH", directory.Drive("PRODUCT").c_str());
        StartWithFiles();
    }

    // Runs the command, whose program ends with 2 or fails to start for that reason. Gives
    // what was started, result and message, as "MODE LINE{BATCH FILE}=RESULT[MESSAGE]",
    // without the braces when there is no batch file.
    std::string Outcome(const std::string& command, const char* output, int32_t failure) {
        reason = failure;
        started.clear();
        ControlPrograms(Record, this);
        const std::string result = Result(command, output);
        return started + "=" + result;
    }

    std::string Result(const std::string& command, const char* output) {
        boxes.shown.clear();
        const char* given = command.empty() ? nullptr : command.c_str();
        const std::string result = std::to_string(System(given, output));
        return boxes.shown.empty() ? result : result + "[" + boxes.shown[0] + "]";
    }

    static int32_t Record(void* context, const char* line, int32_t mode, uint32_t* code) {
        auto& self = *static_cast<SystemTest*>(context);
        self.started += std::to_string(mode) + " " + line;
        if (std::filesystem::exists(kBatchFile)) self.started += "{" + ReadFile(kBatchFile) + "}";
        *code = self.reason == kRuns ? 2 : uint32_t(self.reason);
        return self.reason == kRuns ? kProgramRan : kProgramFailed;
    }

    std::string started;
    int32_t reason = kRuns;
};

// COMMAND -> OUTPUT FILE -> outcome.
TEST_F(SystemTest, CommandsByTheirFirstCharacter) {
    const std::array<std::string, 3> rows[] = {
        {" \t\n", "OUT", "3 CMD =2"},
        {"\v dir ", "OUT", "3 CMD /c dir  > OUT=2"},
        {" &7x y", "OUT", "7 x y=1"},
        {"&12x;y", "OUT", "9 x;y=1"},
        {"& 7x", "", "7  7x=1"},
        {"&-3x", "", "0 -3x=1"},
        {"+4", "OUT", "4 CMD =2"},
        {"+calc", "OUT", "3 calc=2"},
        {"-dir", "OUT", "-1 CMD /c dir > OUT=2"},
        {"-0dir", "", "0 CMD /c dir=2"},
        {"-12dir", "", "9 CMD /c dir=2"},
        {"- 5dir", "", "5 CMD /c  5dir=2"},
        {"-", "", "-1 CMD /c =2"},
        {" a ; b;c", "", "3 CMD /c __aavrtm.bat{a \r\n b\r\nc\r\n}=2"},
        {"\"x;y\";", "O", "3 CMD /c __aavrtm.bat{\"x > O\r\ny\" >> O\r\n >> O\r\n}=2"},
    };
    for (const auto& [command, output, outcome] : rows) {
        EXPECT_EQ(Outcome(command, output.c_str(), kRuns), outcome);
        EXPECT_FALSE(std::filesystem::exists(kBatchFile)) << command;
    }
    ControlPlatformNumber(3);
    WriteFile(kBatchFile, "older, longer than the new one");
    const std::string failed = Outcome("a;b", "", 1);
    EXPECT_EQ(failed.substr(0, failed.find('[')), "3 COMMAND.COM /c __aavrtm.bat{a\r\nb\r\n}=0");
    EXPECT_FALSE(std::filesystem::exists(kBatchFile)) << "it goes when the start fails, too";
}

// A text a line, from that of number 0 to that of all others.
TEST_F(SystemTest, FailuresHaveANumberAndAText) {
    std::ifstream texts(VR_TESTS_FOLDER "/process/failures.txt");
    int32_t number = 0;
    for (std::string text; std::getline(texts, text); ++number)
        EXPECT_EQ(Outcome("+dir", nullptr, number),
                  "3 dir=0[0 : CreateProcess 'dir' failed\n error (" + std::to_string(number) +
                      ") - " + text + "]");
    EXPECT_EQ(number, 23);
}

// A line has 259 bytes at most, which a message shows, the clause " >> NAME" with its line end
// 255; a part has no limit.
TEST_F(SystemTest, WhatDoesNotFitIsRefused) {
    const std::array<std::string, 3> rows[] = {
        {"", "3 CMD /c ", "=0["},
        {"-0", "0 CMD /c ", "=-1["},
        {"+5", "5 ", "=0["},
    };
    for (const auto& [sign, start, failed] : rows) {
        const std::string fits(261 - start.size(), 't');
        EXPECT_EQ(Outcome(sign + fits, "", kRuns), start + fits + "=2");
        const std::string outcome = Outcome(sign + fits + std::string(999, 't'), "", kRuns);
        const std::string shown = start.substr(2) + std::string(999, 't');
        EXPECT_EQ(outcome, failed + "0 : CreateProcess '" + shown.substr(0, 259) + kNoMemory);
        EXPECT_FALSE(Outcome(sign + fits + 't', "", kRuns).starts_with(start));
    }
    const std::string name(250, 'o');
    const std::string part(5000, 'p');
    ControlFailAllocations(1, UINT32_MAX);  // none is asked for, which could end the run
    EXPECT_EQ(Outcome(part + ";b", name.c_str(), kRuns),
              "3 CMD /c __aavrtm.bat{" + part + " > " + name + "\r\nb >> " + name + "\r\n}=2");
    ControlFailAllocations(1, 0);
    EXPECT_TRUE(Outcome("-0a;b", (name + "o").c_str(), kRuns).starts_with("=-1["));
}

// A file of the shell's name wins on the hidden route; it turns up in the last place first.
TEST_F(SystemTest, TheHiddenRouteLooksForAFileOfTheShellsName) {
    PutHost("HOST/");
    std::filesystem::create_directories("PRODUCT/bin");
    std::filesystem::create_directory("HOST/cmd");  // no file
    for (const auto& [folder, path] : Rows<2>(R"(
            PRODUCT/bin/ -> \PRODUCT\bin\
                         -> \
            HOST/        -> \HOST\)")) {
        if (folder == "HOST/") std::filesystem::remove("HOST/cmd");
        WriteFile(folder + "CMD", "");
        EXPECT_EQ(Outcome("-0dir /w", "OUT", kRuns),
                  "0 " + directory.drivePath + path + "CMD /c dir /w > OUT=2");
    }
}

TEST_F(SystemTest, RealProgramsGiveTheirExitCodesAndOutput) {
    DLLPutEnv("VRLPORT", "17");
    WriteFile("steps.bat", "echo 1 >OUT\r\nexit 8\r\n");
    WriteFile("input", "echo typed >OUT; exit 11\n");
    ASSERT_NE(std::freopen("input", "r", stdin), nullptr);
    const std::string failed = "' failed\n error (";
    const std::array<std::string, 3> rows[] = {
        {"sleep 0.3 && exit 7", "7", ""},
        {"-0echo $VRLPORT >OUT; exit 300", "44", "17\n"},
        {"no-such-command 2>ERR", "127", ""},
        {"kill -KILL $$", "137", ""},
        {"+steps.bat", "8", "1\n"},
        {"steps.bat x >MORE", "8", "1\n"},
        {R"(+"C:\bin\sh" -c "kill $$")", "143", ""},
        {"", "11", "typed\n"},
        {"+no-such x", "0[0 : CreateProcess 'no-such x" + failed + "2) - File not found]", ""},
        {"&folder\\tool", "0[0 : CreateProcess 'folder\\tool" + failed + "3) - Path not found]",
         ""},
    };
    for (const auto& [command, result, out] : rows) {
        WriteFile("OUT", "");
        EXPECT_EQ(Result(command, nullptr), result);
        EXPECT_EQ(ReadFile("OUT"), out) << command;
    }
}

TEST_F(SystemTest, OutputFilesMayHaveADriveAndBlanks) {
    std::filesystem::create_directory("Folder");
    for (const auto& [command, out] :
         {std::pair("echo a", "a\n"), {"-0echo b", "b\n"}, {"echo c;echo e", "c\ne\n"}}) {
        EXPECT_EQ(Result(command, directory.Drive("folder\\two words").c_str()), "0") << command;
        EXPECT_EQ(ReadFile("Folder/two words"), out) << command;
    }
    std::filesystem::remove_all("Folder");
    std::filesystem::remove("test.ini");
    EXPECT_TRUE(std::filesystem::is_empty(".")) << "no stray file";
}

TEST_F(SystemTest, SleepsOfMoreMillisecondsThanThereAreNumbersAreLong) {
    const auto sleep = [] {
        ualarm(500'000, 0);
        GoToSleep(12'884'902);  // cut to 32 bits, that would be 112 ms
        _exit(0);
    };
    EXPECT_EXIT(sleep(), testing::KilledBySignal(SIGALRM), "");
}

}  // namespace
