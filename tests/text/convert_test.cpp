// Character conversion: the edges of a conversion file, and the reader of private
// profiles that the tables come through.

#include "tests/support/library_test.h"

namespace {

using namespace std::string_literals;

const std::string kSame = "(the same string)";

// The string's bytes after conversion, or kSame when it came back itself.
std::string Converted(const std::string& bytes, int32_t direction) {
    const Array given(StringOfBytes(bytes));
    VrString converted = CvtConvert(given, direction);
    return converted == given ? kSame : TakeBytes(converted);
}

struct ConvertTest : FilesTest {
    void Load(const std::string& text) {
        WriteFile("table.cvt", text);
        CvtInit(directory.Drive("table.cvt").c_str());
    }
};

TEST_F(ConvertTest, EdgesOfTheFile) {
    Start();
    const std::tuple<std::string, int32_t, std::string, std::string> cases[] = {
        {"011=0x41", 1, "\t", "A"},
        {"65=321", 1, "bAb", "bAb"},
        {"65=66", 1, std::string(20000, 'A'), std::string(20000, 'B')},
        {"65=66", 1, std::string(20000, 'x'), kSame},
        {"65=66", 1, "x", kSame},
        {"x41=66", 1, "A\0A"s, "ABA"},
        {"65=0\n66=67", 2, "AB", "AC"},
        {"65=66\n65=67", 2, "A", "B"},
        {" 65\t= 0102xyz", 1, "A", "B"},
        {"-191=-190\n+67=\"+68\"", 2, "AC", "BD"},
        {"65=" + std::string(17, '0') + "66", 1, "A", "6"},  // of a value, 19 bytes count
        {"65=" + std::string(18, '0') + "66", 1, "A", "\6"},
        {"[display]\n65=66", 1, "A", kSame}};
    for (const auto& [lines, flag, given, converted] : cases) {
        Load("[INPUT]\n" + lines + "\n");
        EXPECT_EQ(CvtFlag, flag) << lines;
        EXPECT_EQ(Converted(given, 0), converted) << lines;
    }
    Load("[INPUT]\n65=66\n");
    const Array given(std::string(200, 'A'));
    HeaderOf(given).memoAttribute = 2;
    EXPECT_EQ(HeaderOf(Array(CvtConvert(given, 0))).memoAttribute, 0) << "the marks may move";
}

TEST_F(ConvertTest, WhichFileIsRead) {
    std::filesystem::create_directory("windows");
    WriteFile("windows/Table.CVT", "[input]\n0x84=0xE4\n");
    SetEnvironmentVariableA("VRPLATFORM_WINDOWS_DIR", directory.Drive("windows").c_str());
    StartWithFiles("[Environment]\nCVTFILE=table.cvt\n");
    EXPECT_EQ(Converted("\x84", 0), "\xE4");
    Load("[display]\n65=66\n");
    EXPECT_EQ(Converted("\x84", 0), kSame) << "tables are replaced whole";
    CvtInit("");
    EXPECT_EQ(CvtFlag, 1) << "that of the settings again";
    CvtInit(".\\missing.cvt");
    EXPECT_EQ(CvtFlag, 0);
}

// The result with ; for zeros. A - names no section or no key.
std::string Profile(const std::string& section, const std::string& key, uint32_t size = 200) {
    const auto given = [](const std::string& name) { return name == "-" ? nullptr : name.c_str(); };
    std::string buffer(size, '#');
    buffer.resize(GetPrivateProfileStringA(given(section), given(key), "none", buffer.data(), size,
                                           "./p.ini"));
    std::ranges::replace(buffer, '\0', ';');
    return buffer;
}

TEST(ProfileTest, RulesOfTheReader) {
    TempDirectory directory;
    WriteFile(
        "p.ini",
        "stray=1\r\n;[One]\r\n[ One ]\r\n\t Key\t=  value one \t\r\n;hidden=1\r\nkey=second\r\n"
        "double=\"  x \"\r\nsingle='y'\r\ntwo=\"\"z\"\"\r\nmark=\"\r\nempty=\r\n"
        "more=a=b;c\r\n\r\n[two]\nkey=2\n[ONE]\nlate=3\n[last]\nk=end");
    for (const auto& [section, key, value] : Rows<3>(R"(
            one  -> KEY    -> value one
            one  -> hidden -> none
            One  -> single -> y
            One  -> two    -> "z"
            One  -> mark   -> "
            One  -> empty  ->
            One  -> more   -> a=b;c
            last -> k      -> end
                 -> stray  -> none
            One  -> ke     -> none
            -    -> -      -> One;two;ONE;last;
            One  -> -      -> Key;key;double;single;two;mark;empty;more;)"))
        EXPECT_EQ(Profile(section, key), value) << key;
    EXPECT_EQ(Profile("One", "double"), "  x ");
    EXPECT_EQ(Profile("One", "Key", 10), "value one");
    EXPECT_EQ(Profile("One", "Key", 9), "value on");
    EXPECT_EQ(Profile("two", "-", 5), "key;") << "an exact fit";
    EXPECT_EQ(Profile("One", "-", 9), "Key;key");
}

}  // namespace
