// A process is a folder of /proc that bears its number, and its program is what the
// link `exe` in there names.

#include "linux/proc.h"

#include <dirent.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <fstream>

#include "linux/paths.h"

namespace {

constexpr char kDeleted[] = " (deleted)";

}  // namespace

std::vector<uint32_t> ProcessNumbers() {
    std::vector<uint32_t> numbers;
    DIR* folder = opendir("/proc");
    if (folder == nullptr) return numbers;
    while (const dirent* entry = readdir(folder)) {
        const unsigned long number = std::strtoul(entry->d_name, nullptr, 10);
        if (number != 0) numbers.push_back(static_cast<uint32_t>(number));
    }
    closedir(folder);
    std::ranges::sort(numbers);
    return numbers;
}

// The state stands behind the name, which may hold anything.
bool IsZombie(const std::string& folder) {
    std::ifstream file(folder + "/stat");
    std::string text;
    std::getline(file, text, '\0');
    const size_t behindName = text.rfind(')');
    return behindName != std::string::npos && text.compare(behindName, 3, ") Z") == 0;
}

bool ProgramPath(uint32_t processNumber, std::string& path) {
    char hostPath[PATH_MAX];
    char drivePath[PATH_MAX];
    const std::string link = "/proc/" + std::to_string(processNumber) + "/exe";
    const ssize_t length = readlink(link.c_str(), hostPath, sizeof hostPath - 1);
    if (length <= 0) return false;
    std::string program(hostPath, static_cast<size_t>(length));
    if (program.ends_with(kDeleted)) program.resize(program.size() - sizeof kDeleted + 1);
    if (!DrivePath(program.c_str(), drivePath, sizeof drivePath)) return false;
    path = drivePath;
    return true;
}
