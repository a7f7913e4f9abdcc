// Free-text names made into names on disk.

#include <unistd.h>

#include <string>
#include <vector>

#include "tests/support/arrays.h"
#include "tests/support/library_test.h"

namespace {

class NamesTest : public FilesTest {
protected:
    static std::string Mapped(const std::string& name, const char* extension) {
        std::string folded = extension == nullptr ? "" : extension;
        VrString given = StringOfBytes(name);
        VrString result = OsFileName(given, extension == nullptr ? nullptr : folded.data());
        free_mem(&given);
        if (result == NullString()) return "(none)";
        const std::string text = BytesOf(result);
        free_mem(&result);
        return text;
    }

    static std::string Take(VrString s) {
        const std::string text = s == nullptr ? "(null)" : BytesOf(s);
        free_mem(&s);
        return text;
    }
};

TEST_F(NamesTest, MappedNames) {
    StartWithFiles();
    const struct {
        std::string name;
        const char* extension;
        std::vector<const char*> exist;
        const char* result;
    } cases[] = {
        {"CUSTOMER", nullptr, {}, "CUSTOMER"},
        {"CUSTOMER", nullptr, {"CUSTOMER"}, "CUSTOME1"},
        {"CUSTOMER", nullptr, {"CUSTOMER", "CUSTOME1"}, "CUSTOME2"},
        {"customer", nullptr, {}, "CUSTOME1"},
        {"ABC", "DAT", {}, "ABC.DAT"},
        {"ABC", "DAT", {"ABC.DAT"}, "ABC1.DAT"},
        {"ab", "dat", {}, "AB1.DAT"},
        {"A.B", nullptr, {}, "A.B"},
        {"A.B", nullptr, {"A.B"}, "A_B1"},
        {"A.B", "C", {}, "A_B1.C"},
        {"ABCDEFGH.TXT", nullptr, {}, "ABCDEFGH.TXT"},
        {"ABCDEFGHIJ.T", nullptr, {}, "ABCDEFGHIJ.T"},
        {"ABC.DEFGH", nullptr, {}, "ABC_DEF1"},
        {"abc.txt", nullptr, {}, "ABC_TXT1"},
        {"INV-1998", nullptr, {}, "INV_1991"},
        {"A B", nullptr, {}, "A_B1"},
        {"A\x01\xE4",
         nullptr,
         {},
         "A_\xE4"
         "1"},
        {"ABCDEFGHI", nullptr, {}, "ABCDEFG1"},
        {"ABCDEFGHIJKLMNOP", nullptr, {}, "ABCDEFG1"},
        {"ABCDEFGHIJ", "X", {}, "ABCDEFG1.X"},
        {"report.dat", "lis", {}, "REPORT_1.LIS"},
        {"", nullptr, {}, ""},
        {"", "DAT", {}, ".DAT"},
        {"", "DAT", {".DAT"}, "(none)"},
        {std::string("AB\0CD", 5), nullptr, {}, "AB"},
        {"ABCDEFGH", "LONGER", {}, "ABCDEFGH.LON"},
    };
    for (const auto& row : cases) {
        for (const char* file : row.exist)
            WriteFile(file, "");
        EXPECT_EQ(Mapped(row.name, row.extension), row.result) << row.name;
        for (const char* file : row.exist)
            std::filesystem::remove(file);
    }
}

TEST_F(NamesTest, TheExtensionIsFoldedInTheCallersMemory) {
    StartWithFiles();
    char extension[] = "dat";
    VrString name = StrToVrStr("AB");
    EXPECT_EQ(Take(OsFileName(name, extension)), "AB.DAT");
    EXPECT_STREQ(extension, "DAT");
    free_mem(&name);
}

TEST_F(NamesTest, NumbersRollOverAndTheStemShrinks) {
    StartWithFiles();
    const auto exist = [](const char* stem, unsigned from, unsigned to) {
        char number[16];
        for (unsigned i = from; i <= to; ++i) {
            snprintf(number, sizeof number, "%X", i);
            WriteFile(std::string(stem) + number, "");
        }
    };
    WriteFile("ABCDEFGH", "");
    exist("ABCDEFG", 1, 0xE);
    EXPECT_EQ(Mapped("ABCDEFGH", nullptr), "ABCDEFGF");
    exist("ABCDEFG", 0xF, 0xF);
    EXPECT_EQ(Mapped("ABCDEFGH", nullptr), "ABCDEF0");
    exist("ABCDEF", 0, 0xF);
    EXPECT_EQ(Mapped("ABCDEFGH", nullptr), "ABCDEF10");
    exist("ABCDEF", 0x10, 0xFF);
    EXPECT_EQ(Mapped("ABCDEFGH", nullptr), "ABCDE0");
}

TEST_F(NamesTest, LongNames) {
    StartWithFiles();
    const auto mapped = [](const std::string& name, const char* extension) {
        VrString given = StringOfBytes(name);
        VrString result = OsFileLongName(given, extension);
        free_mem(&given);
        return Take(result);
    };
    EXPECT_EQ(mapped("Sales Report*2*", "txt"), "Sales Report^2^.txt");
    EXPECT_EQ(mapped("a/b", nullptr), "a/b");
    EXPECT_EQ(mapped(std::string(300, 'x'), "DAT"), std::string(260, 'x') + ".DAT");
    EXPECT_EQ(mapped(std::string(260, 'x'), std::string(500, 'e').c_str()),
              std::string(260, 'x') + "." + std::string(129, 'e'))
        << "as far as it fits";
    EXPECT_EQ(mapped("", nullptr), "");
}

TEST_F(NamesTest, UniqueNames) {
    StartWithFiles();
    const std::string tail =
        std::string("a") + std::to_string(100000 + getpid() % 100000).substr(1);
    EXPECT_EQ(Take(GetUniqueFileName("AB")), "AB" + tail);
    EXPECT_EQ(Take(GetUniqueTempFileName("AB")), "AB" + tail);
    EXPECT_EQ(Take(GetUniqueFileName(std::string(97, 'p').c_str())), std::string(97, 'p') + tail);
    EXPECT_EQ(GetUniqueFileName(std::string(98, 'p').c_str()), NullString());
    DLLPutEnv("VRLTEMP", "D:\\TMP\\");
    EXPECT_EQ(Take(GetUniqueTempFileName("AB")), "D:\\TMP\\\\AB" + tail);
    EXPECT_EQ(GetUniqueTempFileName(std::string(90, 'p').c_str()), NullString());
}

TEST_F(NamesTest, BaseNames) {
    StartWithFiles();
    const struct {
        const char* line;
        const char* prefix;
        const char* rest;
    } cases[] = {
        {"SAVE  NAME", "save", "NAME"}, {"save\t\r\nA B ", "SAVE", "A B "},
        {"SAVE", "SAVE", "(null)"},     {"SAVE   ", "SAVE", "(null)"},
        {"SAVES", "SAVE", "S"},         {"SAV", "SAVE", "(null)"},
        {"SEND X", "SAVE", "(null)"},   {"X", "", "(null)"},
    };
    for (const auto& row : cases) {
        std::string prefix = row.prefix;
        VrString line = StrToVrStr(row.line);
        EXPECT_EQ(Take(ExtractBaseName(line, prefix.data())), row.rest) << row.line;
        EXPECT_EQ(prefix, row.prefix[0] == '\0' ? "" : "SAVE");
        free_mem(&line);
    }
}

}  // namespace
