// Handles, text mode, streams and searches on real files.

#include <gtest/gtest.h>

#include "tests/support/rows.h"
#include "tests/support/temp_directory.h"

namespace {

constexpr int32_t kNew = kOpenReadWrite | kOpenCreate;

struct Files : testing::Test {
    static int32_t Open(const char* path, int32_t flags, int32_t permission = kPermissionWrite) {
        return FileOpen(path, flags, kShareDenyNone, permission);
    }
    TempDirectory directory;
};

TEST_F(Files, HandlesAreTheLowestFreeNumbersFrom3) {
    EXPECT_EQ(Open("a", kNew), 3);
    EXPECT_EQ(Open("b", kNew), 4);
    EXPECT_EQ(FileClose(3), 0);
    EXPECT_EQ(Open("a", kOpenReadOnly), 3);
    for (int32_t bad : {-1, 2, 5, INT32_MAX})
        EXPECT_EQ(FileRead(bad, nullptr, 1), -1) << bad;
    EXPECT_EQ(errno, EBADF);
}

TEST_F(Files, OpensThatFailHaveTheirErrors) {
    WriteFile("full", "abc");
    WriteFile("guarded", "abc");
    chmod("guarded", 0444);
    mkdir("folder", 0777);
    symlink("loop", "loop");
    symlink("none", "dangling");
    EXPECT_EQ(FileWrite(Open("sealed", kNew | kOpenBinary, 0), "x", 1), 1) << "its maker may";
    const std::tuple<std::string, int32_t, int> cases[] = {
        {"missing", kOpenReadOnly, ENOENT},
        {"full", kNew | kOpenExclusive, EEXIST},
        {"full", 3, EINVAL},
        {"folder", kOpenReadOnly, EACCES},
        {"guarded", kOpenWriteOnly | kOpenTruncate, EACCES},
        {"sealed", kOpenReadWrite, EACCES},
        {std::string(255, 'x'), kNew, 0},
        {std::string(256, 'x'), kNew, ENAMETOOLONG},
        {"..\\..\\..\\..\\..\\.." + directory.path + "\\x\\..\\full", kNew, 0},
        {"loop", kNew, ELOOP},
        {"dangling", kNew, EACCES},
        {"full\\x", kNew, ENOTDIR},
    };
    for (const auto& [path, flags, error] : cases) {
        const int32_t handle = Open(path.c_str(), flags);
        EXPECT_EQ(handle == -1 ? errno : FileClose(handle), error) << path;
    }
    EXPECT_EQ(ReadFile("guarded"), "abc") << "cut though it may not be written";
}

// As /dev/stdout does where the output is a pipe: its link's text is no path.
TEST_F(Files, LinksOfTheKernelLeadToPipes) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const std::string link = "/proc/self/fd/" + std::to_string(ends[1]);
    std::filesystem::create_symlink(link, "output");
    EXPECT_EQ(FileWrite(Open("output", kOpenWriteOnly | kOpenBinary), "x", 1), 1);
    char byte = 0;
    EXPECT_EQ(read(ends[0], &byte, 1), 1);
    EXPECT_EQ(byte, 'x');
}

// DISK -> TEXT. Each is read in steps of every size, so that CR LF falls on each border.
TEST_F(Files, TextModeReads) {
    const std::pair<std::string, std::string> cases[] = {
        {"a\r\nb\r\n", "a\nb\n"}, {"a\rb\r\r\n\r", "a\rb\r\n\r"}, {"ab\x1A!cd", "ab"}};
    for (const auto& [disk, text] : cases) {
        WriteFile("t", disk);
        for (uint32_t step = 1; step < 8; ++step) {
            const int32_t handle = Open("t", kOpenReadOnly);
            std::string read;
            char piece[8];
            for (int32_t got = 0; (got = FileRead(handle, piece, step)) > 0;)
                read.append(piece, size_t(got));
            EXPECT_EQ(read, text) << "in steps of " << step;
            FileClose(handle);
        }
    }
}

