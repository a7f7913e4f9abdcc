// The paths and dates that the environment gives, and the product's identity, read
// from a host whose name and version resource the test makes.

#include <pthread.h>
#include <sys/wait.h>

#include <string>
#include <tuple>

#include "platform/environment.h"
#include "tests/support/arrays.h"
#include "tests/support/library_test.h"

namespace {

TEST_F(LibraryTest, FileNamesExpandTheirVariables) {
    const std::string v(255, 'v');
    const std::string l(3000, 'l');
    const std::string variables[][2] = {
        {"TMPDIR", "C:\\TMP\\"}, {"A", "$B\\x"}, {"B", "C:\\D/"}, {"LOOP", "$LOOP"},
        {"TWO", "\\\\"},         {"LONG", l},    {v, "value"}};
    for (const auto& [name, value] : variables)
        DLLPutEnv(name.c_str(), value.c_str());
    const std::string cases[][2] = {
        {"$A\\y", "C:\\D\\x\\y"},    {"$TMPDIR/a/b.txt", "C:\\TMP\\a\\b.txt"},
        {"$  TMPDIR", "C:\\TMP"},    {"$NOPE\\x", "\\x"},
        {"a/b\\c$B", "a\\b\\c$B"},   {"$", ""},
        {"$LOOP", "$LOOP"},          {"$TWO", "\\"},
        {"$LONG/x", l + "\\x"},      {"$" + v + "v/x", "\\x"},
        {"$" + v + "/x", "value\\x"}};
    for (const auto& [name, expanded] : cases) {
        VrString given = StringOfBytes(name);
        EXPECT_EQ(TakeText(EnvironFileName(given)), expanded) << name;
        free_mem(&given);
    }
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
    EXPECT_STREQ(EnvironProduct(), "");
    EXPECT_STREQ(EnvironRelease(), "");
}

TEST_F(FilesTest, DatesGoByTheVariableThenByTheCountry) {
    Start();
    SetEnvironmentVariableA("VRPLATFORM_REGISTRY", "registry.txt");
    const std::string key = "REGEDIT4\n[HKEY_CURRENT_USER\\Control Panel\\International]\n";
    const std::tuple<const char*, std::string, int32_t, const char*> cases[] = {
        {"american", key, 0, "american"},
        {"AMERICANS", "", 1, "AMERICANS"},
        {"", "", 0, "AMERICAN"},
        {nullptr, key, 1, "INTERNATIONAL"},
        {nullptr, key + "\"iCountry\"=\"1\"", 0, "AMERICAN"},
        {nullptr, key + "\"iCountry\"=\"44\"", 1, "INTERNATIONAL"},
    };
    for (const auto& [variable, registry, result, after] : cases) {
        WriteFile("registry.txt", registry);
        SetEnvironmentVariableA("VRLDATE", variable);
        EXPECT_EQ(EnvironInternationalDate(), result) << after;
        EXPECT_STREQ(DLLGetEnv("VRLDATE"), after);
        EXPECT_EQ(EnvironInternationalDate(), result) << "the second call goes by the variable";
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

TEST_F(FilesTest, TheModuleTellsIdentityAndHowVrExitEnds) {
    SetEnvironmentVariableA("VRPLATFORM_DRIVE_D", directory.path.c_str());
    WriteFile("test.ini", "[ENVIRONMENT]\nVRLPATH=C:\\INSTALLED\n");
    std::filesystem::create_directory("v1.2");
    const std::tuple<std::string, std::string, int> cases[] = {
        {"host.exe", "300|99", 7},          {"HOST.Dll", "301|0|7", 40},
        {"host.bin", "302|99|99", 40},      {"host", "302|99|99", 40},
        {"v1.2/host.exe", "302|99|99", 40},  // the first dot of the path decides
    };
    for (const auto& [name, rest, exitCode] : cases) {
        WriteFile(name + ".version", "ProductName=Ledger\r\nProductVersion=4.2\r\n");
        std::filesystem::copy_file("/proc/self/exe", name);
        const std::string line =
            "./" + name + " --gtest_also_run_disabled_tests --gtest_filter=Host.* >out";
        EXPECT_EQ(WEXITSTATUS(std::system(line.c_str())), exitCode) << name;
        EXPECT_EQ(ReadFile("told"), "Ledger|4.2|C:\\INSTALLED|Ledger|" + rest) << name;
    }
}

}  // namespace
