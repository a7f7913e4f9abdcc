// The budget of open files, the current directory, full paths, listings, and the
// forwarding calls on one file.

#include <sys/resource.h>

#include <cerrno>
#include <set>
#include <string>

#include "platform/files.h"
#include "tests/support/arrays.h"
#include "tests/support/library_test.h"

namespace {

constexpr int32_t kNew = kOpenReadWrite | kOpenCreate | kOpenBinary;
constexpr int32_t kBoth = kPermissionRead | kPermissionWrite;

int callbackRuns = 0;

void CountRuns(VrWord, VrWord) {
    ++callbackRuns;
}

class FileLayerTest : public FilesTest {
protected:
    void StartWithLimit(const std::string& limit) {
        StartWithFiles("[Environment]\n" + limit);
        MemAddCallback(kVrTooManyOpenFiles, CountRuns, 0);
    }

    // How often the callbacks ran during one open, of which the result is expected.
    static int RunsOfOpen(const char* path, int32_t flags, int32_t result = 0) {
        callbackRuns = 0;
        int32_t handle = 0;
        EXPECT_EQ(OsOpen(path, flags, kBoth, &handle), result);
        EXPECT_EQ(handle == -1, result != 0);
        return callbackRuns;
    }
};

TEST_F(FileLayerTest, TheBudgetAsksBeforeTheOpenAtTheLimit) {
    StartWithLimit("MaxOpenFiles=2\n");
    EXPECT_EQ(RunsOfOpen("a", kNew), 0);
    EXPECT_EQ(RunsOfOpen("b", kNew), 0);
    EXPECT_EQ(RunsOfOpen("c", kNew), 1);
    EXPECT_EQ(RunsOfOpen("missing", kOpenReadOnly, -1), 1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(OsClose(99), 1);  // lowers the count of 3 all the same
    EXPECT_EQ(OsClose(5), 1);
    EXPECT_EQ(RunsOfOpen("c", kNew), 0);
    callbackRuns = 0;
    OsFilesInc();
    EXPECT_EQ(callbackRuns, 1);
}

TEST_F(FileLayerTest, TheCountHasAFloorInCloseAlone) {
    StartWithLimit("MaxOpenFiles=1\n");
    OsClose(99);
    EXPECT_EQ(RunsOfOpen("a", kNew), 0) << "the count was 0, not below";
    OsFilesDec();
    OsFilesDec();
    EXPECT_EQ(RunsOfOpen("a", kNew), 0) << "from -1 to 0";
    EXPECT_EQ(RunsOfOpen("a", kNew), 0) << "from 0 to 1";
    EXPECT_EQ(RunsOfOpen("a", kNew), 1);
}

TEST_F(FileLayerTest, ALimitOf0AsksEachTimeAndTheDefaultIs120) {
    StartWithLimit("MaxOpenFiles=0\n");
    EXPECT_EQ(RunsOfOpen("a", kNew), 1);
    EXPECT_EQ(RunsOfOpen("a", kNew), 1);
}

TEST_F(FileLayerTest, TheDefaultLimitIs120) {
    StartWithLimit("");
    for (int i = 0; i < 119; ++i)
        OsFilesInc();
    EXPECT_EQ(RunsOfOpen("a", kNew), 0);
    EXPECT_EQ(RunsOfOpen("a", kNew), 1);
}

TEST_F(FileLayerTest, Error24IsTriedOnceMore) {
    StartWithLimit("");
    ControlFailOpens(1, 1, kErrorTooManyOpenFiles);
    EXPECT_EQ(RunsOfOpen("a", kNew), 1);
    ControlFailOpens(1, 2, kErrorTooManyOpenFiles);
    EXPECT_EQ(RunsOfOpen("a", kNew, -2), 1);
    EXPECT_EQ(errno, kErrorTooManyOpenFiles);
    ControlFailOpens(1, 1, EACCES);
    EXPECT_EQ(RunsOfOpen("a", kNew, -1), 0);
}

TEST_F(FileLayerTest, OneFileThroughAllCalls) {
    StartWithFiles();
    int32_t handle = 0;
    ASSERT_EQ(OsOpen("f", kOpenReadWrite | kOpenCreate | kOpenText, kBoth, &handle), 0);
    EXPECT_EQ(OsWrite(handle, "one\ntwo\n", 8), 8);
    EXPECT_EQ(OsFileLength(handle), 10);
    EXPECT_EQ(OsLseek(handle, -5, 2), 5);
    char bytes[16] = {};
    EXPECT_EQ(OsRead(handle, bytes, sizeof bytes), 4);
    EXPECT_EQ(std::string(bytes, 4), "two\n");
    EXPECT_EQ(OsChsize(handle, 5), 0);
    OsLseek(handle, 0, 0);
    VrStream* stream = OsFdopen(handle, "r");
    EXPECT_STREQ(OsFgets(bytes, sizeof bytes, stream), "one\n");
    EXPECT_EQ(OsFgets(bytes, sizeof bytes, stream), nullptr);
    EXPECT_EQ(OsFclose(stream), 0);
    EXPECT_EQ(OsRead(handle, bytes, 1), -1);
    EXPECT_EQ(WriteLockFile(1, 2), 1);
}

TEST_F(FileLayerTest, TheCurrentDirectoryIsKeptAsRawBytes) {
    StartWithFiles();
    const std::string here = directory.DrivePath();
    std::string buffer(300, '#');
    EXPECT_EQ(GetCwd(buffer.data(), 300), buffer.data());
    EXPECT_STREQ(buffer.c_str(), here.c_str());
    EXPECT_EQ(buffer.find('#'), 255u);
    std::string four = "########";
    GetCwd(four.data(), 4);
    EXPECT_EQ(four, here.substr(0, 4) + "####");
    GetCwd(four.data(), -1);

    std::filesystem::create_directory("sub");
    std::filesystem::current_path("sub");
    GetCwd(buffer.data(), 300);
    EXPECT_STREQ(buffer.c_str(), here.c_str()) << "a change past ChDir stays unseen";
    EXPECT_EQ(ChDir("missing"), -1);
    GetCwd(buffer.data(), 300);
    EXPECT_STREQ(buffer.c_str(), here.c_str());
    EXPECT_EQ(ChDir((here + "\\SUB").c_str()), 0);
    GetCwd(buffer.data(), 300);
    EXPECT_EQ(buffer.c_str(), here + "\\sub");
}

TEST_F(FileLayerTest, FullPathsAreUpperCase) {
    StartWithFiles();
    const auto full = [](const std::string& path) {
        VrString given = StringOfBytes(path);
        VrString result = GetFullPath(given);
        free_mem(&given);
        const std::string text = BytesOf(result);
        free_mem(&result);
        return text;
    };
    std::string upper = directory.DrivePath() + "\\DATA\\X.DAT";
    for (char& c : upper)
        c = static_cast<char>(toupper(c));
    EXPECT_EQ(full("data\\x.dat"), upper);
    EXPECT_EQ(full("D:\\a\xE4"), "D:\\A\xE4");
    EXPECT_EQ(full("D:\\" + std::string(251, 'x')).size(), 254u);
    EXPECT_EQ(full("D:\\" + std::string(252, 'x')), "");
    EXPECT_EQ(full(""), "");
}

TEST_F(FileLayerTest, Listings) {
    StartWithFiles();
    std::filesystem::create_directory("d");
    WriteFile("d/plain", "12345");
    std::filesystem::create_directory("d/sub");
    for (const char* path : {"d", "d\\", "D/"}) {
        DirSearch* search = nullptr;
        std::set<std::string> names;
        for (const char* name = DirFirst(path, &search); name != nullptr; name = DirNext(search)) {
            names.insert(name);
            if (names.count("plain") == 1 && search->name == std::string("plain")) {
                EXPECT_EQ(search->size, 5u);
            }
        }
        EXPECT_EQ(names, (std::set<std::string>{".", "..", "plain", "sub"})) << path;
        DirClose(&search);
        EXPECT_EQ(search, nullptr);
        DirClose(&search);
    }
    const std::string tooLong(260, 'x');
    for (const char* path : {"missing", "", tooLong.c_str()}) {
        DirSearch* search = nullptr;
        EXPECT_EQ(DirFirst(path, &search), nullptr);
        ASSERT_NE(search, nullptr) << "the record is there all the same";
        EXPECT_EQ(search->searchHandle, -1);
        EXPECT_EQ(DirNext(search), nullptr);
        DirClose(&search);
    }
}

}  // namespace
