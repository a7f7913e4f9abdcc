// Character conversion: what a conversion file makes of every byte, the two ways of
// copying, and the reader of private profiles that the tables come through.

#include <algorithm>
#include <sstream>
#include <string>

#include "platform/environment.h"
#include "tests/support/arrays.h"
#include "tests/support/library_test.h"

namespace {

using namespace std::string_literals;

constexpr char kExample[] = "[input]\n0x84=0xE4\n[display]\n228=132\n";
const std::string kSame = "(the same string)";

// The string's bytes after conversion, or kSame when it came back itself. No memo comes
// along: the marks are not where they were.
std::string Converted(const std::string& bytes, int32_t direction) {
    const Array given(StringOfBytes(bytes));
    const bool isLong = bytes.size() > 128;
    if (isLong) HeaderOf(given).memoAttribute = 2;
    VrString converted = CvtConvert(given, direction);
    EXPECT_EQ(BytesOf(given), bytes) << "the given string stays";
    if (converted == given) return kSame;
    EXPECT_EQ(isLong ? HeaderOf(converted).memoAttribute : 0, 0);
    return TakeBytes(converted);
}

struct ConvertTest : FilesTest {
    void Load(const std::string& text) {
        WriteFile("table.cvt", text);
        CvtInit((directory.drivePath + "\\table.cvt").c_str());
    }
};

// Keys in the three number systems; each byte goes to 7 * byte + 3 on input, of which one
// is 0 and so stays, and to 255 - byte on display, where only every other byte is named.
TEST_F(ConvertTest, AllBytesThroughGeneratedTables) {
    std::string file = "[input]\n", display = "[display]\n", all, input, shown;
    const char* formats[] = {"%d=%d\n", "0x%X=0x%x\n", "0%o=0%o\n"};
    for (int byte = 0; byte < 256; ++byte) {
        const int value = (7 * byte + 3) & 255;
        char line[32];
        snprintf(line, sizeof line, formats[byte % 3], byte, value);
        file += line;
        snprintf(line, sizeof line, "%d=%d\n", byte, 255 - byte);
        if (byte % 2 == 0) display += line;
        all += char(byte);
        input += char(value != 0 ? value : byte);
        shown += char(byte % 2 == 0 ? 255 - byte : byte);
    }
    Start();
    Load(file + display);
    EXPECT_EQ(CvtFlag, 256 + 128);
    EXPECT_EQ(Converted(all, 0), input);
    EXPECT_EQ(Converted(all, 1), shown);
    for (size_t i = 0; i < 256; ++i)
        EXPECT_EQ(Converted(all.substr(i, 1), 1), i % 2 == 0 ? shown.substr(i, 1) : kSame) << i;
    CvtInit(nullptr);
    EXPECT_EQ(CvtFlag, 256 + 128) << "stays when no file is named";
    EXPECT_EQ(Converted(all, 0) + Converted(all, 1), kSame + kSame);
}

TEST_F(ConvertTest, EdgesOfTheFile) {
    Start();
    const std::tuple<std::string, int32_t, std::string, std::string> cases[] = {
        {"011=0x41", 1, "\t", "A"},
        {"65=321", 1, "bAb", "bAb"},
        {"x41=66", 1, "A\0A"s, "ABA"},
        {"65=abc", 1, "A", kSame},
        {"65=0\n66=67", 2, "AB", "AC"},
        {"65=66\n0x41=67", 2, "A", "C"},
        {"65=66\n65=67", 2, "A", "B"},
        {" 65\t= 0102xyz", 1, "A", "B"},
        {"-191=-190\n+67=\"+68\"", 2, "AC", "BD"},
        {"; 65=66\n66=67", 1, "AB", "AC"},
        {"65=00000000000000000102", 1, "A", "\b"},
        {"[display]\n65=66", 1, "A", kSame}};
    for (const auto& [lines, flag, given, converted] : cases) {
        Load("[INPUT]\n" + lines + "\n");
        EXPECT_EQ(CvtFlag, flag) << lines;
        EXPECT_EQ(Converted(given, 0), converted) << lines;
    }
}

// A length word and a zero stand beside the text in the scratch area.
TEST_F(ConvertTest, TextsThatFitTheScratchAreaAreCopiedThere) {
    Start();
    Load("[input]\n65=66\n");
    for (size_t length : {1u, 129u, 10235u, 10236u, 200000u}) {
        std::string text(length, 'x');
        const uint32_t blocks = ControlBlocksOut();
        std::fill_n(MemBuf1, kVrScratchSize, '?');
        EXPECT_EQ(Converted(text, 0), kSame) << length;
        const bool untouched = std::count(MemBuf1, MemBuf1 + kVrScratchSize, '?') == kVrScratchSize;
        EXPECT_EQ(untouched, length > 10235) << length;
        std::string converted = text;
        text.back() = text[0] = 'A';
        converted.back() = converted[0] = 'B';
        EXPECT_EQ(Converted(text, 0), converted) << length;
        EXPECT_EQ(ControlBlocksOut(), blocks) << "no working copy is left";
    }
}

TEST_F(ConvertTest, WhichFileIsRead) {
    std::filesystem::create_directory("windows");
    WriteFile("windows/Table.CVT", kExample);
    SetEnvironmentVariableA("VRPLATFORM_WINDOWS_DIR", (directory.drivePath + "\\windows").c_str());
    StartWithFiles("[Environment]\nCVTFILE=table.cvt\n");
    EXPECT_EQ(CvtFlag, 2);
    EXPECT_EQ(Converted("\x84", 0), "\xE4");
    Load("[display]\n65=66\n");
    EXPECT_EQ(CvtFlag, 1);
    EXPECT_EQ(Converted("\x84", 0), kSame) << "tables are replaced whole";
    CvtInit("");
    EXPECT_EQ(CvtFlag, 2);
    CvtInit(".\\missing.cvt");
    EXPECT_EQ(CvtFlag, 0);
    EXPECT_EQ(Converted("A", 1), kSame);
}

// The result with ; for zeros. A - names no section or no key.
std::string Profile(const std::string& section, const std::string& key, uint32_t size = 200,
                    const char* file = "./p.ini") {
    const auto given = [](const std::string& name) { return name == "-" ? nullptr : name.c_str(); };
    std::string buffer(size + 8, '#');
    const uint32_t length =
        GetPrivateProfileStringA(given(section), given(key), "none", buffer.data(), size, file);
    EXPECT_EQ(buffer.substr(size), "########");
    if (size == 0) return std::to_string(length);
    buffer.resize(std::min(size_t(size), buffer.find('#')));
    EXPECT_EQ(buffer.substr(length), std::string(key == "-" && length + 2 == size ? 2 : 1, '\0'));
    std::replace(buffer.begin(), buffer.end(), '\0', ';');
    return buffer.substr(0, length);
}

TEST(ProfileTest, RulesOfTheReader) {
    TempDirectory directory;
    WriteFile(
        "p.ini",
        "stray=1\r\n;[One]\r\n[ One ]\r\n\t Key\t=  value one \t\r\n;hidden=1\r\nkey=second\r\n"
        "double=\"  x \"\r\nsingle='y'\r\ntwo=\"\"z\"\"\r\nhalf=\"w\r\nmark=\"\r\nempty=\r\n"
        "more=a=b;c\r\n\r\n[two]\nkey=2\n[ONE]\nlate=3\n[last]\nk=end");
    for (const std::string row :
         {"one|KEY|value one", "one|hidden|none", "One|double|  x ", "One|single|y",
          "One|two|\"z\"", "One|mark|\"", "One|empty|", "One|more|a=b;c", "Two|Key|2", "last|k|end",
          "One|stray|none", "|stray|none", "One|ke|none", "two|-|key;", "-|-|One;two;ONE;last;",
          "One|-|Key;key;double;single;two;half;mark;empty;more;"}) {
        std::string section, key, value;
        std::istringstream parts(row);
        std::getline(std::getline(std::getline(parts, section, '|'), key, '|'), value);
        EXPECT_EQ(Profile(section, key), value) << row;
    }
    const std::tuple<const char*, uint32_t, std::string> cut[] = {
        {"Key", 10, "value one"}, {"Key", 9, "value on"}, {"Key", 1, ""},   {"Key", 0, "0"},
        {"-", 10, "Key;key;"},    {"-", 9, "Key;key"},    {"none", 3, "no"}};
    EXPECT_EQ(Profile("two", "-", 5), "key;") << "an exact fit";
    for (const auto& [key, size, value] : cut)
        EXPECT_EQ(Profile("One", key, size), value);
    for (const char* none : {"p.ini", "./missing.ini", "."})  // not in the current directory
        EXPECT_EQ(Profile("One", "Key", 200, none), "none");
}

}  // namespace
