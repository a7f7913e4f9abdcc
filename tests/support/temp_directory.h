// A folder of a case's own, which is the current directory while the case runs.

#include "tests/support/base.h"
#ifndef TESTS_SUPPORT_TEMP_DIRECTORY_H
#define TESTS_SUPPORT_TEMP_DIRECTORY_H

struct TempDirectory {
    TempDirectory() {
        std::string name = std::filesystem::temp_directory_path() / "vrbase-XXXXXX";
        path = std::filesystem::canonical(mkdtemp(name.data()));
        std::filesystem::current_path(path);
        drivePath = "C:" + path;
        std::ranges::replace(drivePath, '/', '\\');
    }
    ~TempDirectory() {
        std::filesystem::remove_all(path);
    }
    TempDirectory(const TempDirectory&) = delete;
    std::string Drive(const std::string& name) const {
        return drivePath + "\\" + name;
    }

    std::string path;  // for the host
    std::string drivePath;
};

inline void WriteFile(const std::string& name, const std::string& bytes) {
    std::ofstream(name, std::ios::binary) << bytes;
}

inline std::string ReadFile(const std::string& name) {
    std::ifstream in(name, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

#endif
