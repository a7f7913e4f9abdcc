// The fixtures of every test that runs the library: up in the case, down after it, and the
// process then holds what it held before. UtilInit works once in a process, so each case is
// a process of its own; CTest runs them that way.
#ifndef TESTS_SUPPORT_LIBRARY_TEST_H
#define TESTS_SUPPORT_LIBRARY_TEST_H

#include <gtest/gtest.h>

#include "tests/support/arrays.h"
#include "tests/support/boxes.h"
#include "tests/support/held.h"
#include "tests/support/rows.h"
#include "tests/support/temp_directory.h"
#include "vr/vr.h"

// Starts the library as a host does that uses files and locks.
inline bool StartHost(const char* iniPath, VrWord module = 0) {
    const UtilInitRecord record = {0, module, iniPath};
    return UtilInit(&record) == 1 && files_init() == 1 && LockInit() == 0;
}

// A line of a table's report, as whoever shows it gets it; "end" past the last one.
inline std::string ReportLine(int32_t table, VrWord first, VrWord line) {
    char buffer[kVrTblLineSize];
    return TblFunc(table)(1, first, 2, line, 3, VrWord(buffer)) == 1 ? buffer : "end";
}

// For cases that prepare something before they start the library.
struct HostTest : testing::Test {
    // What the surroundings set must not decide a case.
    HostTest() {
        for (const char* name : {"VRLTEMP", "VRLPATH", "VRLPRINTPATH", "VRLDATE", "VRLPORT",
                                 "VRLCACHESIZE", "VRPLATFORM_REGISTRY", "VRPLATFORM_WINDOWS_DIR"})
            unsetenv(name);
        boxes.Attach();
    }
    void Start(const char* iniPath = nullptr) {
        const UtilInitRecord record = {0, 0, iniPath};
        EXPECT_EQ(UtilInit(&record), 1);
        if (std::getenv("VRCHECK_LOG") == nullptr) blocks = ControlBlocksOut() + 16 * 2;
    }
    void TearDown() override {
        EXPECT_LE(ControlBlocksOut(), blocks);
        VrExit(0);
        EXPECT_EQ(HeldInTheEnd(held), held);
        EXPECT_EQ(CloseHandlesLeftOpen(), 0);
    }
    Held held = HeldNow();         // before the start; a case adds what the library keeps for good
    uint32_t blocks = UINT32_MAX;  // at the end: each of 16 pools may keep two free pages
    Boxes boxes;
};

// For cases that find it started.
struct LibraryTest : HostTest {
    LibraryTest() {
        Start();
    }
};

// For cases with files, in a folder of their own.
struct FilesTest : HostTest {
    void StartWithFiles(const std::string& settings = "") {
        WriteFile("test.ini", settings);
        EXPECT_TRUE(StartHost("test.ini"));
    }
    // The log's file and line buffer stay for the life of the process.
    void KeepLog() {
        ++held["descriptors"];
        ++held["platform blocks"];
    }
    TempDirectory directory;
};

#endif
