// The paths and dates that the environment gives, and the product's identity, read
// from a host whose name and version resource the test makes.

#include <pthread.h>
#include <sys/wait.h>

#include <string>

#include "platform/environment.h"
#include "platform/text.h"
#include "tests/support/arrays.h"
#include "tests/support/library_test.h"
#include "tests/support/rows.h"

namespace {

TEST_F(LibraryTest, FileNamesExpandTheirVariables) {
    const std::string v(255, 'v');
    const std::string l(3000, 'l');
    const std::string variables =
        "TMPDIR -> C:\\TMP\\ | A -> $B\\x | B -> C:\\D/ | LOOP -> $LOOP | TWO -> \\\\";
    for (const auto& [name, value] : Rows<2>(variables + " | LONG -> " + l + " | " + v + " -> v"))
        DLLPutEnv(name.c_str(), value.c_str());
    for (const auto& [name, expanded] :
         Rows<2>("$A\\y -> C:\\D\\x\\y | $TMPDIR/a/b.txt -> C:\\TMP\\a\\b.txt | $ -> "
                 " | $  TMPDIR -> C:\\TMP | $NOPE\\x -> \\x | a/b\\c$B -> a\\b\\c$B"
                 " | $LOOP -> $LOOP | $TWO -> \\ | $LONG/x -> " +
                 l + "\\x | $" + v + "v/x -> \\x | $" + v + "/x -> v\\x"))
        EXPECT_EQ(TakeText(EnvironFileName(Array(StringOfBytes(name)))), expanded) << name;
    EXPECT_EQ(EnvironFileName(nullptr), NullString());
}

TEST_F(FilesTest, PathsOfAHostWithoutSettings) {
    EXPECT_EQ(GetEnvironLauncher(), kVrLauncherUnknown);
    Start();
    EXPECT_EQ(TakeText(EnvironPrintDataPath()), "PRINT");
    EXPECT_EQ(BytesOf(EnvironPrintAttributesPath()), "PRINT\\PRINTCFG");
    EXPECT_NE(GetEnvironLauncher(), kVrLauncherUnknown);
    EXPECT_EQ(BytesOf(EnvironPrintJobNumPath()), "PRINT\\NEXTJOB");
    DLLPutEnv("VRLPRINTPATH", std::string(300, 'p').c_str());
    EXPECT_EQ(TakeText(EnvironPrintQueuePath()), std::string(300, 'p'));
    EXPECT_EQ(BytesOf(EnvironPrintJobNumPath()), std::string(251, 'p'));
    DLLPutEnv("VRLPATH", "C:\\LATER");
    EXPECT_STREQ(EnvironVrPath(), "\\VRLINK");
    EXPECT_EQ(std::string(EnvironProduct()) + EnvironRelease(), "");
}

TEST_F(FilesTest, DatesGoByTheVariableThenByTheCountry) {
    Start();
    SetEnvironmentVariableA("VRPLATFORM_REGISTRY", "registry.txt");
    const std::string key = "REGEDIT4\n[HKEY_CURRENT_USER\\Control Panel\\International]\n";
    for (const auto& [variable, settings, after] :
         Rows<3>("american ->  -> american | AMERICANS -> no key -> AMERICANS"
                 " |  -> no key -> AMERICAN | unset ->  -> INTERNATIONAL"
                 " | unset -> \"iCountry\"=\"1\" -> AMERICAN"
                 " | unset -> \"iCountry\"=\"44\" -> INTERNATIONAL")) {
        WriteFile("registry.txt", settings == "no key" ? "" : key + settings);
        DLLPutEnv("VRLDATE", variable == "unset" ? nullptr : variable.c_str());
        for (int call = 1; call <= 2; ++call) {  // the second goes by the variable
            EXPECT_EQ(EnvironInternationalDate(), lstrcmpiA(after.c_str(), "american") != 0);
            EXPECT_EQ(DLLGetEnv("VRLDATE"), after);
        }
    }
}

// Runs in a copy of this program: writes down its identity and the codes with which
// two threads end that leave with 0 and 7, or 99 for a thread that comes back.
TEST(Host, DISABLED_TellsAndLeaves) {
    Boxes boxes;
    boxes.Attach();
    const UtilInitRecord record = {0, 0, "test.ini"};
    UtilInit(&record);
    VrErrorMessage("text");
    std::ofstream told("told");
    told << EnvironProduct() << '|' << EnvironRelease() << '|' << EnvironVrPath() << '|'
         << boxes.shown[0].caption << '|' << GetEnvironLauncher() << std::flush;
    for (int32_t code : {0, 7}) {
        const auto leave = [](void* codeOfThread) {
            VrExit(*static_cast<int32_t*>(codeOfThread));
            return reinterpret_cast<void*>(99);
        };
        pthread_t thread = {};
        void* result = nullptr;
        pthread_create(&thread, nullptr, leave, &code);
        pthread_join(thread, &result);
        told << '|' << reinterpret_cast<uintptr_t>(result) << std::flush;
    }
    std::_Exit(40);
}

// The first dot of the module's path decides.
TEST_F(FilesTest, TheModuleTellsIdentityAndHowVrExitEnds) {
    SetEnvironmentVariableA("VRPLATFORM_DRIVE_D", directory.path.c_str());
    WriteFile("test.ini", "[ENVIRONMENT]\nVRLPATH=C:\\INSTALLED\n");
    std::filesystem::create_directory("v1.2");
    for (const auto& [name, rest, exitCode] :
         Rows<3>("host.exe -> 300|99 -> 7 | HOST.Dll -> 301|0|7 -> 40 | host.bin -> 302|99|99 -> 40"
                 " | host -> 302|99|99 -> 40 | v1.2/host.exe -> 302|99|99 -> 40")) {
        WriteFile(name + ".version", "ProductName=Ledger\r\nProductVersion=4.2\r\n");
        std::filesystem::copy_file("/proc/self/exe", name);
        const std::string line =
            "./" + name + " --gtest_also_run_disabled_tests --gtest_filter=Host.* >out";
        EXPECT_EQ(std::to_string(WEXITSTATUS(std::system(line.c_str()))), exitCode) << name;
        EXPECT_EQ(ReadFile("told"), "Ledger|4.2|C:\\INSTALLED|Ledger|" + rest) << name;
    }
}

}  // namespace
