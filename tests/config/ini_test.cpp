// The settings: how the file's text is read, which layer answers, where the file lies.

#include <cstdlib>

#include "platform/environment.h"
#include "tests/support/library_test.h"

namespace {

std::string Value(const std::string& section, const std::string& key) {
    return TakeCText(IniGetString(section.c_str(), key.c_str(), "default"));
}

std::string Variable(const std::string& name) {
    return CText(std::getenv(name.c_str()));
}

TEST_F(FilesTest, TheFileIsReadLeniently) {
    const std::string x(300, 'x');
    StartWithFiles(
        "; [Hidden] in a comment\r\nK=found\r\n"
        "[environment]\r\nVRLTEMP = C:\\TMP\\   \r\nMY_VAR=1\r\n  ;OLD=2\r\n123=ABC\r\n"
        "FOO=1 ; note\n;C=1\nLINE=" +
        x + "\n[A][B]\nK=a[1]\nM=2\n[S]\nFOO\n[T]\nBAR=1\n[Long]\nL=" + x +
        "\n  [Indented]\n  first=1\n  second=2\nthird = \t 3 ; kept \n[Hidden]\nK=never seen\n"
        "[Database] ignored\r\nLOG=3\r\nLOGFILE=x\r\nEMPTY=\r\nNEXT=7\r\nTAIL\x1A[Gone]\nX=1\n");
    for (const auto& [name, value] :
         Rows<2>("VRLTEMP -> C:\\TMP\\ | MY ->  | MY_VAR -> (null) | ABC ->  | FOO -> 1 ; note"
                 " | OLD -> 2 | C -> (null) | LINE -> " +
                 x.substr(0, 250) + " | " + x.substr(0, 50) + " -> "))
        EXPECT_EQ(Variable(name), value) << name;
    for (const auto& [section, key, value] :
         Rows<3>("Database -> LOGF -> x | DATABASE -> LOG -> 3 | Database -> EMPTY -> NEXT=7"
                 " | Database -> TAIL -> default | Gone -> X -> default | Hidden -> K -> found"
                 " | B -> K -> a[1] | S -> FOO -> 1 | Indented -> second -> default"
                 " | Indented -> third -> 3 ; kept | Long -> L -> " +
                 x.substr(0, 255)))
        EXPECT_EQ(Value(section, key), value) << section << key;
    EXPECT_EQ(TakeCText(IniGetSection("Database")), "ignoredLOG=3LOGFILE=xEMPTY=NEXT=7TAIL");
    EXPECT_EQ(TakeCText(IniGetSection("B")) + TakeCText(IniGetSection("Nothing")), "K=a(null)");
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
    EXPECT_EQ(Value("Database", "A"), r);
    EXPECT_EQ(Value("Database", "B"), "file") << "a text of more than 256 bytes counts as absent";
    EXPECT_EQ(Variable("BOTH") + Variable("FILEONLY"), "rf");
    EXPECT_EQ(Variable("TOOLONG") + Variable("BEHIND"), "(null)(null)") << "it ends the reading";
}

// From none to all places: each new file goes before those that were there.
TEST_F(FilesTest, PlacesOfTheFile) {
    SetEnvironmentVariableA("VRPLATFORM_WINDOWS_DIR", "w");
    std::filesystem::create_directory("w");
    int32_t place = 0;
    const std::string given = std::string(246, '/').replace(0, 1, ".") + "given.ini";
    for (const auto& [file, path] :
         Rows<2>("none -> w\\VRLINK.INI | w/vrlink.ini -> w\\VRLINK.INI | vrlink.ini -> " +
                 directory.Drive("VRLINK.INI") + " | given.ini -> " + given)) {
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
