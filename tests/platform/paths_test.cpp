// Paths: drives, separators, letter case, the current directory.

#include <gtest/gtest.h>

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
    for (auto& [path, full] : Rows<2>(R"(
            a/b\c.d         -> *\a\b\c.d
            .\.\x\..\y      -> *\y
            C:x             -> *\x
            D:x             -> D:\x
            c:\A\..\..\..\b -> C:\b
            \x\             -> C:\x\
            /               -> C:\
                            -> *)")) {
        char buffer[1000] = "none";
        if (full[0] == '*') full.replace(0, 1, directory.drivePath);
        EXPECT_EQ(ExpandPath(buffer, path.c_str(), sizeof buffer), full) << path;
    }
    char small[5] = "none";
    EXPECT_EQ(ExpandPath(small, "C:\\ab", 5), nullptr);
    EXPECT_STREQ(ExpandPath(small, "C:\\a", 5), "C:\\a");
}

TEST_F(Paths, NamesAreFoundInAnyCaseTheExactOneFirst) {
    mkdir("Data", 0777);
    WriteFile("Data/One", "1");
    WriteFile("Data/two", "lower");
    WriteFile("Data/TWO", "upper");
    for (const auto& [path, text] : Rows<2>(R"(
            DATA\ONE   -> 1
            data/TWO   -> upper
            data/two   -> lower
            data/three -> none
            )" + directory.Drive("data\\one") +
                                            " -> 1\n" + directory.path + "/Data/One -> 1")) {
        char bytes[16] = "none";
        const int32_t handle = FileOpen(path.c_str(), kOpenReadOnly, kShareDenyNone, 0);
        FileRead(handle, bytes, sizeof bytes);
        EXPECT_EQ(std::string(bytes, text.size()), text) << path;
    }
    EXPECT_NE(FileOpen("DATA\\NewName", kOpenWriteOnly | kOpenCreate, kShareDenyNone, 0), -1);
    EXPECT_EQ(access("Data/NewName", F_OK), 0) << "a new file takes the spelling given";
}

TEST_F(Paths, ANameThatCannotBeLookedForIsNotTakenForAbsent) {
    WriteFile("RECORD", "old");
    WriteFile("new", "new");
    rlimit before = {};
    getrlimit(RLIMIT_NOFILE, &before);
    const rlimit none = {0, before.rlim_max};
    setrlimit(RLIMIT_NOFILE, &none);
    EXPECT_EQ(FileReplace("new", "record"), -1);
    EXPECT_EQ(errno, kErrorTooManyOpenFiles);
    char name[] = "nameXXXXXX";
    EXPECT_EQ(UniqueName(name), nullptr);
    setrlimit(RLIMIT_NOFILE, &before);
}

TEST_F(Paths, DrivesHaveRoots) {
    mkdir("drive", 0777);
    mkdir("drive/sub", 0777);
    WriteFile("drive/sub/f", "f");
    SetEnvironmentVariableA("VRPLATFORM_DRIVE_D", (directory.path + "/drive/").c_str());
    EXPECT_EQ(FileStatus("D:sub/F"), 0);
    EXPECT_EQ(FileStatus("D:\\..\\..\\sub"), 0) << "nothing lies above a drive's root";
    EXPECT_EQ(ChangeDirectory("D:\\SUB"), 0);
    EXPECT_EQ(Current(), "D:\\sub") << "the nearest root names the drive";
    SetEnvironmentVariableA("VRPLATFORM_DRIVE_C", "/no/such/folder");
    SetEnvironmentVariableA("VRPLATFORM_DRIVE_D", nullptr);
    EXPECT_EQ(Current(), "none") << "a directory on no drive has no name";
    EXPECT_EQ(FileStatus("f"), -1) << "nor has a file in it";
}

bool Opens(const std::string& path) {
    const int32_t handle = FileOpen(path.c_str(), kOpenReadOnly, kShareDenyNone, 0);
    return handle != -1 && FileClose(handle) == 0;
}

// ROOT of drive D from now on -> the files that can be opened, of those in the folder "sub".
TEST_F(Paths, AMappedDriveCountsAtOnce) {
    mkdir("sub", 0777);
    WriteFile("sub/f", "f");
    symlink("sub", "link");
    chdir("sub");
    SetEnvironmentVariableA("VRPLATFORM_DRIVE_C", "/no/such/folder");
    for (const auto& [root, opened] : Rows<2>(R"(
        none ->
        . -> D:\sub\f,f
        sub -> D:\f,f
        link// -> D:\f,f
        none ->
    )")) {
        SetEnvironmentVariableA("VRPLATFORM_DRIVE_D", (directory.path + "/" + root).c_str());
        std::string found;
        for (const char* name : {"D:\\sub\\f", "D:\\f", "f"})
            if (Opens(name)) found += found.empty() ? name : std::string(",") + name;
        EXPECT_EQ(found, opened) << root;
    }
}

}  // namespace
