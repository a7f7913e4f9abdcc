// Paths: drives, separators, letter case, the current directory.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "platform/environment.h"
#include "platform/files.h"
#include "tests/support/temp_directory.h"

namespace {

class Paths : public ::testing::Test {
protected:
    static std::string Expanded(const std::string& path) {
        char buffer[1000];
        return ExpandPath(buffer, path.c_str(), sizeof buffer) == nullptr ? "none" : buffer;
    }
    static std::string Current() {
        char buffer[1000];
        return CurrentDirectory(buffer, sizeof buffer) == nullptr ? "none" : buffer;
    }
    TempDirectory directory;
};

TEST_F(Paths, Expansion) {
    const std::string here = directory.drivePath;
    const std::string parent = here.substr(0, here.rfind('\\'));
    const struct {
        std::string path;
        std::string full;
    } cases[] = {
        {"x", here + "\\x"},
        {"a/b\\c.d", here + "\\a\\b\\c.d"},
        {"..\\x", parent + "\\x"},
        {".\\.\\x\\..\\y", here + "\\y"},
        {"C:x", here + "\\x"},
        {"c:\\A\\..\\..\\..\\b", "C:\\b"},
        {"\\x\\", "C:\\x\\"},
        {"/", "C:\\"},
        {"D:\\data", "D:\\data"},
        {"D:data", "D:\\data"},
        {"", here},
    };
    for (const auto& row : cases)
        EXPECT_EQ(Expanded(row.path), row.full) << row.path;
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
    const auto read = [](const std::string& path) -> std::string {
        const int32_t handle = FileOpen(path.c_str(), kOpenReadOnly, kShareDenyNone, 0);
        if (handle == -1) return "none";
        char bytes[16];
        const int32_t got = FileRead(handle, bytes, sizeof bytes);
        FileClose(handle);
        return {bytes, static_cast<size_t>(got)};
    };
    EXPECT_EQ(read("DATA\\ONE"), "1");
    EXPECT_EQ(read("data/TWO"), "upper");
    EXPECT_EQ(read("data/two"), "lower");
    EXPECT_EQ(read("data/three"), "none");
    std::string upper = directory.drivePath + "\\data\\one";
    for (char& c : upper)
        c = static_cast<char>(toupper(c));
    EXPECT_EQ(read(upper), "1") << "an upper-cased full path still opens";
    EXPECT_EQ(read(directory.path + "/Data/One"), "1");

    const int32_t handle =
        FileOpen("DATA\\NewName", kOpenWriteOnly | kOpenCreate, kShareDenyNone, kPermissionWrite);
    EXPECT_NE(handle, -1);
    FileClose(handle);
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
    EXPECT_EQ(FileStatus(""), -1);
    EXPECT_EQ(FileStatus(std::string(5000, 'x').c_str()), -1);
    EXPECT_EQ(errno, ENAMETOOLONG);
    EXPECT_EQ(FileStatus(":"), -1);
    EXPECT_EQ(FileStatus("1:\\"), -1);
}

}  // namespace
