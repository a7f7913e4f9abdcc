// A folder of a case's own, which is the current directory while the case runs.
#ifndef TESTS_SUPPORT_TEMP_DIRECTORY_H
#define TESTS_SUPPORT_TEMP_DIRECTORY_H

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

class TempDirectory {
public:
    TempDirectory() : before_(std::filesystem::current_path()) {
        std::string name = (std::filesystem::temp_directory_path() / "vrbase-XXXXXX").string();
        path_ = std::filesystem::canonical(mkdtemp(name.data()));
        std::filesystem::current_path(path_);
    }
    ~TempDirectory() {
        std::filesystem::current_path(before_);
        std::filesystem::remove_all(path_);
    }
    TempDirectory(const TempDirectory&) = delete;
    TempDirectory& operator=(const TempDirectory&) = delete;

    // The folder's name for the host, and as a drive path.
    std::string Path() const {
        return path_.string();
    }
    std::string DrivePath() const {
        std::string path = "C:" + path_.string();
        for (char& c : path)
            if (c == '/') c = '\\';
        return path;
    }

private:
    std::filesystem::path before_;
    std::filesystem::path path_;
};

inline void WriteFile(const std::string& name, const std::string& bytes) {
    std::ofstream(name, std::ios::binary) << bytes;
}

inline std::string ReadFile(const std::string& name) {
    std::ifstream in(name, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

#endif
