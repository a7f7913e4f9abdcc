// Handles, text mode, streams and searches on real files.

#include "platform/files.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <numeric>
#include <set>
#include <string>

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
    for (int32_t bad : {-1, 0, 2, 5, INT32_MAX, INT32_MIN}) {
        char byte = 0;
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
    const auto error = [](const char* path, int32_t flags) {
        const int32_t handle = Open(path, flags);
        return handle == -1 ? errno : FileClose(handle);
    };
    EXPECT_EQ(error("missing", kOpenReadOnly), ENOENT);
    EXPECT_EQ(error("full", kOpenReadWrite | kOpenCreate | kOpenExclusive), EEXIST);
    EXPECT_EQ(error("folder", kOpenReadOnly), EACCES);
    EXPECT_EQ(error("folder", kOpenReadWrite), EACCES);
    EXPECT_EQ(error("guarded", kOpenWriteOnly | kOpenTruncate), EACCES);
    EXPECT_EQ(error("guarded", kOpenReadOnly), 0);
    EXPECT_EQ(error("full", 3), EINVAL);
    EXPECT_EQ(error("dangling", kNew), EACCES);
    EXPECT_EQ(error("full", kOpenWriteOnly | kOpenCreate | kOpenTruncate), 0);
    EXPECT_EQ(ReadFile("guarded"), "abc") << "cut though it may not be written";
    EXPECT_EQ(ReadFile("full"), "");
    EXPECT_EQ(FileWrite(Open("sealed", kNew | kOpenBinary, 0), "x", 1), 1) << "its maker may";
    EXPECT_EQ(Open("sealed", kOpenReadWrite), -1);
}

// DISK -> TEXT. Each is read in steps of every size, so that CR LF falls on each border.
TEST_F(Files, TextModeReads) {
    for (const auto& [disk, text] :
         Rows<2>("a\r\nb\r\n -> a\nb\n | a\rb\r\r\n\r -> a\rb\r\n\r | \n\r\n -> \n\n"
                 " | ab\x1A!cd -> ab | \r\n\x1A -> \n |  -> ")) {
        WriteFile("t", disk);
        for (uint32_t step = 1; step < 8; ++step) {
            const int32_t handle = Open("t", kOpenReadOnly);
            std::string read;
            char piece[8];
            for (int32_t got = 0; (got = FileRead(handle, piece, step)) > 0;)
                read.append(piece, size_t(got));
            EXPECT_EQ(read, text) << "in steps of " << step;
            EXPECT_EQ(FileRead(handle, piece, step), 0);
            EXPECT_EQ(FileSeek(handle, 0, kSeekStart), 0);
            EXPECT_EQ(FileRead(handle, piece, 1), text.empty() ? 0 : 1);
            FileClose(handle);
        }
    }
}

TEST_F(Files, TextModeWritesCrLfAndCountsTheBytesGiven) {
    std::string text;
    std::string disk;
    while (text.size() < 6000) {
        text += "x\n";
        disk += "x\r\n";
    }
    const int32_t handle = Open("t", kNew);
    EXPECT_EQ(FileWrite(handle, text.data(), text.size()), 6000);
    EXPECT_EQ(ReadFile("t"), disk);
    signal(SIGXFSZ, SIG_IGN);
    const rlimit limit = {9001, RLIM_INFINITY};  // cuts the next write in the middle
    setrlimit(RLIMIT_FSIZE, &limit);
    EXPECT_EQ(FileWrite(handle, "y\nz", 3), 1) << "CR without its LF is no byte of the text";
    EXPECT_EQ(FileWrite(handle, "y\nz", 3), -1);
}

// The names in order, each behind a blank.
std::string Found(const std::string& pattern) {
    std::set<std::string> names;
    FindData data;
    const int32_t search = FindFirst(pattern.c_str(), &data);
    if (search == -1) return "";
    do {
        names.insert(std::string(" ") + data.name);
    } while (FindNext(search, &data) == 0);
    EXPECT_EQ(FindClose(search), 0);
    return std::accumulate(names.begin(), names.end(), std::string());
}

TEST_F(Files, Searches) {
    for (const char* name : {"plain", "a.txt", "ab.TXT", "abc.tx", "b.c.txt"})
        WriteFile(name, "12345");
    mkdir("Sub", 0777);
    chmod("plain", 0444);
    for (const auto& [pattern, names] :
         Rows<2>("*.* ->  . .. Sub a.txt ab.TXT abc.tx b.c.txt plain | a?.* ->  ab.TXT"
                 " | *.txt ->  a.txt ab.TXT b.c.txt | *b*.t*t ->  ab.TXT b.c.txt"
                 " | sub\\*.* ->  . .. | plain* ->  plain | none\\*.* ->  | *.none -> "))
        EXPECT_EQ(Found(pattern), names) << pattern;
    FindData data;
    EXPECT_EQ(FindClose(FindFirst("PLAIN", &data)), 0);
    EXPECT_EQ(data.attributes, uint32_t{kFindReadOnly});
    EXPECT_EQ(data.size, 5u);
    EXPECT_EQ(FindClose(FindFirst("sub", &data)), 0);
    EXPECT_EQ(data.attributes, uint32_t{kFindDirectory});
}

TEST_F(Files, UniqueNames) {
    char name[] = "pXXXXXX";
    char taken[] = "pXXXXXX";
    char foreign[] = "pXXXXX";
    const std::string numbers = std::to_string(100000 + getpid() % 100000).substr(1);
    EXPECT_EQ(UniqueName(name), name);
    EXPECT_EQ(name, "pa" + numbers);
    for (char letter = 'a'; letter <= 'z'; ++letter)
        WriteFile(std::string("p") + letter + numbers, "");
    EXPECT_EQ(UniqueName(taken), nullptr);
    EXPECT_EQ(UniqueName(foreign), nullptr);
}

}  // namespace
