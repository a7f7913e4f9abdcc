// The failure sweep. A scenario, which is a piece of a host's work, runs again and again, each
// time in a process of its own, in which the first, the second, the third call of a kind
// fails, until a run meets no failure. After each run: what it told and how it ended are what
// is documented, the record is the old or the new one, and no lock, block or file is left.

#include "tests/sweep/scenarios.h"

namespace {

struct Failure {
    const char* name;
    void (*plan)(uint32_t nth);
    int32_t answer = IDCANCEL;  // to a box that asks whether to go on
    const char* boxes = "";     // that a failure shows
    int status = 0;             // that the run ends with behind them
};

constexpr Failure kFailures[] = {
    {"retry", [](uint32_t n) { ControlFailAllocations(n, 1); }, IDRETRY, "48 53 "},
    {"cancel", [](uint32_t n) { ControlFailAllocations(n, 1); }, IDCANCEL, "48 53 ", 9},
    {"no memory", [](uint32_t n) { ControlFailAllocations(n, 1 << 30); }, IDRETRY, "48 16 ", 9},
    {"denied", [](uint32_t n) { ControlFailOpens(n, 1, EACCES); }},
    {"no handle", [](uint32_t n) { ControlFailOpens(n, 1, EMFILE); }},
    {"no handles", [](uint32_t n) { ControlFailOpens(n, 99, EMFILE); }},
    {"full disk", [](uint32_t n) { ControlFailWrites(n, 99, 0, ENOSPC); }},
    {"short write", [](uint32_t n) { ControlFailWrites(n, 1, 3, ENOSPC); }},
    {"held lock", [](uint32_t n) { ControlFailLocks(n, 1, EACCES); }},
    {"bad lock", [](uint32_t n) { ControlFailLocks(n, 1, EIO); }},
    {"no locks", [](uint32_t n) { ControlFailLocks(n, 99, EINVAL); }},
};

// What the runs told in which no box was shown, the first, second... call failing; "ok" is
// what is told when nothing fails. Of allocations these are the few that are done without: the
// settings, the version resource, name, release, installation path; two reserves, 16 pools.
const std::string kUnnoticed =
    "Ledger 4.2 \\VRLINK (null) (null) 0,  \\VRLINK C:\\data (null) 2,"
    "(null) 4.2 \\VRLINK C:\\data (null) 2,Ledger (null) \\VRLINK C:\\data yes 2,"
    "Ledger 4.2 (null) C:\\data yes 2,ok,ok,ok,ok,ok,ok,ok,ok,ok,ok,ok,ok,ok,ok,ok,ok,ok,ok,";
const std::string kNoSettings = "Ledger 4.2 \\VRLINK (null) (null) 0,";
const std::map<std::string, std::string> kTold = {
    {"Startup retry", kUnnoticed},
    {"Startup cancel", kUnnoticed},
    {"Startup denied", kNoSettings},
    {"Startup no handle", kNoSettings},
    {"Startup no handles", kNoSettings},
    {"Files denied", "open -1,"},
    {"Files no handle", "ok,"},
    {"Files no handles", "open -2,"},
    {"Files full disk", "wrote -1 -1 -1 |,wrote 5 -1 -1 line|,wrote 5 5 -1 line|,"},
    {"Files short write", "wrote 3 5 5 linline|,wrote 5 3 5 line|,wrote 5 5 3 line|,"},
    {"Edit denied", "register -1,read old,write old,"},
    {"Edit no handle", "ok,ok,ok,"},
    {"Edit no handles", "register -2,read old,write old,"},
    {"Edit full disk", "write old,"},
    {"Edit short write", "write old,"},
    {"Edit held lock", "ok,lock 1 old,"},
    {"Edit bad lock", "register -1,lock -1 old,"},
    {"Edit no locks", "register 1,unlock new,"},
    {"Command denied", "exit 5 7,"},
    {"Command no handle", "ok,"},
    {"Command no handles", "exit 5 7,"},
    {"Command full disk", "exit 0 7,exit 0 7,exit 0 7one|,ok,"},
    {"Log denied", "-1,"},
    {"Log no handle", "ok,"},
    {"Log no handles", "-1,"},
    {"Log full disk", "0,0 |---------T----------,0 |---------T---------- |READ,"},
    {"Log short write",
     "0 |-- |READ |WRITE,0 |---------T---------- |RE |WRITE,"
     "0 |---------T---------- |READ |WR,"},
};

// What a run leaves for its parent to see.
struct Report {
    int32_t endings;    // calls of the first routine of the exit chain
    int32_t exhausted;  // calls of the callback
    uint32_t failuresMet, blocks;
    ptrdiff_t descriptors;
    bool isLocked;
    char told[100'000], boxes[200];
};

Report* report = nullptr;
std::string boxes;  // their styles

int32_t Present(void* answer, const char*, const char*, uint32_t style) {
    boxes += std::to_string(style) + ' ';
    return style == 53 ? *static_cast<const int32_t*>(answer) : IDOK;
}

// As another process sees it, since this is another open of the file.
bool IsLocked() {
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    const int file = open("__locks", O_RDWR | O_CLOEXEC);
    return file != -1 && fcntl(file, F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

// The last thing that a run does, whoever ends it.
void Finish([[maybe_unused]] int status, void*) {
    report->failuresMet = ControlFailuresMet();
    report->blocks = ControlBlocksOut();
    report->descriptors = EntriesOf("/proc/self/fd");
    report->isLocked = IsLocked();
    boxes.copy(report->boxes, sizeof report->boxes - 1);
#ifndef VR_COVERAGE  // whose counts are written behind this
    _exit(status);
#endif
}

// What a callback does must not show in a result that is made of a static text.
void AskForStaticResults(VrWord, VrWord) {
    DLLGetEnv("SWEPT");
    for (VrString other : {GetUniqueFileName("other"), EnvironFileName(Array("$SWEPT/y")),
                           UtilPutFieldsInVrString(Array("a"), Array("other"), Array("1"))})
        free_mem(&other);
}

[[noreturn]] void Act(const Scenario& scenario, const Failure& failure, uint32_t nth) {
    alarm(20);
    on_exit(Finish, nullptr);
    int32_t answer = failure.answer;
    ControlMessageBoxes(Present, &answer);
    MemAddCallback(
        kVrMemoryExhausted, [](VrWord, VrWord) { ++report->exhausted; }, 0);
    if (scenario.run != Startup) {
        Startup();
        VrExitAdd([] { ++report->endings; });
        AskForStaticResults(0, 0);  // whose pages are there from now on
        if (failure.status == 0) MemAddCallback(kVrMemoryShort, AskForStaticResults, 0);
    }
    failure.plan(nth);
    scenario.run().copy(report->told, sizeof report->told - 1);
    VrExit(0);
    std::exit(testing::Test::HasFailure() || VrExitInExit() == 0 ? 1 : 0);
}

struct SweepTest : HostTest, testing::WithParamInterface<Scenario> {
    // The exit status of a run.
    int Run(const Failure& failure, uint32_t nth) {
        const TempDirectory directory;
        PrepareFolder();
        *report = {};
        const pid_t run = fork();
        if (run == 0) Act(GetParam(), failure, nth);
        int status = -1;
        waitpid(run, &status, 0);
        const std::string record = ReadFile("RECORD");
        EXPECT_TRUE(record == kRecord || record == kEditedRecord) << record;
        EXPECT_FALSE(report->isLocked);
        files.clear();
        for (const auto& entry : std::filesystem::directory_iterator("."))
            files.insert(entry.path().filename());
        return WIFEXITED(status) ? WEXITSTATUS(status) : -status;
    }

    // What a run told that met a failure; nothing if a box was shown.
    std::string RunToFail(const Failure& failure, uint32_t nth) {
        const int status = Run(failure, nth);
        const bool noticed = *report->boxes != '\0';
        const bool isOk =  // zeros are told, too
            std::memcmp(undisturbed.told, report->told, sizeof report->told) == 0;
        EXPECT_STREQ(report->boxes, noticed ? failure.boxes : "");
        EXPECT_EQ(status, noticed ? failure.status : 0);
        EXPECT_TRUE(!noticed || isOk || status == 9) << report->told;
        EXPECT_EQ(report->exhausted, status == 9 ? 1 : 0);
        EXPECT_EQ(report->endings, undisturbed.endings);
        if (status == 0) {
            EXPECT_LE(report->blocks, undisturbed.blocks);
            EXPECT_LE(report->descriptors, undisturbed.descriptors);
        }
        EXPECT_TRUE(std::ranges::includes(undisturbedFiles, files))
            << testing::PrintToString(files);
        const bool met = report->failuresMet != 0;
        EXPECT_TRUE(met || isOk);
        return !met || noticed ? "" : (isOk ? "ok" : report->told) + std::string(",");
    }

    Report undisturbed = {};
    std::set<std::string> files, undisturbedFiles;
};

INSTANTIATE_TEST_SUITE_P(Of, SweepTest, testing::ValuesIn(kScenarios),
                         [](const auto& suite) { return std::string(suite.param.name); });

TEST_P(SweepTest, EachCallFailsInTurn) {
    report = static_cast<Report*>(
        mmap(nullptr, sizeof(Report), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    ASSERT_EQ(Run({"nothing", [](uint32_t) {}}, 1), 0);
    undisturbed = *report;
    undisturbedFiles = files;
    for (const Failure& failure : kFailures) {
        const std::string name = std::string(GetParam().name) + ' ' + failure.name;
        // The shell runs what there is of the batch file, whose cut redirect names another file.
        if (name == "Command short write") continue;
        const auto row = kTold.find(name);
        std::string told;
        uint32_t nth = 0;
        do {
            SCOPED_TRACE(name + ' ' + std::to_string(++nth));
            told += RunToFail(failure, nth);
        } while (report->failuresMet != 0 && !HasFailure());
        EXPECT_EQ(told, row == kTold.end() ? "" : row->second) << name;
    }
}

}  // namespace
