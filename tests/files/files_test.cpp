// The budget of open files, the calls on a file, listings, directories and full paths.

#include <cerrno>
#include <set>
#include <string>

#include "platform/environment.h"
#include "platform/files.h"
#include "tests/support/arrays.h"
#include "tests/support/library_test.h"

namespace {

constexpr int32_t kNew = kOpenReadWrite | kOpenCreate;

int callbackRuns = 0;

// How often the callbacks ran during one open, of which the result is expected.
int RunsOfOpen(const char* path, int32_t flags = kNew, int32_t result = 0) {
    callbackRuns = 0;
    int32_t handle = 0;
    EXPECT_EQ(OsOpen(path, flags, kPermissionWrite, &handle), result);
    EXPECT_EQ(handle == -1, result != 0);
    return callbackRuns;
}

int RunsOfCounting(int files) {
    callbackRuns = 0;
    for (int i = 0; i < files; ++i)
        OsFilesInc();
    return callbackRuns;
}

TEST_F(FilesTest, TheBudgetOf120AsksBeforeTheOpenAtTheLimit) {
    StartWithFiles();
    MemAddCallback(
        kVrTooManyOpenFiles, [](VrWord, VrWord) { ++callbackRuns; }, 0);
    EXPECT_EQ(RunsOfCounting(119), 0);
    EXPECT_EQ(RunsOfOpen("a"), 0);
    EXPECT_EQ(RunsOfOpen("c"), 1);
    EXPECT_EQ(RunsOfOpen("missing", kOpenReadOnly, -1), 1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(OsClose(99), 1) << "lowers the count of 121 all the same";
    EXPECT_EQ(OsClose(4), 1);
    EXPECT_EQ(RunsOfOpen("c"), 0);
    EXPECT_EQ(RunsOfOpen("c"), 1);

    // Above the limit each open asks once, and error 24 asks once more.
    ControlFailOpens(1, 1, kErrorTooManyOpenFiles);
    EXPECT_EQ(RunsOfOpen("a"), 2);
    ControlFailOpens(1, 2, kErrorTooManyOpenFiles);
    EXPECT_EQ(RunsOfOpen("a", kNew, -2), 2);
    EXPECT_EQ(errno, kErrorTooManyOpenFiles);
    ControlFailOpens(1, 1, EACCES);
    EXPECT_EQ(RunsOfOpen("a", kNew, -1), 1);

    for (int i = 0; i < 200; ++i)
        OsClose(99);  // to 0 and no further
    EXPECT_EQ(RunsOfCounting(121), 1);
    for (int i = 0; i < 122; ++i)
        OsFilesDec();  // to -1
    EXPECT_EQ(RunsOfCounting(122), 1);
}

TEST_F(FilesTest, AFileIsWrittenReadAndListed) {
    StartWithFiles();
    std::filesystem::create_directories("d/sub");
    int32_t handle = 0;
    ASSERT_EQ(OsOpen("d\\plain", kNew | kOpenText, kPermissionWrite, &handle), 0);
    EXPECT_EQ(OsWrite(handle, "one\ntwo\n", 8), 8);
    EXPECT_EQ(OsFileLength(handle), 10);
    EXPECT_EQ(OsChsize(handle, 7), 0);
    EXPECT_EQ(OsLseek(handle, -2, 2), 5);
    VrStream* stream = OsFdopen(handle, "r");
    char line[16];
    EXPECT_STREQ(OsFgets(line, sizeof line, stream), "tw");
    EXPECT_EQ(OsFgets(line, sizeof line, stream), nullptr);
    EXPECT_EQ(OsFclose(stream), 0);

    const std::string longest = "d" + std::string(250, '/');
    const std::set<std::string> all = {".0", "..0", "plain7", "sub0"};
    const std::pair<std::string, std::set<std::string>> cases[] = {
        {"d", all}, {"d\\", all}, {longest, all}, {longest + "/", {}}, {"missing", {}}, {"", {}}};
    for (const auto& [path, expected] : cases) {
        DirSearch* search = nullptr;
        std::set<std::string> entries;
        for (auto* name = DirFirst(path.c_str(), &search); name != nullptr; name = DirNext(search))
            entries.insert(name + std::to_string(search->attributes ? 0 : search->size));
        EXPECT_EQ(entries, expected) << path;
        ASSERT_NE(search, nullptr) << "the record is there though nothing was found";
        EXPECT_EQ(search->searchHandle == -1, expected.empty());
        EXPECT_EQ(DirNext(search), nullptr);
        DirClose(&search);
        EXPECT_EQ(search, nullptr);
        DirClose(&search);
    }
}

TEST_F(FilesTest, TheCurrentDirectoryAndFullPaths) {
    StartWithFiles();
    std::string buffer(300, '#');
    SetEnvironmentVariableA("VRPLATFORM_DRIVE_C", "/nowhere");
    EXPECT_EQ(GetCwd(buffer.data(), 300), nullptr) << "the directory lies on no drive";
    SetEnvironmentVariableA("VRPLATFORM_DRIVE_C", nullptr);
    EXPECT_EQ(GetCwd(buffer.data(), 300), directory.drivePath);
    EXPECT_EQ(buffer.find('#'), 255u);
    std::string four = "########";
    GetCwd(four.data(), 4);
    GetCwd(four.data() + 4, -1);
    EXPECT_EQ(four, directory.drivePath.substr(0, 4) + "####");

    std::filesystem::create_directory("sub");
    std::filesystem::current_path("sub");
    EXPECT_EQ(ChDir("missing"), -1);
    EXPECT_EQ(GetCwd(buffer.data(), 300), directory.drivePath) << "changes past ChDir stay unseen";
    EXPECT_EQ(ChDir((directory.drivePath + "\\SUB").c_str()), 0);
    EXPECT_EQ(GetCwd(buffer.data(), 300), directory.drivePath + "\\sub");

    std::string upper = directory.drivePath + "\\SUB\\DATA\\X.DAT";
    ToUpper(upper.data());
    const std::string longest = "D:\\" + std::string(251, 'X');
    const std::string cases[][2] = {
        {"", ""}, {"data\\x.dat", upper}, {longest, longest}, {longest + "X", ""}};
    for (const auto& [path, full] : cases) {
        VrString given = StringOfBytes(path);
        EXPECT_EQ(TakeText(GetFullPath(given)), full);
        free_mem(&given);
    }
}

}  // namespace
