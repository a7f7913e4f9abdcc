// Handles, text mode, streams and searches on real files.

#include "platform/files.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <set>
#include <string>

#include "platform/control.h"
#include "tests/support/temp_directory.h"

namespace {

constexpr int32_t kNew = kOpenReadWrite | kOpenCreate;
constexpr int32_t kBoth = kPermissionRead | kPermissionWrite;

class Files : public ::testing::Test {
protected:
    static int32_t Open(const char* path, int32_t flags, int32_t permission = kBoth) {
        return FileOpen(path, flags, kShareDenyNone, permission);
    }
    TempDirectory directory;
};

TEST_F(Files, HandlesAreTheLowestFreeNumbersFrom3) {
    EXPECT_EQ(Open("a", kNew), 3);
    EXPECT_EQ(Open("b", kNew), 4);
    EXPECT_EQ(FileClose(3), 0);
    EXPECT_EQ(Open("a", kOpenReadOnly), 3);
    char byte = 0;
    for (int32_t bad : {-1, 0, 2, 5, INT32_MAX, INT32_MIN}) {
        EXPECT_EQ(FileRead(bad, &byte, 1), -1) << bad;
        EXPECT_EQ(errno, EBADF);
        EXPECT_EQ(FileClose(bad), -1);
        EXPECT_EQ(FileSystemHandle(bad), reinterpret_cast<void*>(-1));
    }
}

TEST_F(Files, OpenFlagsAndPermissions) {
    WriteFile("full", "abc");
    WriteFile("guarded", "abc");
    chmod("guarded", 0444);
    mkdir("folder", 0777);
    EXPECT_EQ(symlink("nowhere", "dangling"), 0);
    const struct {
        const char* path;
        int32_t flags;
        int error;  // 0: it opens
    } cases[] = {
        {"missing", kOpenReadOnly, ENOENT},
        {"", kOpenReadOnly, ENOENT},
        {"full", kOpenReadWrite | kOpenCreate | kOpenExclusive, EEXIST},
        {"folder", kOpenReadOnly, EACCES},
        {"folder", kOpenReadWrite, EACCES},
        {"guarded", kOpenWriteOnly | kOpenTruncate, EACCES},
        {"guarded", kOpenReadOnly, 0},
        {"full", 3, EINVAL},
        {"dangling", kNew, EACCES},
        {"full", kOpenWriteOnly | kOpenCreate | kOpenTruncate, 0},
    };
    for (const auto& row : cases) {
        errno = 0;
        const int32_t handle = Open(row.path, row.flags);
        EXPECT_EQ(handle == -1 ? errno : 0, row.error) << row.path;
        FileClose(handle);
    }
    EXPECT_EQ(ReadFile("guarded"), "abc") << "cut though it may not be written";
    EXPECT_EQ(ReadFile("full"), "");

    const int32_t handle = Open("sealed", kNew | kOpenBinary, 0);
    EXPECT_EQ(FileWrite(handle, "x", 1), 1) << "the handle that made it may write";
    EXPECT_EQ(Open("sealed", kOpenReadWrite), -1);
    EXPECT_EQ(FileClose(handle), 0);
}

// Every text is read in steps of every size, so that CR LF falls on each border.
TEST_F(Files, TextModeReads) {
    const struct {
        std::string disk;
        std::string text;
    } cases[] = {
        {"a\r\nb\r\n", "a\nb\n"},
        {"a\rb\r\r\n\r", "a\rb\r\n\r"},
        {"\n\r\n", "\n\n"},
        {"ab\x1A"
         "cd",
         "ab"},
        {"\r\n\x1A", "\n"},
        {"", ""},
    };
    for (const auto& row : cases) {
        WriteFile("t", row.disk);
        for (uint32_t step = 1; step < 8; ++step) {
            const int32_t handle = Open("t", kOpenReadOnly);
            std::string text;
            char piece[8];
            for (int32_t got = 0; (got = FileRead(handle, piece, step)) > 0;)
                text.append(piece, static_cast<size_t>(got));
            EXPECT_EQ(text, row.text) << "in steps of " << step;
            EXPECT_EQ(FileRead(handle, piece, step), 0);
            EXPECT_EQ(FileSeek(handle, 0, kSeekStart), 0);
            EXPECT_EQ(FileRead(handle, piece, 1), row.text.empty() ? 0 : 1);
            FileClose(handle);
        }
    }
}

TEST_F(Files, TextModeWritesCrLfAndCountsTheBytesGiven) {
    std::string text;
    std::string disk;
    for (int i = 0; i < 3000; ++i) {
        text += "x\n";
        disk += "x\r\n";
    }
    int32_t handle = Open("t", kNew);
    EXPECT_EQ(FileWrite(handle, text.data(), text.size()), static_cast<int32_t>(text.size()));
    EXPECT_EQ(FileLength(handle), static_cast<int32_t>(disk.size()));
    FileClose(handle);
    EXPECT_EQ(ReadFile("t"), disk);

    // A limit of the file's size cuts the write in the middle.
    signal(SIGXFSZ, SIG_IGN);
    const rlimit limit = {9001, RLIM_INFINITY};
    setrlimit(RLIMIT_FSIZE, &limit);
    handle = Open("t", kNew | kOpenAppend);
    EXPECT_EQ(FileWrite(handle, "y\nz", 3), 1) << "CR without its LF is no byte of the text";
    EXPECT_EQ(FileWrite(handle, "y\nz", 3), -1);
    FileClose(handle);
}

std::set<std::string> Found(const char* pattern) {
    std::set<std::string> names;
    FindData data;
    const int32_t search = FindFirst(pattern, &data);
    for (int32_t more = search == -1 ? -1 : 0; more == 0; more = FindNext(search, &data))
        names.insert(data.name);
    EXPECT_EQ(FindClose(search), search == -1 ? -1 : 0);
    return names;
}

TEST_F(Files, Searches) {
    for (const char* name : {"plain", "a.txt", "ab.TXT", "abc.tx", "b.c.txt"})
        WriteFile(name, "12345");
    mkdir("Sub", 0777);
    chmod("plain", 0444);
    using Names = std::set<std::string>;
    EXPECT_EQ(Found("*.*"),
              (Names{".", "..", "plain", "a.txt", "ab.TXT", "abc.tx", "b.c.txt", "Sub"}));
    EXPECT_EQ(Found("*.txt"), (Names{"a.txt", "ab.TXT", "b.c.txt"}));
    EXPECT_EQ(Found("a?.*"), (Names{"ab.TXT"}));
    EXPECT_EQ(Found("*b*.t*t"), (Names{"ab.TXT", "b.c.txt"}));
    EXPECT_EQ(Found("sub\\*.*"), (Names{".", ".."}));
    EXPECT_EQ(Found("none\\*.*"), Names{});
    EXPECT_EQ(Found("*.none"), Names{});

    FindData data;
    EXPECT_EQ(FindClose(FindFirst("PLAIN", &data)), 0);
    EXPECT_EQ(data.attributes, uint32_t{kFindReadOnly});
    EXPECT_EQ(data.size, 5u);
    EXPECT_EQ(FindClose(FindFirst("sub", &data)), 0);
    EXPECT_EQ(data.attributes, uint32_t{kFindDirectory});
}

TEST_F(Files, UniqueNamesAndReplacing) {
    char name[] = "pXXXXXX";
    std::string numbers = std::to_string(100000 + getpid() % 100000).substr(1);
    EXPECT_EQ(UniqueName(name), name);
    EXPECT_EQ(name, "pa" + numbers);
    for (char letter = 'a'; letter <= 'z'; ++letter)
        WriteFile(std::string("p") + letter + numbers, "");
    char taken[] = "pXXXXXX";
    char foreign[] = "pXXXXX";
    EXPECT_EQ(UniqueName(taken), nullptr);
    EXPECT_EQ(UniqueName(foreign), nullptr);

    WriteFile("old", "old");
    WriteFile("new", "new");
    chmod("old", 0640);
    EXPECT_EQ(FileReplace("new", "OLD"), 0);
    EXPECT_EQ(ReadFile("old"), "new");
    struct stat status = {};
    stat("old", &status);
    EXPECT_EQ(status.st_mode & 0777, 0640u);
    EXPECT_EQ(FileStatus("new"), -1);
    EXPECT_EQ(FileReplace("new", "old"), -1);
    EXPECT_EQ(FileDelete("old"), 0);
    EXPECT_EQ(FileDelete("old"), -1);
}

}  // namespace
