// The budget of open files, the calls on a file, listings, directories and full paths; and
// free-text names made into names on disk.

#include "tests/support/library_test.h"

namespace {

constexpr int32_t kNew = kOpenReadWrite | kOpenCreate;

int32_t runs = 0;  // of the callback

void CountRuns() {
    const auto count = [](VrWord, VrWord) { ++runs; };
    MemAddCallback(kVrTooManyOpenFiles, count, 0);
}

TEST_F(FilesTest, TheBudgetIs120FilesUnlessItIsSet) {
    StartWithFiles();
    CountRuns();
    for (int i = 0; i < 122; ++i)
        OsFilesInc();
    EXPECT_EQ(runs, 2);
}

// With a log of each open. The callbacks run at the limit, and where handles are short.
TEST_F(FilesTest, OpensAreCountedAskedForAndLoggedAsInTheModel) {
    StartWithFiles("[Environment]\nMaxOpenFiles=4\n[DB]\nLOG=2\n");
    EXPECT_EQ(VrdbLogInit("DB", nullptr), 0);
    KeepLog();
    CountRuns();
    WriteFile("there", "");
    std::mt19937 random(1);
    std::string log = ReadFile("$$VRDB.LOG");
    std::set<int32_t> handles;
    int32_t expectedRuns = 0, count = 1;  // the log's own
    const auto addLine = [&log](auto... parts) {
        log += "\r\n@@@DOS ";
        ((log += parts), ...);
    };
    for (int step = 0; step < 500 && !HasFailure(); ++step) {
        const uint32_t action = random() % 10, refusals = random() % 3;
        if (action < 5) {
            const std::string path = random() % 3 == 0 ? "none" : "there";
            const bool opens = path == "there" && refusals < 2;
            expectedRuns += (count >= 4 ? 1 : 0) + (refusals > 0 ? 1 : 0);
            int32_t handle = 0;
            ControlFailOpens(1, refusals, kErrorTooManyOpenFiles);
            EXPECT_EQ(OsOpen(path.c_str(), kOpenReadOnly, 0, &handle), opens           ? 0
                                                                       : refusals == 0 ? -1
                                                                                       : -2);
            const int32_t error = refusals == 2 || (refusals == 1 && opens) ? EMFILE : ENOENT;
            EXPECT_EQ(opens ? error : errno, error);
            ControlFailOpens(1, 0, 0);
            addLine("OPEN File ", path);
            if (refusals > 0) addLine("OPEN Stat: ", std::to_string(error));
            if (opens) addLine("Open Handle: ", std::to_string(handle));
            EXPECT_EQ(handle == -1, !opens);
            if (opens) handles.insert(handle), ++count;
        } else if (action < 8) {
            const int32_t handle = handles.empty() ? -1 : *handles.begin();
            EXPECT_EQ(OsClose(handle), 1);
            EXPECT_EQ(OsFileLength(handle), -1) << "it is closed";
            handles.erase(handle);
            count -= count != 0 ? 1 : 0;
        } else if (action == 8) {
            expectedRuns += count >= 4 ? 1 : 0;
            OsFilesInc();
            ++count;
        } else {
            OsFilesDec();
            --count;
        }
        EXPECT_EQ(runs, expectedRuns) << step;
        EXPECT_EQ(ReadFile("$$VRDB.LOG"), log);
    }
    for (const int32_t handle : handles)
        OsClose(handle);
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

    const timespec times[] = {{1'000'000'000, 0}, {1'100'000'000, 0}};
    utimensat(AT_FDCWD, "d/plain", times, 0);
    struct stat status = {};
    stat("d/plain", &status);
    DirSearch* search = nullptr;
    std::map<std::string, DirSearch> entries;
    for (auto* name = DirFirst("d\\", &search); name != nullptr; name = DirNext(search))
        entries[name] = *search;
    EXPECT_EQ(entries.size(), 4u) << "with itself and its parent";
    EXPECT_EQ(entries.count("sub"), 1u);
    EXPECT_EQ(entries["plain"].attributes, 0u);
    EXPECT_EQ(entries["plain"].size, 7u);
    EXPECT_EQ(entries["plain"].accessTime, 1'000'000'000);
    EXPECT_EQ(entries["plain"].writeTime, 1'100'000'000);
    EXPECT_EQ(entries["plain"].creationTime, status.st_ctime);
    DirClose(&search);
    EXPECT_EQ(search, nullptr);
    EXPECT_EQ(DirFirst("missing", &search), nullptr);
    EXPECT_NE(search, nullptr) << "the record is there though nothing was found";
    DirClose(&search);
}

TEST_F(FilesTest, TheCurrentDirectoryAndFullPaths) {
    StartWithFiles();
    std::filesystem::create_directory("sub");
    EXPECT_EQ(ChDir("missing"), -1);
    EXPECT_EQ(ChDir(directory.Drive("SUB").c_str()), 0);
    std::string buffer(300, '#');
    EXPECT_EQ(GetCwd(buffer.data(), 300), directory.Drive("sub"));
    EXPECT_EQ(buffer.find('#'), 255u);
    std::string upper = directory.Drive("SUB\\DATA\\X.DAT");
    ToUpper(upper.data());
    const std::string longest = "D:\\" + std::string(251, 'X');
    const std::string cases[][2] = {
        {"", ""}, {"data\\x.dat", upper}, {longest, longest}, {longest + "X", ""}};
    for (const auto& [path, full] : cases)
        EXPECT_EQ(TakeBytes(GetFullPath(Array(StringOfBytes(path)))), full);
}

struct NamesTest : FilesTest {
    NamesTest() {
        StartWithFiles();
    }
    static std::string Mapped(const std::string& name, std::string extension) {
        char* const given = extension == "-" ? nullptr : extension.data();
        return TakeBytes(OsFileName(Array(StringOfBytes(name)), given));
    }
};

TEST_F(NamesTest, MappedNames) {
    // A name, its extension if there is one, and the result, which then exists.
    for (const auto& [name, extension, result] : Rows<3>(R"(
            customer      -> -      -> CUSTOME1
            CUSTOMER      -> -      -> CUSTOMER
            CUSTOMER      -> -      -> CUSTOME2
            A.B           -> C      -> A_B1.C
            ABC           -> DAT    -> ABC.DAT
            ABC           -> DAT    -> ABC1.DAT
            A.B           -> -      -> A.B
            A.B           -> -      -> A_B1
            ABCDEFGH.TXT  -> -      -> ABCDEFGH.TXT
            ABCDEFGHIJ.T  -> -      -> ABCDEFGHIJ.T
            ABCDEFGHIJK.T -> -      -> ABCDEFG1
            AB.CDEF       -> -      -> AB_CDEF1
            ABCDEFGHIJ    -> X      -> ABCDEFG1.X
            ABCDEFGH      -> LONGER -> ABCDEFGH.LON
                          -> DAT    -> .DAT
                          -> DAT    ->)")) {
        EXPECT_EQ(Mapped(name, extension), result) << name;
        WriteFile(result, "");
    }
    EXPECT_EQ(Mapped("", "-"), "an empty string of its own");
    EXPECT_EQ(Mapped({"AB\0CD", 5}, "-"), "AB");
}

TEST_F(NamesTest, TheGapAmongManyNamesInOtherCase) {
    WriteFile("abcdefgh", "");
    for (unsigned number = 0; number < 256; ++number) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%x", number);
        if (number < 16) WriteFile(std::string("abcdefg") + digits, "");
        if (number != 0x7A) WriteFile(std::string("abcdef") + digits, "");
    }
    for (const char* expected : {"ABCDEF7A", "ABCDE0"}) {
        EXPECT_EQ(Mapped("ABCDEFGH", "-"), expected);
        WriteFile(expected, "");
    }
}

TEST_F(NamesTest, LongNamesKeepAllButTheStar) {
    const std::string longest(260, 'n');
    const std::pair<const char*, std::string> names[] = {{nullptr, "a^b.c ^"},
                                                         {"x*", "a^b.c ^.x*"}};
    for (const auto& [extension, result] : names)
        EXPECT_EQ(TakeBytes(OsFileLongName(Array(StringOfBytes("a*b.c *")), extension)), result);
    EXPECT_EQ(BytesOf(Array(OsFileLongName(Array(longest + "n"), "ext"))), longest + ".ext");
}

TEST_F(NamesTest, UniqueNames) {
    const std::string end = "a" + std::to_string(100000 + getpid() % 100000).substr(1);
    const std::string prefix(97, 'p');
    EXPECT_EQ(TakeBytes(GetUniqueTempFileName(prefix.c_str())), prefix + end);
    EXPECT_EQ(TakeBytes(GetUniqueFileName((prefix + "p").c_str())), "");
    DLLPutEnv("VRLTEMP", "D:\\TMP\\");
    EXPECT_EQ(TakeBytes(GetUniqueTempFileName("p")), "D:\\TMP\\\\p" + end);
}

}  // namespace
