// Character conversion: what a conversion file makes of every byte, the two ways of
// copying, and the reader of private profiles that the tables come through.

#include <string>

#include "platform/environment.h"
#include "tests/support/arrays.h"
#include "tests/support/library_test.h"

namespace {

using namespace std::string_literals;

constexpr char kExample[] = "[input]\n0x84=0xE4\n[display]\n228=132\n";
const std::string kSame = "(the same string)";

// The string's bytes after conversion, or kSame when it came back itself.
std::string Converted(const std::string& bytes, int32_t direction) {
    VrString given = StringOfBytes(bytes);
    VrString converted = CvtConvert(given, direction);
    EXPECT_EQ(BytesOf(given), bytes) << "the given string stays";
    const std::string result = converted == given ? kSame : BytesOf(converted);
    if (converted != given) free_mem(&converted);
    free_mem(&given);
    return result;
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
    std::string file = "[input]\n";
    std::string display = "[display]\n";
    std::string all, input, shown;
    const char* formats[] = {"%d=%d\n", "0x%X=0x%x\n", "0%o=0%o\n"};
    for (int byte = 0; byte < 256; ++byte) {
        const int value = (7 * byte + 3) & 255;
        char line[32];
        snprintf(line, sizeof line, formats[byte % 3], byte, value);
        file += line;
        if (byte % 2 == 0)
            display += std::to_string(byte) + "=" + std::to_string(255 - byte) + "\n";
        all += static_cast<char>(byte);
        input += static_cast<char>(value != 0 ? value : byte);
        shown += static_cast<char>(byte % 2 == 0 ? 255 - byte : byte);
    }
    Start();
    Load(file + display);
    EXPECT_EQ(CvtFlag, 256 + 128);
    EXPECT_EQ(Converted(all, 0), input);
    EXPECT_EQ(Converted(all, 1), shown);
    for (size_t i = 0; i < 256; ++i)
        EXPECT_EQ(Converted(all.substr(i, 1), 1), i % 2 == 0 ? shown.substr(i, 1) : kSame) << i;
}

TEST_F(ConvertTest, EdgesOfTheFile) {
    Start();
    const struct {
        std::string lines;
        int32_t flag;
        std::string given;
        std::string converted;
    } cases[] = {
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
        {"65=" + std::string(17, '0') + "102", 1, "A", "\b"},
        {"[display]\n65=66", 1, "A", kSame},
    };
    for (const auto& row : cases) {
        Load("[INPUT]\n" + row.lines + "\n");
        EXPECT_EQ(CvtFlag, row.flag) << row.lines;
        EXPECT_EQ(Converted(row.given, 0), row.converted) << row.lines;
    }
}

// A length word and a zero stand beside the text in the scratch area.
TEST_F(ConvertTest, TextsThatFitTheScratchAreaAreCopiedThere) {
    Start();
    Load("[input]\n65=66\n254=65\n");
    for (size_t length : {1u, 128u, 129u, 5000u, 10235u, 10236u, 200000u}) {
        std::string text(length, 'x');
        const uint32_t blocks = ControlBlocksOut();
        std::fill_n(MemBuf1, kVrScratchSize, '?');
        EXPECT_EQ(Converted(text, 0), kSame) << length;
        const bool untouched = std::count(MemBuf1, MemBuf1 + kVrScratchSize, '?') == kVrScratchSize;
        EXPECT_EQ(untouched, length > 10235) << length;
        text.back() = 'A';
        text[0] = 'A';
        std::string converted = text;
        converted.back() = converted[0] = 'B';
        EXPECT_EQ(Converted(text, 0), converted) << length;
        EXPECT_EQ(ControlBlocksOut(), blocks) << "no working copy is left";
    }
}

TEST_F(ConvertTest, TheFlagStaysWhenNoFileIsNamed) {
    Start();
    for (const char* none : {(const char*)nullptr, ""}) {
        Load(kExample);
        CvtInit(none);
        EXPECT_EQ(CvtFlag, 2);
        EXPECT_EQ(Converted("\x84", 0) + Converted("\xE4", 1), kSame + kSame);
    }
    Load(kExample);
    Load("[display]\n65=66\n");
    EXPECT_EQ(CvtFlag, 1);
    EXPECT_EQ(Converted("\x84", 0), kSame) << "tables are replaced whole";
    CvtInit((directory.drivePath + "\\missing.cvt").c_str());
    EXPECT_EQ(CvtFlag, 0);
    EXPECT_EQ(Converted("A", 1), kSame);
}

TEST_F(ConvertTest, TheSettingNamesAFileInTheWindowsDirectory) {
    std::filesystem::create_directory("windows");
    WriteFile("windows/Table.CVT", kExample);
    WriteFile("table.cvt", "[input]\n65=66\n");
    SetEnvironmentVariableA("VRPLATFORM_WINDOWS_DIR", (directory.drivePath + "\\windows").c_str());
    StartWithFiles("[Environment]\nCVTFILE=table.cvt\n");
    EXPECT_EQ(CvtFlag, 2);
    EXPECT_EQ(Converted("\x84", 0), "\xE4");
    CvtInit(".\\table.cvt");
    EXPECT_EQ(CvtFlag, 1);
    CvtInit("");
    EXPECT_EQ(CvtFlag, 2);
}

// The result with | for zeros; the buffer around it must be as it was.
std::string Profile(const char* section, const char* key, uint32_t size = 200,
                    const char* file = "./p.ini") {
    std::string buffer(size + 8, '#');
    const uint32_t length =
        GetPrivateProfileStringA(section, key, "none", buffer.data(), size, file);
    EXPECT_EQ(buffer.substr(size), "########");
    if (size == 0) return std::to_string(length);
    const size_t zeros = section == nullptr || key == nullptr ? 2 : 1;
    const bool cut = length + zeros >= size || zeros == 1;
    EXPECT_EQ(buffer.substr(length, cut ? zeros : 1), std::string(cut ? zeros : 1, '\0')) << size;
    std::replace(buffer.begin(), buffer.end(), '\0', '|');
    return buffer.substr(0, length);
}

TEST(ProfileTest, RulesOfTheReader) {
    TempDirectory directory;
    WriteFile(
        "p.ini",
        "stray=1\r\n;[One]\r\n[ One ]\r\n\t Key\t=  value one \t\r\n;hidden=1\r\nkey=second\r\n"
        "double=\"  x \"\r\nsingle='y'\r\ntwo=\"\"z\"\"\r\nhalf=\"w\r\nmark=\"\r\nempty=\r\n"
        "more=a=b;c\r\n\r\n[two]\nkey=2\n[ONE]\nlate=3\n[last]\nk=end");
    const struct {
        const char* section;
        const char* key;
        const char* value;
    } cases[] = {
        {"one", "KEY", "value one"},
        {"one", "hidden", "none"},
        {"One", "double", "  x "},
        {"One", "single", "y"},
        {"One", "two", "\"z\""},
        {"One", "mark", "\""},
        {"One", "empty", ""},
        {"One", "more", "a=b;c"},
        {"Two", "Key", "2"},
        {"last", "k", "end"},
        {"One", "stray", "none"},
        {"", "stray", "none"},
        {"One", "ke", "none"},
        {"two", nullptr, "key|"},
        {nullptr, nullptr, "One|two|ONE|last|"},
        {"One", nullptr, "Key|key|double|single|two|half|mark|empty|more|"},
    };
    for (const auto& row : cases)
        EXPECT_EQ(Profile(row.section, row.key), row.value) << row.key;
    EXPECT_EQ(Profile("One", "Key", 10), "value one");
    EXPECT_EQ(Profile("One", "Key", 9), "value on");
    EXPECT_EQ(Profile("One", "Key", 1), "");
    EXPECT_EQ(Profile("One", "Key", 0), "0");
    EXPECT_EQ(Profile("One", nullptr, 10), "Key|key|");
    EXPECT_EQ(Profile("One", nullptr, 9), "Key|key");
    EXPECT_EQ(Profile("One", "none", 3), "no");
    EXPECT_EQ(Profile("One", "Key", 200, "p.ini"), "none") << "not in the current directory";
    EXPECT_EQ(Profile("One", "Key", 200, "./missing.ini"), "none");
    EXPECT_EQ(Profile("One", "Key", 200, "."), "none");
}

}  // namespace
