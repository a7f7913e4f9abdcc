// Free-text names made into names on disk.

#include <unistd.h>

#include <cstring>
#include <map>
#include <sstream>
#include <string>

#include "tests/support/arrays.h"
#include "tests/support/library_test.h"

namespace {

struct NamesTest : FilesTest {
    // A string that lasts until the next one.
    VrString Given(const std::string& bytes) {
        free_mem(&lastGiven);
        return lastGiven = StringOfBytes(bytes);
    }
    static std::string Taken(VrString s) {
        if (s == nullptr) return "(null)";
        if (s == NullString()) return "(none)";
        const std::string text = BytesOf(s);
        free_mem(&s);
        return text;
    }
    std::string Mapped(const std::string& name, std::string extension) {
        return Taken(OsFileName(Given(name), extension == "-" ? nullptr : extension.data()));
    }
    VrString lastGiven = nullptr;
};

TEST_F(NamesTest, MappedNames) {
    StartWithFiles();
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
    EXPECT_EQ(Mapped("", "-"), "");
    EXPECT_EQ(Mapped("", "DAT"), ".DAT");
    WriteFile(".DAT", "");
    EXPECT_EQ(Mapped("", "DAT"), "(none)");
    EXPECT_EQ(Mapped({"AB\0CD", 5}, "-"), "AB");
    char extension[] = "dat";
    EXPECT_EQ(Taken(OsFileName(Given("XY"), extension)), "XY.DAT");
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
    StartWithFiles();
    const std::map<int, std::string> results = {
        {1, "ABCDEFGH"}, {2, "ABCDEFG1"},  {16, "ABCDEFGF"},  {17, "ABCDEF0"},
        {32, "ABCDEFF"}, {33, "ABCDEF10"}, {272, "ABCDEFFF"}, {273, "ABCDE0"}};
    for (int i = 1; i <= 273; ++i) {
        const std::string name = Mapped("ABCDEFGH", "-");
        EXPECT_EQ(name, results.contains(i) ? results.at(i) : name);
        WriteFile(name, "");
    }
}

TEST_F(NamesTest, UniqueNames) {
    StartWithFiles();
    const std::string end = "a" + std::to_string(100000 + getpid() % 100000).substr(1);
    const std::string longest(97, 'p');
    EXPECT_EQ(Taken(GetUniqueTempFileName(longest.c_str())), longest + end);
    EXPECT_EQ(Taken(GetUniqueFileName((longest + "p").c_str())), "(none)");
    DLLPutEnv("VRLTEMP", "D:\\TMP\\");
    const std::string fits = longest.substr(8);
    EXPECT_EQ(Taken(GetUniqueTempFileName(fits.c_str())), "D:\\TMP\\\\" + fits + end);
    EXPECT_EQ(Taken(GetUniqueTempFileName((fits + "p").c_str())), "(none)");
}

TEST_F(NamesTest, LongNamesAndBaseNames) {
    StartWithFiles();
    const std::string longest(260, 'x');
    const std::string fits(129, 'e');
    EXPECT_EQ(Taken(OsFileLongName(Given({"Sales/Report *2*\0x", 18}), "txt")),
              "Sales/Report ^2^.txt");
    EXPECT_EQ(Taken(OsFileLongName(Given(longest + "x"), nullptr)), longest);
    EXPECT_EQ(Taken(OsFileLongName(Given(longest), (fits + "e").c_str())), longest + "." + fits);

    const std::string baseNames[][3] = {
        {"SAVE  NAME", "save", "NAME"}, {"save\t\r\n\v\fA B ", "SAVE", "A B "},
        {"SAVE", "SAVE", "(null)"},     {"SAVE   ", "SAVE", "(null)"},
        {"SAVES", "SAVE", "S"},         {"SAV", "SAVE", "(null)"},
        {"SEND X", "SAVE", "(null)"},   {"X", "", "(null)"},
    };
    for (const auto& [line, given, rest] : baseNames) {
        std::string prefix = given;
        EXPECT_EQ(Taken(ExtractBaseName(Given(line), prefix.data())), rest) << line;
        EXPECT_EQ(prefix, given.empty() ? "" : "SAVE");
    }
}

}  // namespace
