// The budget of open files, the calls on a file, listings, directories and full paths; and
// free-text names made into names on disk.

#include <unistd.h>

#include <set>
#include <sstream>

#include "platform/files.h"
#include "tests/support/library_test.h"

namespace {

constexpr int32_t kNew = kOpenReadWrite | kOpenCreate;

TEST_F(FilesTest, TheBudgetOf120AsksBeforeTheOpenAtTheLimit) {
    StartWithFiles();
    static int runs = 0;
    MemAddCallback(
        kVrTooManyOpenFiles, [](VrWord, VrWord) { ++runs; }, 0);
    for (int i = 0; i < 119; ++i)
        OsFilesInc();
    for (const int expected : {0, 1, 2}) {
        int32_t handle = 0;
        EXPECT_EQ(OsOpen("a", kNew, kPermissionWrite, &handle), 0);
        EXPECT_EQ(runs, expected);
    }
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

    DirSearch* search = nullptr;
    std::set<std::string> entries;
    for (auto* name = DirFirst("d\\", &search); name != nullptr; name = DirNext(search))
        entries.insert(name + std::to_string(search->attributes ? 0 : search->size));
    EXPECT_EQ(entries, (std::set<std::string>{".0", "..0", "plain7", "sub0"}));
    DirClose(&search);
    EXPECT_EQ(search, nullptr);
    EXPECT_EQ(DirFirst("missing", &search), nullptr);
    EXPECT_NE(search, nullptr) << "the record is there though nothing was found";
    DirClose(&search);
}

TEST_F(FilesTest, TheCurrentDirectoryAndFullPaths) {
    StartWithFiles();
    std::filesystem::create_directory("sub");
    EXPECT_EQ(ChDir("missing"), -1);
    EXPECT_EQ(ChDir(directory.Drive("SUB").c_str()), 0);
    std::string buffer(300, '#');
    EXPECT_EQ(GetCwd(buffer.data(), 300), directory.Drive("sub"));
    EXPECT_EQ(buffer.find('#'), 255u);
    std::string upper = directory.Drive("SUB\\DATA\\X.DAT");
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
    static std::string Mapped(const std::string& name, std::string extension) {
        char* const given = extension == "-" ? nullptr : extension.data();
        return TakeBytes(OsFileName(Array(StringOfBytes(name)), given));
    }
};

TEST_F(NamesTest, MappedNames) {
    // Name, extension, result; each result then exists.
    std::istringstream cases(R"(
        customer      -      CUSTOME1        CUSTOMER      -   CUSTOMER
        CUSTOMER      -      CUSTOME2        A.B           C   A_B1.C
        ABC           DAT    ABC.DAT         ABC           DAT ABC1.DAT
        A.B           -      A.B             A.B           -   A_B1
        ABCDEFGH.TXT  -      ABCDEFGH.TXT    ABCDEFGHIJ.T  -   ABCDEFGHIJ.T
        ABCDEFGHIJK.T -      ABCDEFG1        AB.CDEF       -   AB_CDEF1
        ABCDEFGHIJ    X      ABCDEFG1.X      ABCDEFGH      LONGER ABCDEFGH.LON )");
    for (std::string name, extension, result; cases >> name >> extension >> result;) {
        EXPECT_EQ(Mapped(name, extension), result) << name;
        WriteFile(result, "");
    }
    EXPECT_EQ(Mapped("", "-"), "an empty string of its own");
    EXPECT_EQ(Mapped({"AB\0CD", 5}, "-"), "AB");
}

TEST_F(NamesTest, NumbersRollOverAndTheStemShrinks) {
    WriteFile("ABCDEFGH", "");
    for (const std::string stem : {"ABCDEFG", "ABCDEF"}) {
        for (const char digit : std::string("0123456789ABCDEF"))
            WriteFile(stem + digit, "");
        EXPECT_EQ(Mapped("ABCDEFGH", "-"), stem == "ABCDEF" ? "ABCDEF10" : "ABCDEF0");
    }
}

TEST_F(NamesTest, TheGapAmongManyNamesInOtherCase) {
    WriteFile("abcdefgh", "");
    for (unsigned number = 0; number < 256; ++number) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%x", number);
        if (number < 16) WriteFile(std::string("abcdefg") + digits, "");
        if (number != 0x7A) WriteFile(std::string("abcdef") + digits, "");
    }
    for (const char* expected : {"ABCDEF7A", "ABCDE0"}) {
        EXPECT_EQ(Mapped("ABCDEFGH", "-"), expected);
        WriteFile(expected, "");
    }
}

TEST_F(NamesTest, UniqueNames) {
    const std::string end = "a" + std::to_string(100000 + getpid() % 100000).substr(1);
    const std::string prefix(97, 'p');
    EXPECT_EQ(TakeBytes(GetUniqueTempFileName(prefix.c_str())), prefix + end);
    EXPECT_EQ(TakeBytes(GetUniqueFileName((prefix + "p").c_str())), "");
    DLLPutEnv("VRLTEMP", "D:\\TMP\\");
    EXPECT_EQ(TakeBytes(GetUniqueTempFileName("p")), "D:\\TMP\\\\p" + end);
}

}  // namespace
