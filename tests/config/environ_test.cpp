// The paths and dates that the environment gives, and how a host ends, by its name.

#include "tests/process/counted_library.h"
#include "tests/support/library_test.h"

namespace {

TEST_F(LibraryTest, FileNamesExpandTheirVariables) {
    const std::string l(3000, 'l'), n(255, 'n');
    const std::pair<std::string, std::string> variables[] = {
        {"TMPDIR", "C:\\TMP\\"}, {"A", "$B\\x"}, {"B", "C:\\D/"}, {"LOOP", "$LOOP"}, {"LONG", l},
        {"HUGE", l + l + l},     {n, "v"},       {n + "n", "v"}};
    for (const auto& [name, value] : variables)
        DLLPutEnv(name.c_str(), value.c_str());
    const std::pair<std::string, std::string> names[] = {
        {"$A\\y", "C:\\D\\x\\y"},
        {"$TMPDIR/a/b.txt", "C:\\TMP\\a\\b.txt"},
        {"$", ""},
        {"$  TMPDIR", "C:\\TMP"},
        {"$NOPE\\x", "\\x"},
        {"a/b\\c$B", "a\\b\\c$B"},
        {"$LOOP", "$LOOP"},
        {"$LONG/x", l + "\\x"},
        {"$HUGE/x", "\\x"},
        {"$" + n + "/x", "v\\x"},
        {"$" + n + "n/x", "\\x"},
    };
    for (const auto& [name, expanded] : names)
        EXPECT_EQ(TakeText(EnvironFileName(Array(StringOfBytes(name)))), expanded) << name;
}

TEST_F(FilesTest, PathsOfAHostWithoutSettings) {
    setenv("VRLPATH", std::string(9000, 'p').c_str(), 1);  // too long to be read
    Start();
    EXPECT_STREQ(getenv("VRLDATE"), "AMERICAN") << "the start settles it";
    EXPECT_EQ(TakeText(EnvironPrintDataPath()), "PRINT");
    EXPECT_EQ(BytesOf(EnvironPrintAttributesPath()), "PRINT\\PRINTCFG");
    EXPECT_EQ(BytesOf(EnvironPrintJobNumPath()), "PRINT\\NEXTJOB");
    DLLPutEnv("VRLPRINTPATH", std::string(300, 'p').c_str());
    EXPECT_EQ(TakeText(EnvironPrintQueuePath()), std::string(300, 'p'));
    EXPECT_EQ(BytesOf(EnvironPrintJobNumPath()), std::string(251, 'p'));
    EXPECT_STREQ(EnvironVrPath(), "\\VRLINK");
    DLLPutEnv("VRLPRINTPATH", std::string(9000, 'p').c_str());
    EXPECT_EQ(TakeText(EnvironPrintPath()), "PRINT");
}

TEST_F(FilesTest, DatesGoByTheVariableThenByTheCountry) {
    Start();
    SetEnvironmentVariableA("VRPLATFORM_REGISTRY", "registry.txt");
    const std::string key = "REGEDIT4\n[HKEY_CURRENT_USER\\Control Panel\\International]\n";
    for (const auto& [variable, country, after] : Rows<3>(R"(
            american  ->    -> american
            AMERICANS ->    -> AMERICANS
                      ->    -> AMERICAN
            unset     -> x  -> INTERNATIONAL
            unset     -> 1  -> AMERICAN
            unset     -> 44 -> INTERNATIONAL
            )" + std::string(9000, 'v') + " -> -> AMERICAN")) {
        WriteFile("registry.txt", country.empty() ? "" : key + "\"iCountry\"=\"" + country + "\"");
        DLLPutEnv("VRLDATE", variable == "unset" ? nullptr : variable.c_str());
        EXPECT_EQ(EnvironInternationalDate(), lstrcmpiA(after.c_str(), "american") != 0);
        EXPECT_EQ(DLLGetEnv("VRLDATE"), after);
    }
}

// The first dot of the module's path decides.
TEST_F(FilesTest, TheModuleTellsHowVrExitEnds) {
    for (const auto& [name, launcher, given, code] : Rows<4>(R"(
            host.exe      -> 300 -> 7 -> 7
            host.exe      -> 300 -> 0 -> 99
            HOST.Dll      -> 301 -> 7 -> 47
            HOST.Dll      -> 301 -> 0 -> 40
            host.bin      -> 302 -> 7 -> 99
            v1.2/host.exe -> 302 -> 7 -> 99)")) {
        PutLibrary("./" + name);
        const auto leaveInAThread = [&name = name, &given = given] {
            StartHost(nullptr, VrWord(LoadLibraryA(("./" + name).c_str())));
            std::fprintf(stderr, "%d", GetEnvironLauncher());
            std::_Exit(40 + CodeOfThread([&] { VrExit(std::stoi(given)); }));
        };
        EXPECT_EXIT(leaveInAThread(), testing::ExitedWithCode(std::stoi(code)), launcher);
    }
}

}  // namespace
