// Libraries: where a name is found, and when a library comes and goes, as the one that is
// loaded notes it itself.

#include "tests/process/counted_library.h"
#include "tests/support/library_test.h"

namespace {

struct DllTest : FilesTest {
    DllTest() {
        SetEnvironmentVariableA("VRLPATH", directory.Drive("PRODUCT").c_str());
        Start();
        SetErrorMode(5);
        PutHost("HOST/");
        DLLPutEnv("VR_TEST_NOTES", (directory.path + "/notes").c_str());
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
};

// NAME -> what is loaded. The base path is BASE for names of a small first letter.
TEST_F(DllTest, NamesAreFoundInTheirOrderAndLoadedOnce) {
    for (const std::string path : {"HOST/ALPHA.so", "HOST/libbeta.SO", "HOST/gamma.dll",
                                   "HOST/gamma.so", "HOST/SUB/delta.so", "BASE/BIN/alpha.so",
                                   "BASE/BIN/epsilon.so", "PRODUCT/BIN/epsilon.so"})
        PutLibrary(path);
    WriteFile("HOST/epsilon.so", "no library");
    for (const auto& [name, loaded] : Rows<2>(R"(
            alpha               -> HOST/ALPHA.so
            BETA.DLL            -> HOST/libbeta.SO
            C:alpha             ->
            \alpha              ->
            Gamma.Dll           -> HOST/gamma.dll
            SUB\delta           -> SUB/delta.so
            unknown             ->
                                ->
            epsilon.dll         -> BIN/epsilon.so
            EPSILON             -> BIN/epsilon.so
            counted_library.dll -> lib/counted_library.so
            )" + directory.Drive("HOST\\SUB\\delta") +
                                              " -> SUB/delta.so")) {
        const bool hasBase = name[0] >= 'a';
        const VrWord module =
            DllLoad(name.c_str(), hasBase ? directory.Drive("BASE").c_str() : nullptr);
        EXPECT_EQ(Notes(), loaded.empty() ? "" : "+8000 " + loaded + ";") << name;
        EXPECT_EQ(DllLoad(name.c_str(), nullptr), module);
        EXPECT_EQ(SetErrorMode(5), 5u);
        DllUnload(name.c_str(), module);
        EXPECT_EQ(Notes(), loaded.empty() ? "" : "-5 " + loaded + ";") << name;
    }
}

TEST_F(DllTest, EachSpellingIsUnloadedByItselfOrAtTheEnd) {
    const std::string name(240, 'n');
    PutLibrary("HOST/" + name + ".so");
    std::vector<std::string> report(12, "DLL slot not used");
    report.front() = "Handle    DLL File Name";
    report.back() = "end";
    const VrWord module = DllLoad(name.c_str(), nullptr);
    EXPECT_EQ(DllLoad((name + ".DLL").c_str(), nullptr), module);
    char handle[10];
    std::snprintf(handle, sizeof handle, "%08lx ", static_cast<unsigned long>(module));
    report[1] = report[2] = handle + directory.Drive("HOST\\" + name).substr(0, 256);
    int32_t table = 0;
    while (TblName(table) != std::string("DLL Table"))
        ++table;
    for (size_t i = 0; i < report.size(); ++i)
        EXPECT_EQ(ReportLine(table, 0, i), report[i]);
    DllUnload(name.c_str(), module + 1);
    DllUnload(name.c_str(), module);
    EXPECT_EQ(Notes(), "+8000 HOST/" + name + ".so;");
    VrExit(0);
    EXPECT_EQ(Notes(), "-5 HOST/" + name + ".so;") << "unloaded while the library still works";
}

}  // namespace
