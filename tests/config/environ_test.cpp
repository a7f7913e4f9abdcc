// The product's identity, read from a host whose name and version resource the test
// makes, and the paths and dates that the environment gives.

#include <sys/wait.h>
#include <unistd.h>

#include <string>

#include "platform/environment.h"
#include "tests/support/arrays.h"
#include "tests/support/library_test.h"

namespace {

class EnvironTest : public FilesTest {
protected:
    static std::string FileName(const char* name) {
        VrString given = StrToVrStr(name);
        VrString expanded = EnvironFileName(given);
        free_mem(&given);
        return TakeText(expanded);
    }

    void WriteCountry(const std::string& values) {
        WriteFile("registry.txt",
                  "REGEDIT4\n[HKEY_CURRENT_USER\\Control Panel\\International]\n" + values);
        SetEnvironmentVariableA("VRPLATFORM_REGISTRY", "registry.txt");
        SetEnvironmentVariableA("VRLDATE", nullptr);
    }
};

TEST_F(EnvironTest, FileNamesExpandTheirVariables) {
    Start();
    DLLPutEnv("TMPDIR", "C:\\TMP\\");
    DLLPutEnv("A", "$B\\x");
    DLLPutEnv("B", "C:\\D");
    DLLPutEnv("LOOP", "$LOOP");
    DLLPutEnv("LONG", std::string(3000, 'l').c_str());
    const struct {
        std::string name;
        std::string expanded;
    } cases[] = {
        {"$TMPDIR/a/b.txt", "C:\\TMP\\a\\b.txt"},
        {"$A\\y", "C:\\D\\x\\y"},
        {"$LOOP", "$LOOP"},
        {"$NOPE\\x", "\\x"},
        {"$ TMPDIR", "C:\\TMP"},
        {"a/b\\c$B", "a\\b\\c$B"},
        {"$", ""},
        {"$LONG/x", std::string(3000, 'l') + "\\x"},
        {"$" + std::string(300, 'v') + "/x", "\\x"},
        {"", ""},
    };
    // Array() would take the backslashes for marks, and TakeText gives them back.
    for (const auto& row : cases)
        EXPECT_EQ(FileName(row.name.c_str()), row.expanded) << row.name;
    EXPECT_EQ(EnvironFileName(nullptr), NullString());
}

TEST_F(EnvironTest, PathsOfAHostWithoutSettings) {
    EXPECT_EQ(GetEnvironLauncher(), kVrLauncherUnknown);
    Start();
    EXPECT_STREQ(EnvironVrPath(), "\\VRLINK");
    EXPECT_NE(GetEnvironLauncher(), kVrLauncherUnknown);
    EXPECT_STREQ(EnvironProduct(), "");
    EXPECT_STREQ(EnvironRelease(), "");
    EXPECT_EQ(TakeText(EnvironPrintDataPath()), "PRINT");
    EXPECT_EQ(BytesOf(EnvironPrintAttributesPath()), "PRINT\\PRINTCFG");
    EXPECT_EQ(BytesOf(EnvironPrintJobNumPath()), "PRINT\\NEXTJOB");
    DLLPutEnv("VRLPRINTPATH", std::string(300, 'p').c_str());
    EXPECT_EQ(TakeText(EnvironPrintQueuePath()), std::string(300, 'p'));
    EXPECT_EQ(BytesOf(EnvironPrintJobNumPath()), std::string(251, 'p'));
    DLLPutEnv("VRLPATH", "C:\\LATER");
    EXPECT_STREQ(EnvironVrPath(), "\\VRLINK");
    EXPECT_EQ(EnvironShowErrorCode(), 1);
}

TEST_F(EnvironTest, DatesGoByTheVariableThenByTheCountry) {
    Start();
    const struct {
        const char* variable;
        const char* country;
        int32_t result;
        const char* after;
    } cases[] = {
        {"american", nullptr, 0, "american"},
        {"AMERICANS", nullptr, 1, "AMERICANS"},
        {"DMY", nullptr, 1, "DMY"},
        {nullptr, nullptr, 0, "AMERICAN"},
        {nullptr, "", 1, "INTERNATIONAL"},
        {nullptr, "\"iCountry\"=\"1\"\n", 0, "AMERICAN"},
        {nullptr, "\"iCountry\"=\"44\"\n", 1, "INTERNATIONAL"},
    };
    for (const auto& row : cases) {
        SetEnvironmentVariableA("VRPLATFORM_REGISTRY", nullptr);
        if (row.country != nullptr) WriteCountry(row.country);
        SetEnvironmentVariableA("VRLDATE", row.variable);
        EXPECT_EQ(EnvironInternationalDate(), row.result) << row.after;
        EXPECT_STREQ(DLLGetEnv("VRLDATE"), row.after);
        EXPECT_EQ(EnvironInternationalDate(), row.result) << "the second call goes by the variable";
    }
}

// A copy of this program under another name, which runs the case below in it.
int RunUnderName(const std::string& name, const char* caseName) {
    std::filesystem::copy_file("/proc/self/exe", name,
                               std::filesystem::copy_options::overwrite_existing);
    const std::string filter = std::string("--gtest_filter=") + caseName;
    const std::string line =
        "./" + name + " --gtest_also_run_disabled_tests " + filter + " >out 2>&1";
    const int status = std::system(line.c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// Ends with 40 + the launcher kind's last digits when nothing ended it before.
TEST_F(EnvironTest, DISABLED_AHostThatLeavesWithFive) {
    WriteFile("named.ini", "[ENVIRONMENT]\nVRLPATH=C:\\INSTALLED\n");
    Start("named.ini");
    fprintf(stderr, "<%s|%s|%s|%d>", EnvironProduct(), EnvironRelease(), EnvironVrPath(),
            GetEnvironLauncher());
    VrErrorMessage("title");
    fprintf(stderr, "<%s>", boxes.shown[0].caption.c_str());
    VrExit(0);
    fprintf(stderr, "<back>");
    VrExit(5);
    _exit(40);
}

TEST_F(EnvironTest, TheModuleTellsIdentityAndLauncher) {
    Start();
    if (directory.Path().find('.') != std::string::npos) {
        GTEST_SKIP() << "the first dot of the full path decides, and the folder's name has one";
    }
    const char* const resource =
        "; made by the test\r\nProductName=Ledger\r\nProductVersion=4.2\r\n";
    const struct {
        const char* name;
        const char* launcher;
        int exitCode;
        bool comesBackFrom0;
    } cases[] = {
        {"host.exe", "300", 5, true},
        {"HOST.Dll", "301", 0, false},  // the thread is the last one, and ends with 0
        {"host.bin", "302", 40, true},
        {"host", "302", 40, true},
    };
    for (const auto& row : cases) {
        WriteFile(std::string(row.name) + ".version", resource);
        EXPECT_EQ(RunUnderName(row.name, "EnvironTest.DISABLED_AHostThatLeavesWithFive"),
                  row.exitCode)
            << row.name;
        const std::string out = ReadFile("out");
        EXPECT_NE(out.find(std::string("<Ledger|4.2|C:\\INSTALLED|") + row.launcher + "><Ledger>"),
                  std::string::npos)
            << out;
        EXPECT_EQ(out.find("<back>") != std::string::npos, row.comesBackFrom0) << row.name;
    }
}

}  // namespace
