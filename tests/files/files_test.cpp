// The budget of open files, the calls on a file, listings, directories and full paths; and
// free-text names made into names on disk.

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <map>
#include <set>
#include <sstream>
#include <string>

#include "platform/environment.h"
#include "platform/files.h"
#include "tests/support/arrays.h"
#include "tests/support/library_test.h"

namespace {

constexpr int32_t kNew = kOpenReadWrite | kOpenCreate;

int callbackRuns = 0;

// How often the callbacks ran during one open, of which the result is expected.
int RunsOfOpen(const char* path, int32_t result = 0) {
    callbackRuns = 0;
    int32_t handle = 0;
    EXPECT_EQ(OsOpen(path, result == 0 ? kNew : kOpenReadOnly, kPermissionWrite, &handle), result);
    EXPECT_EQ(handle == -1, result != 0);
    return callbackRuns;
}

// The same while that many files are counted in, or out.
int RunsOfCounting(int files) {
    callbackRuns = 0;
    for (int i = 0; i < abs(files); ++i)
        files > 0 ? OsFilesInc() : OsFilesDec();
    return callbackRuns;
}

TEST_F(FilesTest, TheBudgetOf120AsksBeforeTheOpenAtTheLimit) {
    StartWithFiles();
    MemAddCallback(
        kVrTooManyOpenFiles, [](VrWord, VrWord) { ++callbackRuns; }, 0);
    EXPECT_EQ(RunsOfCounting(119), 0);
    EXPECT_EQ(RunsOfOpen("a"), 0);
    EXPECT_EQ(RunsOfOpen("c"), 1);
    EXPECT_EQ(RunsOfOpen("missing", -1), 1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(OsClose(99), 1) << "lowers the count of 121 all the same";
    EXPECT_EQ(OsClose(4), 1);
    EXPECT_EQ(RunsOfOpen("c"), 0);
    EXPECT_EQ(RunsOfOpen("c"), 1);

    // Above the limit each open asks once, and error 24 asks once more.
    ControlFailOpens(1, 1, kErrorTooManyOpenFiles);
    EXPECT_EQ(RunsOfOpen("a"), 2);
    ControlFailOpens(1, 2, kErrorTooManyOpenFiles);
    EXPECT_EQ(RunsOfOpen("a", -2), 2);
    EXPECT_EQ(errno, kErrorTooManyOpenFiles);

    for (int i = 0; i < 200; ++i)
        OsClose(99);  // to 0 and no further
    EXPECT_EQ(RunsOfCounting(121), 1);
    RunsOfCounting(-122);  // to -1
    EXPECT_EQ(RunsOfCounting(122), 1);
}

TEST_F(FilesTest, AFileIsWrittenReadAndListed) {
    StartWithFiles();
    std::filesystem::create_directories("d/sub");
    int32_t handle = 0;
    ASSERT_EQ(OsOpen("d\\plain", kNew | kOpenText, kPermissionWrite, &handle), 0);
    EXPECT_EQ(OsWrite(handle, "one\ntwo\n", 8), 8);
    EXPECT_EQ(OsFileLength(handle), 10);
    EXPECT_EQ(OsChsize(handle, 7), 0);
    EXPECT_EQ(OsLseek(handle, -2, 2), 5);
    VrStream* stream = OsFdopen(handle, "r");
    char line[16];
    EXPECT_STREQ(OsFgets(line, sizeof line, stream), "tw");
    EXPECT_EQ(OsFgets(line, sizeof line, stream), nullptr);
    EXPECT_EQ(OsFclose(stream), 0);

    const std::string longest = "d" + std::string(250, '/');
    const std::set<std::string> all = {".0", "..0", "plain7", "sub0"};
    const std::pair<std::string, std::set<std::string>> cases[] = {
        {"d", all}, {"d\\", all}, {longest, all}, {longest + "/", {}}, {"missing", {}}, {"", {}}};
    for (const auto& [path, expected] : cases) {
        DirSearch* search = nullptr;
        std::set<std::string> entries;
        for (auto* name = DirFirst(path.c_str(), &search); name != nullptr; name = DirNext(search))
            entries.insert(name + std::to_string(search->attributes ? 0 : search->size));
        EXPECT_EQ(entries, expected) << path;
        ASSERT_NE(search, nullptr) << "the record is there though nothing was found";
        EXPECT_EQ(search->searchHandle == -1, expected.empty());
        EXPECT_EQ(DirNext(search), nullptr);
        DirClose(&search);
        EXPECT_EQ(search, nullptr);
        DirClose(&search);
    }
}

TEST_F(FilesTest, TheCurrentDirectoryAndFullPaths) {
    StartWithFiles();
    std::string buffer(300, '#');
    SetEnvironmentVariableA("VRPLATFORM_DRIVE_C", "/nowhere");
    EXPECT_EQ(GetCwd(buffer.data(), 300), nullptr) << "the directory lies on no drive";
    SetEnvironmentVariableA("VRPLATFORM_DRIVE_C", nullptr);
    EXPECT_EQ(GetCwd(buffer.data(), 300), directory.drivePath);
    EXPECT_EQ(buffer.find('#'), 255u);
    std::string four = "########";
    GetCwd(four.data(), 4);
    GetCwd(four.data() + 4, -1);
    EXPECT_EQ(four, directory.drivePath.substr(0, 4) + "####");

    std::filesystem::create_directory("sub");
    std::filesystem::current_path("sub");
    EXPECT_EQ(ChDir("missing"), -1);
    EXPECT_EQ(GetCwd(buffer.data(), 300), directory.drivePath) << "changes past ChDir stay unseen";
    EXPECT_EQ(ChDir((directory.drivePath + "\\SUB").c_str()), 0);
    EXPECT_EQ(GetCwd(buffer.data(), 300), directory.drivePath + "\\sub");

    std::string upper = directory.drivePath + "\\SUB\\DATA\\X.DAT";
    ToUpper(upper.data());
    const std::string longest = "D:\\" + std::string(251, 'X');
    const std::string cases[][2] = {
        {"", ""}, {"data\\x.dat", upper}, {longest, longest}, {longest + "X", ""}};
    for (const auto& [path, full] : cases)
        EXPECT_EQ(TakeBytes(GetFullPath(Array(StringOfBytes(path)))), full);
}

struct NamesTest : FilesTest {
    NamesTest() {
        StartWithFiles();
    }
    static std::string Taken(VrString s) {
        return s == nullptr ? "(null)" : s == NullString() ? "(none)" : TakeBytes(s);
    }
    static std::string Mapped(const std::string& name, std::string extension) {
        char* const given = extension == "-" ? nullptr : extension.data();
        return Taken(OsFileName(Array(StringOfBytes(name)), given));
    }
    static std::string LongName(const std::string& name, const char* extension) {
        return Taken(OsFileLongName(Array(StringOfBytes(name)), extension));
    }
};

TEST_F(NamesTest, MappedNames) {
    // Name, extension, result; each result then exists.
    std::istringstream cases(R"(
        customer      -      CUSTOME1        CUSTOMER      -   CUSTOMER
        CUSTOMER      -      CUSTOME2        INV-1998      -   INV_1991
        ABC           DAT    ABC.DAT         ABC           DAT ABC1.DAT
        ab            dat    AB1.DAT         A.B           C   A_B1.C
        A.B           -      A.B             A.B           -   A_B1
        A-.B          -      A__B1           abc.txt       -   ABC_TXT1
        ABCDEFGH.TXT  -      ABCDEFGH.TXT    ABCDEFGHIJ.T  -   ABCDEFGHIJ.T
        ABCDEFGHIJK.T -      ABCDEFG1        AB.CDEF       -   AB_CDEF1
        ABCDEFGHI     -      ABCDEFG2        ABCDEFGHI\    -   ABCDEFG3
        ABCDEFGHIJ    X      ABCDEFG1.X      report.dat    lis REPORT_1.LIS
        ABCDEFGH      LONGER ABCDEFGH.LON )");
    for (std::string name, extension, result; cases >> name >> extension >> result;) {
        EXPECT_EQ(Mapped(name, extension), result) << name;
        WriteFile(result, "");
    }
    EXPECT_EQ(Mapped("", "-"), "an empty string of its own");
    EXPECT_EQ(Mapped("", "DAT"), ".DAT");
    WriteFile(".DAT", "");
    EXPECT_EQ(Mapped("", "DAT"), "(none)");
    EXPECT_EQ(Mapped({"AB\0CD", 5}, "-"), "AB");
    char extension[] = "dat";
    EXPECT_EQ(Taken(OsFileName(Array("XY"), extension)), "XY.DAT");
    EXPECT_STREQ(extension, "DAT") << "in the caller's memory";

    for (int byte = 1; byte < 256; ++byte) {
        const std::string name = {'X', static_cast<char>(byte), 'Y'};
        std::string folded = name;
        if (std::strchr("\"\x01.\\|+/:;,-[]{}*?$><= ", byte) != nullptr) folded[1] = '_';
        ToUpper(folded.data());
        EXPECT_EQ(Mapped(name, "E"), folded == name ? name + ".E" : folded + "1.E");
    }
}

TEST_F(NamesTest, NumbersRollOverAndTheStemShrinks) {
    const std::map<int, std::string> results = {
        {1, "ABCDEFGH"}, {2, "ABCDEFG1"},  {16, "ABCDEFGF"},  {17, "ABCDEF0"},
        {32, "ABCDEFF"}, {33, "ABCDEF10"}, {272, "ABCDEFFF"}, {273, "ABCDE0"}};
    for (int i = 1; i <= 273; ++i) {
        const std::string name = Mapped("ABCDEFGH", "-");
        EXPECT_EQ(name, results.contains(i) ? results.at(i) : name);
        WriteFile(name, "");
    }
}

TEST_F(NamesTest, UniqueLongAndBaseNames) {
    const std::string end = "a" + std::to_string(100000 + getpid() % 100000).substr(1);
    const std::string prefix(97, 'p');
    EXPECT_EQ(Taken(GetUniqueTempFileName(prefix.c_str())), prefix + end);
    EXPECT_EQ(Taken(GetUniqueFileName((prefix + "p").c_str())), "(none)");
    DLLPutEnv("VRLTEMP", "D:\\TMP\\");
    const std::string fits = prefix.substr(8);
    EXPECT_EQ(Taken(GetUniqueTempFileName(fits.c_str())), "D:\\TMP\\\\" + fits + end);
    EXPECT_EQ(Taken(GetUniqueTempFileName((fits + "p").c_str())), "(none)");

    const std::string longest(260, 'x'), extension(129, 'e');
    EXPECT_EQ(LongName({"Sales/Report *2*\0x", 18}, "txt"), "Sales/Report ^2^.txt");
    EXPECT_EQ(LongName(longest + "x", nullptr), longest);
    EXPECT_EQ(LongName(longest, (extension + "e").c_str()), longest + "." + extension);

    const std::string baseNames[][3] = {
        {"SAVE  NAME", "save", "NAME"}, {"save\t\r\n\v\fA B ", "SAVE", "A B "},
        {"SAVE", "SAVE", "(null)"},     {"SAVE   ", "SAVE", "(null)"},
        {"SAVES", "SAVE", "S"},         {"SAV", "SAVE", "(null)"},
        {"SEND X", "SAVE", "(null)"},   {"X", "", "(null)"}};
    for (const auto& [line, given, rest] : baseNames) {
        std::string word = given;
        EXPECT_EQ(Taken(ExtractBaseName(Array(line), word.data())), rest) << line;
        EXPECT_EQ(word, given.empty() ? "" : "SAVE");
    }
}

}  // namespace
