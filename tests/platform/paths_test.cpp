// Paths: drives, separators, letter case, the current directory.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "platform/environment.h"
#include "platform/files.h"
#include "tests/support/rows.h"
#include "tests/support/temp_directory.h"

namespace {

struct Paths : testing::Test {
    static std::string Current() {
        char buffer[1000];
        return CurrentDirectory(buffer, sizeof buffer) == nullptr ? "none" : buffer;
    }
    TempDirectory directory;
};

// PATH -> the full path, with * for the case's folder.
TEST_F(Paths, Expansion) {
    const std::string here = directory.path.substr(directory.path.rfind('/') + 1);
    for (auto& [path, full] :
         Rows<2>("x -> *\\x | a/b\\c.d -> *\\a\\b\\c.d | ..\\" + here +
                 "\\x -> *\\x"
                 " | .\\.\\x\\..\\y -> *\\y | C:x -> *\\x | c:\\A\\..\\..\\..\\b -> C:\\b"
                 " | \\x\\ -> C:\\x\\ | / -> C:\\ | D:\\data -> D:\\data | D:data -> D:\\data"
                 " |  -> *")) {
        char buffer[1000] = "none";
        if (full[0] == '*') full.replace(0, 1, directory.drivePath);
        EXPECT_EQ(ExpandPath(buffer, path.c_str(), sizeof buffer), full) << path;
    }
    char small[5] = "none";
    EXPECT_EQ(ExpandPath(small, "C:\\ab", 5), nullptr);
    EXPECT_STREQ(small, "none");
    EXPECT_STREQ(ExpandPath(small, "C:\\a", 5), "C:\\a");
    EXPECT_EQ(CurrentDirectory(small, 5), nullptr);
    EXPECT_EQ(CurrentDirectory(small, 0), nullptr);
}

TEST_F(Paths, NamesAreFoundInAnyCaseTheExactOneFirst) {
    mkdir("Data", 0777);
    WriteFile("Data/One", "1");
    WriteFile("Data/two", "lower");
    WriteFile("Data/TWO", "upper");
    std::string upper = directory.drivePath + "\\data\\one";
    for (char& c : upper)
        c = char(toupper(c));
    for (const auto& [path, text] :
         Rows<2>("DATA\\ONE -> 1 | data/TWO -> upper | data/two -> lower | data/three -> none | " +
                 upper + " -> 1 | " + directory.path + "/Data/One -> 1")) {
        char bytes[16] = "none";
        const int32_t handle = FileOpen(path.c_str(), kOpenReadOnly, kShareDenyNone, 0);
        EXPECT_EQ(FileRead(handle, bytes, sizeof bytes) < 0, text == "none") << path;
        EXPECT_EQ(std::string(bytes, text.size()), text) << path;
    }
    EXPECT_NE(FileOpen("DATA\\NewName", kOpenWriteOnly | kOpenCreate, kShareDenyNone, 0), -1);
    EXPECT_EQ(access("Data/NewName", F_OK), 0) << "a new file takes the spelling given";
}

TEST_F(Paths, DrivesHaveRoots) {
    mkdir("drive", 0777);
    mkdir("drive/sub", 0777);
    WriteFile("drive/sub/f", "f");
    EXPECT_EQ(FileStatus("D:\\sub\\f"), -1);
    EXPECT_EQ(errno, ENOENT);
    SetEnvironmentVariableA("VRPLATFORM_DRIVE_D", (directory.path + "/drive/").c_str());
    EXPECT_EQ(FileStatus("d:\\sub\\f"), 0);
    EXPECT_EQ(FileStatus("D:sub/F"), 0);
    EXPECT_EQ(FileStatus("D:\\..\\..\\sub"), 0) << "nothing lies above a drive's root";
    EXPECT_EQ(ChangeDirectory("D:\\SUB"), 0);
    EXPECT_EQ(Current(), "D:\\sub") << "the nearest root names the drive";
    EXPECT_EQ(FileStatus("\\sub\\f"), 0);
    EXPECT_EQ(FileStatus("f"), 0);
    EXPECT_EQ(ChangeDirectory("D:\\missing"), -1);
    EXPECT_EQ(ChangeDirectory("\\"), 0);
    EXPECT_EQ(Current(), "D:\\");
    SetEnvironmentVariableA("VRPLATFORM_DRIVE_C", "/no/such/folder");
    SetEnvironmentVariableA("VRPLATFORM_DRIVE_D", nullptr);
    EXPECT_EQ(Current(), "none") << "a directory on no drive has no name";
    EXPECT_EQ(FileStatus("x"), -1);
}

TEST_F(Paths, AbsurdTextsAreRefused) {
    EXPECT_EQ(FileStatus(nullptr), -1);
    for (const char* path : {"", ":", "1:\\"})
        EXPECT_EQ(FileStatus(path), -1) << path;
    EXPECT_EQ(FileStatus(std::string(5000, 'x').c_str()), -1);
    EXPECT_EQ(errno, ENAMETOOLONG);
}

}  // namespace
