// The settings: how the file's text is read, which layer answers, where the file is
// looked for.

#include <cstdlib>
#include <string>

#include "platform/environment.h"
#include "tests/support/arrays.h"
#include "tests/support/library_test.h"

namespace {

class SettingsTest : public FilesTest {
protected:
    void StartWith(const std::string& text) {
        WriteFile("test.ini", text);
        Start("test.ini");
    }

    // Values of a key of the registry, in the product's part of it.
    static void WriteRegistry(const std::string& values) {
        WriteFile("registry.txt",
                  "REGEDIT4\n\n[HKEY_LOCAL_MACHINE\\Software\\Veldane\\\\Database]\n" + values);
        SetEnvironmentVariableA("VRPLATFORM_REGISTRY", "registry.txt");
    }
};

std::string Take(char* text) {
    const std::string taken = text == nullptr ? "(null)" : text;
    free_mem(&text);
    return taken;
}

std::string Value(const char* section, const char* key, const char* defaultValue = nullptr) {
    return Take(IniGetString(section, key, defaultValue));
}

// (none) for a variable that is not there, unlike one that is empty.
std::string Variable(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? "(none)" : value;
}

constexpr char kTwelveLines[] =
    "; start\r\n"
    "[environment]\r\n"
    "VRLTEMP = C:\\TMP\\   \r\n"
    "MY_VAR=1\r\n"
    "  ;OLD=2\r\n"
    "123=ABC\r\n"
    "[Database] ignored\r\n"
    "LOG=3\r\n"
    "LOGFILE=x\r\n"
    "EMPTY=\r\n"
    "NEXT=7\r\n"
    "TAIL";

TEST_F(SettingsTest, TheTwelveLines) {
    StartWith(kTwelveLines);
    EXPECT_EQ(Variable("VRLTEMP"), "C:\\TMP\\");
    EXPECT_EQ(Variable("MY"), "");
    EXPECT_EQ(Variable("MY_VAR"), "(none)");
    EXPECT_EQ(Variable("OLD"), "2");
    EXPECT_EQ(Variable("ABC"), "");
    EXPECT_EQ(IniGetInt("DATABASE", "LOG", 9), 3);
    EXPECT_EQ(Value("Database", "LOGF"), "x");
    EXPECT_EQ(Value("Database", "LOG"), "3");
    EXPECT_EQ(Value("Database", "EMPTY", "d"), "NEXT=7");
    EXPECT_EQ(IniGetInt("Database", "TAIL", 5), 5);
    EXPECT_EQ(Value("Database", "MISSING"), "");
    EXPECT_EQ(Value("Database", "MISSING", "d"), "d");
    EXPECT_EQ(IniGetInt("Nothing", "LOG", 7), 7);
    EXPECT_EQ(Take(IniGetSection("Database")), "ignoredLOG=3LOGFILE=xEMPTY=NEXT=7TAIL");
    EXPECT_EQ(Take(IniGetSection("environment")), "VRLTEMP = C:\\TMP\\   MY_VAR=1123=ABC");
    EXPECT_EQ(Take(IniGetSection("Nothing")), "(null)");
    EXPECT_STREQ(ini_path, "test.ini");
}

TEST_F(SettingsTest, FurtherEdgesOfTheFile) {
    StartWith(
        "; [Hidden] in a comment\n"
        "K=found\n"
        "[A][B]\nK=a[1]\nM=2\n"
        "[S]\nFOO\n[T]\nBAR=1\n"
        "[Long]\nL=" +
        std::string(300, 'x') +
        "\n"
        "  [Indented]\n  first=1\n  second=2\nthird = \t 3 ; kept \n"
        "[Hidden]\nK=never seen\n"
        "[ENVIRONMENT]\nFOO=1 ; note\n;C=1\nLINE=" +
        std::string(300, 'v') + "\x1A[Gone]\nX=1\n");
    EXPECT_EQ(Value("Hidden", "K"), "found");
    EXPECT_EQ(Take(IniGetSection("A")), "");
    EXPECT_EQ(Take(IniGetSection("B")), "K=a");
    EXPECT_EQ(Value("B", "K"), "a[1]");
    EXPECT_EQ(Value("B", "M"), "2");
    EXPECT_EQ(Value("S", "FOO"), "1");
    EXPECT_EQ(Value("Long", "L"), std::string(255, 'x'));
    EXPECT_EQ(Value("Indented", "first"), "1");
    EXPECT_EQ(Value("Indented", "second"), "");
    EXPECT_EQ(Value("Indented", "third"), "3 ; kept");
    EXPECT_EQ(Variable("FOO"), "1 ; note");
    EXPECT_EQ(Variable("C"), "(none)");
    EXPECT_EQ(Variable("LINE"), std::string(250, 'v'));
    EXPECT_EQ(Variable(std::string(50, 'v').c_str()), "") << "the rest is a line of its own";
    EXPECT_EQ(IniGetInt("Gone", "X", 5), 5) << "Ctrl-Z ends the text";
}

TEST_F(SettingsTest, TheRegistryGoesBeforeTheFile) {
    WriteRegistry("\"LOG\"=\"\"\n\"NUM\"=\" -12x\"\n\"LONG\"=\"" + std::string(256, 'r') +
                  "\"\n"
                  "[HKEY_LOCAL_MACHINE\\Software\\Veldane\\\\ENVIRONMENT]\n"
                  "\"FROMREG\"=\"r\"\n\"BOTH\"=\"r\"\n");
    StartWith("[Database]\nLOG=3\nLONG=l\nNUM=4\n[Environment]\nBOTH=f\nFILEONLY=f\n");
    EXPECT_EQ(IniGetInt("Database", "LOG", 9), 0);
    EXPECT_EQ(Value("Database", "LOG", "d"), "");
    EXPECT_EQ(IniGetInt("database", "num", 9), -12);
    EXPECT_EQ(Value("Database", "LONG"), "l") << "a text of more than 256 bytes counts as absent";
    EXPECT_EQ(Value(std::string(260, 's').c_str(), "LOG", "d"), "d");
    EXPECT_EQ(Variable("FROMREG"), "r");
    EXPECT_EQ(Variable("BOTH"), "r");
    EXPECT_EQ(Variable("FILEONLY"), "f");
}

TEST_F(SettingsTest, WithoutAFileTheEnvironmentStaysAsItWas) {
    WriteRegistry(
        "\"LOG\"=\"5\"\n"
        "[HKEY_LOCAL_MACHINE\\Software\\Veldane\\\\ENVIRONMENT]\n\"FROMREG\"=\"r\"\n");
    Start((std::string(300, 'p') + ".ini").c_str());
    EXPECT_EQ(ini_buf, nullptr);
    EXPECT_STREQ(ini_path, "C:\\WINDOWS\\VRLINK.INI");
    EXPECT_EQ(Variable("FROMREG"), "(none)");
    EXPECT_EQ(IniGetSection("Database"), nullptr);
    EXPECT_EQ(IniGetInt("Database", "LOG", 9), 5);
}

TEST_F(SettingsTest, AnEmptyFileIsAFile) {
    StartWith("");
    ASSERT_NE(ini_buf, nullptr);
    EXPECT_STREQ(ini_buf, "");
    EXPECT_EQ(IniGetInt("A", "B", 3), 3);
}

TEST_F(SettingsTest, TheCurrentDirectoryComesBeforeTheWindowsDirectory) {
    SetEnvironmentVariableA("VRPLATFORM_WINDOWS_DIR", (directory.DrivePath() + "\\w").c_str());
    std::filesystem::create_directory("w");
    WriteFile("w/vrlink.ini", "[A]\nK=windows\n");
    WriteFile("VRLINK.INI", "[A]\nK=current\n");
    Start("missing.ini");
    EXPECT_EQ(Value("A", "K"), "current");
    EXPECT_EQ(ini_path, directory.DrivePath() + "\\VRLINK.INI");
}

TEST_F(SettingsTest, TheWindowsDirectoryIsTheLastPlace) {
    SetEnvironmentVariableA("VRPLATFORM_WINDOWS_DIR", (directory.DrivePath() + "\\w").c_str());
    std::filesystem::create_directory("w");
    WriteFile("w/vrlink.ini", "[A]\nK=windows\n");
    Start();
    EXPECT_EQ(Value("A", "K"), "windows");
}

TEST_F(SettingsTest, NoMemoryForTheTextIsNoFile) {
    WriteFile("test.ini", kTwelveLines);
    ControlFailAllocations(1, 1);
    Start("test.ini");
    EXPECT_EQ(ini_buf, nullptr);
    EXPECT_EQ(IniGetInt("Database", "LOG", 9), 9);
}

TEST_F(SettingsTest, EnvironmentVariables) {
    Start();
    EXPECT_EQ(DLLPutEnv("VR_A", "one"), 0);
    const char* first = DLLGetEnv("VR_A");
    EXPECT_STREQ(first, "one");
    EXPECT_EQ(DLLPutEnv("VR_B", std::string(8191, 'b').c_str()), 0);
    EXPECT_EQ(DLLGetEnv("VR_B"), first) << "one static buffer";
    EXPECT_EQ(std::string(first), std::string(8191, 'b'));
    DLLPutEnv("VR_B", std::string(8192, 'b').c_str());
    EXPECT_STREQ(DLLGetEnv("VR_B"), "") << "too long a value reads as empty";
    DLLPutEnv("VR_B", "");
    EXPECT_EQ(DLLGetEnv("VR_B"), nullptr) << "an empty value reads as not set";
    EXPECT_EQ(DLLGetEnv("VR_C"), nullptr);
    EXPECT_EQ(DLLPutEnv("A=B", "x"), -1);
}

}  // namespace
