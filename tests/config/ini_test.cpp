// The settings: which layer answers, and where the file lies. How its text is read, the fuzz
// target's model states.

#include "tests/support/library_test.h"

namespace {

std::string Value(const std::string& section, const std::string& key) {
    return TakeCText(IniGetString(section.c_str(), key.c_str(), "default"));
}

TEST_F(FilesTest, TheRegistryGoesBeforeTheFile) {
    const std::string r(255, 'r');
    const std::string key = "[HKEY_LOCAL_MACHINE\\Software\\Veldane\\\\";
    WriteFile("registry.txt", "REGEDIT4\n" + key +
                                  "Database]\n\"LOG\"=\"\"\n\"NUM\"=\" -12x\"\n\"A\"=\"" + r +
                                  "\"\n\"B\"=\"r" + r + "\"\n" + key +
                                  "ENVIRONMENT]\n\"BOTH\"=\"r\"\n\"TOOLONG\"=\"rrrrr" + r +
                                  "\"\n\"BEHIND\"=\"r\"\n");
    SetEnvironmentVariableA("VRPLATFORM_REGISTRY", "registry.txt");
    StartWithFiles("[Database]\nLOG=3\nB=file\nNUM=4\n[Environment]\nBOTH=f\nFILEONLY=f\n");
    EXPECT_EQ(IniGetInt("Database", "LOG", 9), 0);
    EXPECT_EQ(IniGetInt("database", "num", 9), -12);
    EXPECT_EQ(IniGetInt(std::string(300, 'd').c_str(), "num", 9), 9);
    EXPECT_EQ(IniGetInt(nullptr, "num", 9), 9);
    EXPECT_EQ(IniGetInt("Database", nullptr, 9), 9);
    EXPECT_EQ(Value("Database", "A"), r);
    EXPECT_EQ(Value("Database", "B"), "file") << "a text of more than 256 bytes counts as absent";
    for (const auto& [name, value] : Rows<2>(R"(
            BOTH     -> r
            FILEONLY -> f
            TOOLONG  -> (null)
            BEHIND   -> (null))"))  // a value that is too long ends the reading
        EXPECT_EQ(CText(std::getenv(name.c_str())), value) << name;
}

// From none to all places: each new file goes before those that were there.
TEST_F(FilesTest, PlacesOfTheFile) {
    SetEnvironmentVariableA("VRPLATFORM_WINDOWS_DIR", "w");
    std::filesystem::create_directory("w");
    int32_t place = 0;
    const std::string given = std::string(246, '/').replace(0, 1, ".") + "given.ini";
    for (const auto& [file, path] : Rows<2>(R"(
            none         -> w\VRLINK.INI
            w/vrlink.ini -> w\VRLINK.INI
            vrlink.ini   -> )" + directory.Drive("VRLINK.INI") +
                                            "\ngiven.ini -> " + given)) {
        WriteFile(file, "[A]\nK=" + std::to_string(place));
        const auto found = [&given, &wanted = path, this] {
            Start((given + ", cut behind 255 bytes").c_str());
            std::_Exit(ini_path == wanted ? IniGetInt("A", "K", 0) : 99);
        };
        EXPECT_EXIT(found(), testing::ExitedWithCode(place++), "");
    }
}

TEST_F(FilesTest, VariablesAsTheProcessHasThem) {
    StartWithFiles("");
    EXPECT_STREQ(ini_buf, "");
    const std::string longest(8191, 'b');
    DLLPutEnv("VR_A", longest.c_str());
    EXPECT_EQ(DLLGetEnv("VR_A"), longest);
    DLLPutEnv("VR_A", (longest + "b").c_str());
    EXPECT_STREQ(DLLGetEnv("VR_A"), "") << "too long a value reads as empty";
    DLLPutEnv("VR_A", "");
    EXPECT_EQ(DLLGetEnv("VR_A"), nullptr) << "an empty value reads as not set";
    EXPECT_EQ(DLLPutEnv("A=B", "x"), -1);
}

}  // namespace
