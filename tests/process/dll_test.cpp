// Libraries: where a name is found, and when a library comes and goes, as the one that is
// loaded notes it itself.

#include <algorithm>
#include <string>

#include "platform/environment.h"
#include "platform/process.h"
#include "tests/support/library_test.h"

namespace {

struct DllTest : FilesTest {
    DllTest() {
        SetEnvironmentVariableA("VRLPATH", Drive("PRODUCT").c_str());
        Start();
        SetErrorMode(5);
        Put("HOST/host.so");
        SetHInstance(reinterpret_cast<VrWord>(LoadLibraryA("HOST\\host.so")));
        DLLPutEnv("VR_TEST_NOTES", (directory.path + "/notes").c_str());
    }

    // A copy of the library, which is another one to the system.
    static void Put(const std::filesystem::path& path) {
        std::filesystem::create_directories(path.parent_path());
        std::filesystem::copy_file(VR_COUNTED_LIBRARY_PATH, path);
    }

    std::string Drive(const std::string& path) const {
        return directory.drivePath + "\\" + path;
    }

    // What was loaded (+) and unloaded (-) since the last call: "SIGN MODE FOLDER/FILE;".
    static std::string Notes() {
        std::ifstream in("notes");
        std::string notes;
        for (std::string mode, path; in >> mode >> path;) {
            const auto folder = std::filesystem::path(path).parent_path();
            notes += mode + " " + path.substr(folder.parent_path().string().size() + 1) + ";";
        }
        std::filesystem::remove("notes");
        return notes;
    }

    // The whole report, a line each.
    static std::vector<std::string> Report(VrWord firstSlot = 0) {
        int32_t table = 0;
        while (TblName(table) == nullptr || TblName(table) != std::string("DLL Table"))
            ++table;
        std::vector<std::string> lines;
        for (;;) {
            char line[kVrTblLineSize] = "untouched";
            if (TblFunc(table)(0, firstSlot, 0, lines.size(), 0, reinterpret_cast<VrWord>(line)) ==
                0) {
                EXPECT_STREQ(line, "untouched");
                return lines;
            }
            lines.push_back(line);
        }
    }

    static std::string Record(VrWord module, std::string name) {
        char handle[9];
        std::snprintf(handle, sizeof handle, "%08x", module);
        name.resize(256, ' ');
        return std::string(handle) + " " + name;
    }
};

TEST_F(DllTest, NamesAreFoundInTheirOrderAndLoadedOnce) {
    const std::string deep = "BASE/" + std::string(200, 'd') + "/" + std::string(200, 'd');
    for (const std::string path : {"HOST/ALPHA.so", "HOST/libbeta.SO", "HOST/gamma.dll",
                                   "HOST/gamma.so", "HOST/SUB/delta.so", "BASE/BIN/alpha.so",
                                   "BASE/BIN/epsilon.so", "PRODUCT/BIN/epsilon.so"}) {
        Put(path);
    }
    Put(deep + "/BIN/zeta.so");
    WriteFile("HOST/epsilon.so", "no library");
    const std::string base = Drive("BASE");
    const std::string deepBase = Drive(deep);
    const std::string rooted = Drive("HOST\\SUB\\DELTA.DLL").substr(2);
    const struct {
        std::string name;
        const char* base;
        std::string loaded;  // none when empty
        std::string recorded;
    } cases[] = {
        {"alpha", base.c_str(), "HOST/ALPHA.so", Drive("HOST\\alpha")},
        {"beta.dll", nullptr, "HOST/libbeta.SO", Drive("HOST\\beta.dll")},
        {"GAMMA.DLL", nullptr, "HOST/gamma.dll", Drive("HOST\\GAMMA.DLL")},
        {"SUB\\delta", nullptr, "SUB/delta.so", Drive("HOST\\SUB\\delta")},
        {"epsilon.dll", base.c_str(), "BIN/epsilon.so", base + "\\BIN\\epsilon.dll"},
        {"EPSILON", nullptr, "BIN/epsilon.so", Drive("PRODUCT\\BIN\\EPSILON")},
        {"zeta", deepBase.c_str(), "BIN/zeta.so", deepBase + "\\BIN\\zeta"},
        {"counted_library.dll", base.c_str(), "lib/counted_library.so", "counted_library.dll"},
        {Drive("HOST\\SUB\\delta"), base.c_str(), "SUB/delta.so", Drive("HOST\\SUB\\delta")},
        {rooted, nullptr, "SUB/delta.so", rooted},
        {"C:alpha", base.c_str(), "", ""},
        {"\\alpha", base.c_str(), "", ""},
        {"unknown", base.c_str(), "", ""},
        {"", base.c_str(), "", ""},
    };
    size_t records = 0;
    for (const auto& row : cases) {
        SCOPED_TRACE(row.name);
        const VrWord module = DllLoad(row.name.c_str(), row.base);
        EXPECT_EQ(module != 0, !row.loaded.empty());
        EXPECT_EQ(SetErrorMode(5), 5u);
        if (row.loaded.empty()) continue;
        EXPECT_EQ(Notes(), "+8000 " + row.loaded + ";");
        EXPECT_EQ(DllLoad(row.name.c_str(), nullptr), module);
        EXPECT_EQ(SetErrorMode(5), 5u);
        const auto report = Report();
        EXPECT_EQ(report.at(++records), Record(module, row.recorded));
        DllUnload(row.name.c_str(), records % 2 != 0 ? module : 0);
        EXPECT_EQ(Notes(), "-5 " + row.loaded + ";");
    }
    EXPECT_EQ(Notes(), "");
    EXPECT_EQ(Report().size(), 11u) << "the records stay";
}

TEST_F(DllTest, EachSpellingIsUnloadedByItself) {
    Put("HOST/alpha.so");
    std::vector<std::string> report(11, "DLL slot not used");
    report[0] = "Handle    DLL File Name";
    EXPECT_EQ(Report(), report);
    const VrWord module = DllLoad("alpha", nullptr);
    EXPECT_EQ(DllLoad("ALPHA.DLL", nullptr), module);
    DllUnload("alpha", module + 1);
    DllUnload("Alpha", 0);
    EXPECT_EQ(DllLoad("alpha", nullptr), module);
    DllUnload("alpha", module);
    DllUnload("alpha", module);
    EXPECT_EQ(Notes(), "+8000 HOST/alpha.so;");
    EXPECT_EQ(DllLoad("alpha", nullptr), module);
    report[1] = report[3] = Record(module, Drive("HOST\\alpha"));
    report[2] = Record(module, Drive("HOST\\ALPHA.DLL"));
    EXPECT_EQ(Report(), report);
    report.erase(report.begin() + 1, report.begin() + 3);
    EXPECT_EQ(Report(2), report);
    DllUnload("alpha", 0);
    EXPECT_EQ(Notes(), "");
    DllUnload("ALPHA.DLL", 0);
    EXPECT_EQ(Notes(), "-5 HOST/alpha.so;");
}

TEST_F(DllTest, WhatIsLeftIsUnloadedWhileTheLibraryStillWorks) {
    for (const char* name : {"alpha", "beta", "gamma"}) {
        Put(std::string("HOST/") + name + ".so");
        EXPECT_NE(DllLoad(name, nullptr), 0u);
    }
    DllUnload("beta", 0);
    Notes();
    VrExit(0);
    const std::string notes = Notes();
    EXPECT_TRUE(notes == "-5 HOST/alpha.so;-5 HOST/gamma.so;" ||
                notes == "-5 HOST/gamma.so;-5 HOST/alpha.so;")
        << notes;
}

}  // namespace