// Line ends at each place of the pieces that a long text is written in.
TEST_F(Files, TextModeWrites) {
    std::minstd_rand random(1);
    for (int round = 0; round < 40; ++round) {
        std::string text, disk;
        const uint32_t count = 16000 + random() % 20000, rarity = round % 2 == 0 ? 2 : 5000;
        while (text.size() < count) {
            const bool isEnd = random() % rarity == 0;
            text += isEnd ? "\n" : "x";
            disk += isEnd ? "\r\n" : "x";
        }
        const int32_t handle = Open("t", kNew | kOpenTruncate | kOpenText);
        EXPECT_EQ(FileWrite(handle, text.data(), count), int32_t(count));
        FileClose(handle);
        EXPECT_TRUE(ReadFile("t") == disk) << round;
    }
}

// The names, each after its attributes.
std::string Found(const std::string& pattern) {
    std::set<std::string> names;
    FindData data;
    const int32_t search = FindFirst(pattern.c_str(), &data);
    for (int32_t end = search; end != -1; end = FindNext(search, &data))
        names.insert(std::to_string(data.attributes) + data.name + ' ');
    EXPECT_EQ(search, names.empty() ? -1 : 0) << "the search before is closed";
    EXPECT_EQ(FindClose(search), names.empty() ? -1 : 0);
    return std::accumulate(names.begin(), names.end(), std::string());
}

TEST_F(Files, Searches) {
    for (const char* name : {"plain", "a.txt", "ab.TXT", "abc.tx", "b.c.txt"})
        WriteFile(name, "");
    WriteFile("a:b", "");  // would open on drive A
    mkdir("Sub", 0777);
    chmod("plain", 0444);
    for (const auto& [pattern, names] : Rows<2>(R"(
            *.*     -> 0a.txt 0ab.TXT 0abc.tx 0b.c.txt 16. 16.. 16Sub 1plain
            a?.*    -> 0ab.TXT
            *b*.t*t -> 0ab.TXT 0b.c.txt
            sub\*.* -> 16. 16..
            PLAIN   -> 1plain
            *.none  ->)"))
        EXPECT_EQ(Trimmed(Found(pattern)), names) << pattern;
}

// What would kill a process that did not expect it.
TEST_F(Files, WritesThatRaiseSignalsFail) {
    mkfifo("pipe", 0666);
    const int reader = open("pipe", O_RDONLY | O_NONBLOCK);
    const int32_t pipe = Open("pipe", kOpenWriteOnly);
    close(reader);
    EXPECT_EQ(FileWrite(pipe, "x", 1), -1);
    EXPECT_EQ(errno, EPIPE);

    const rlimit limit = {3, RLIM_INFINITY};
    setrlimit(RLIMIT_FSIZE, &limit);
    const int32_t file = Open("file", kNew | kOpenBinary);
    EXPECT_EQ(FileWrite(file, "abcde", 5), 3);
    EXPECT_EQ(FileWrite(file, "x", 1), -1);
    EXPECT_EQ(FileWrite(Open("text", kNew | kOpenText), "\n\n", 2), 1) << "no half a line end";
    EXPECT_EQ(FileChangeSize(file, 4), -1);
    EXPECT_EQ(errno, EFBIG);
    sigset_t pending;
    sigpending(&pending);
    EXPECT_EQ(sigismember(&pending, SIGPIPE), 0);
    EXPECT_EQ(sigismember(&pending, SIGXFSZ), 0);
}

TEST_F(Files, OnlyAFileOfOnesOwnIsDiscarded) {
    const int32_t mine = Open("mine", kNew);
    WriteFile("theirs", "");
    const int32_t theirs = Open("theirs", kNew);
    EXPECT_EQ(FileDiscard(theirs, "theirs"), -1);
    EXPECT_EQ(FileDiscard(mine, "theirs"), -1) << "another file";
    const int other = open("mine", O_RDONLY);
    EXPECT_EQ(FileDiscard(mine, "mine"), -1) << "somebody has it open";
    close(other);
    EXPECT_EQ(FileIsDeleted(mine), 0);
    EXPECT_EQ(FileDiscard(mine, "mine"), 0);
    EXPECT_EQ(FileIsDeleted(mine), 1);
    EXPECT_EQ(FileStatus("theirs"), 0);
}

TEST_F(Files, UniqueNamesAreFreeWhereverNothingExists) {
    WriteFile("file", "");
    for (const std::string prefix : {"", "absent\\", "file\\"}) {
        std::string name = prefix + "XXXXXX";
        EXPECT_NE(UniqueName(name.data()), nullptr) << prefix;
        EXPECT_EQ(name[prefix.size()], 'a');
    }
}

}  // namespace
