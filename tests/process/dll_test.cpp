// Libraries: where a name is found, and when a library comes and goes, as the one that is
// loaded notes it itself.

#include <string>

#include "platform/environment.h"
#include "tests/process/counted_library.h"
#include "tests/support/library_test.h"
#include "tests/support/rows.h"

namespace {

struct DllTest : FilesTest {
    DllTest() {
        SetEnvironmentVariableA("VRLPATH", Drive("PRODUCT").c_str());
        Start();
        SetErrorMode(5);
        PutHost("HOST/");
        DLLPutEnv("VR_TEST_NOTES", (directory.path + "/notes").c_str());
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
        char line[kVrTblLineSize];
        std::vector<std::string> lines;
        while (TblFunc(table)(0, firstSlot, 0, lines.size(), 0, VrWord(line)) != 0)
            lines.push_back(line);
        return lines;
    }

    static std::string Record(VrWord module, std::string name) {
        char handle[10];
        std::snprintf(handle, sizeof handle, "%08x ", module);
        name.resize(256, ' ');
        return handle + name;
    }
};

// NAME -> what is loaded -> the path that is recorded; * stands for the case's folder. The
// base path is BASE for names of a small first letter.
TEST_F(DllTest, NamesAreFoundInTheirOrderAndLoadedOnce) {
    const std::string deep = std::string(200, 'd') + "/" + std::string(200, 'd');
    for (const std::string path : {"HOST/ALPHA.so", "HOST/libbeta.SO", "HOST/gamma.dll",
                                   "HOST/gamma.so", "HOST/SUB/delta.so", "BASE/BIN/alpha.so",
                                   "BASE/BIN/epsilon.so", "PRODUCT/BIN/epsilon.so"})
        PutLibrary(path);
    PutLibrary("BASE/BIN/" + deep + "/zeta.so");
    WriteFile("HOST/epsilon.so", "no library");
    const std::string rooted = Drive("HOST\\SUB\\DELTA.DLL").substr(2);
    size_t records = 0;
    for (auto& [name, loaded, recorded] :
         Rows<3>("alpha -> HOST/ALPHA.so -> *HOST\\alpha"
                 " | BETA.DLL -> HOST/libbeta.SO -> *HOST\\BETA.DLL"
                 " | Gamma.Dll -> HOST/gamma.dll -> *HOST\\Gamma.Dll"
                 " | SUB\\delta -> SUB/delta.so -> *HOST\\SUB\\delta"
                 " | epsilon.dll -> BIN/epsilon.so -> *BASE\\BIN\\epsilon.dll"
                 " | EPSILON -> BIN/epsilon.so -> *PRODUCT\\BIN\\EPSILON"
                 " | counted_library.dll -> lib/counted_library.so -> counted_library.dll"
                 " | C:alpha | \\alpha | unknown |  | " +
                 Drive("HOST\\SUB\\delta") + " -> SUB/delta.so -> *HOST\\SUB\\delta | " + rooted +
                 " -> SUB/delta.so -> " + rooted + " | " + deep + "/zeta -> " + deep.substr(201) +
                 "/zeta.so -> *BASE\\BIN\\" + deep + "/zeta")) {
        SCOPED_TRACE(name);
        const bool hasBase = name[0] >= 'a';
        const VrWord module = DllLoad(name.c_str(), hasBase ? Drive("BASE").c_str() : nullptr);
        EXPECT_EQ(module != 0, !loaded.empty());
        EXPECT_EQ(SetErrorMode(5), 5u);
        if (loaded.empty()) continue;
        EXPECT_EQ(Notes(), "+8000 " + loaded + ";");
        EXPECT_EQ(DllLoad(name.c_str(), nullptr), module);
        EXPECT_EQ(SetErrorMode(5), 5u);
        if (recorded[0] == '*') recorded = Drive(recorded.substr(1));
        EXPECT_EQ(Report().at(++records), Record(module, recorded));
        DllUnload(name.c_str(), records % 2 != 0 ? module : 0);
        EXPECT_EQ(Notes(), "-5 " + loaded + ";");
    }
    EXPECT_EQ(Report().size(), 11u) << "the records stay";
}

TEST_F(DllTest, EachSpellingIsUnloadedByItselfOrAtTheEnd) {
    PutLibrary("HOST/alpha.so");
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
    VrExit(0);
    EXPECT_EQ(Notes(), "-5 HOST/alpha.so;") << "unloaded while the library still works";
}

}  // namespace
