// What looks at the disk by name: opening, listing, naming and seeking files, and settings. A
// folder has as many files as the size says.

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <map>
#include <memory>

#include "bench/support.h"
#include "platform/files.h"
#include "vr/environ.h"
#include "vr/files.h"
#include "vr/settings.h"

namespace {

using bench::Case;
using bench::ItemsOfSize;
using bench::Use;

const std::vector<int64_t> kSizes = {10, 1000, 10000};

struct Folder : bench::TemporaryFolder {
    explicit Folder(size_t files = 1, const char* firstName = "RECORD") {
        Write(firstName, "text");
        for (size_t i = 1; i < files; ++i)
            Write("file" + std::to_string(i), "text");
    }
    void Write(const std::string& name, const std::string& text) const {
        std::ofstream(path + '/' + name) << text;
    }
    std::string Drive(std::string_view name) const {
        std::string drive = "C:" + path + "\\";
        std::ranges::replace(drive, '/', '\\');
        return drive.append(name);
    }
};

// The record of a folder, open. It goes with its case.
struct OurFile {
    OurFile(std::shared_ptr<Folder> in, int32_t mode) : folder(std::move(in)) {
        OsOpen(folder->Drive("RECORD").c_str(), kOpenReadWrite | mode, 0, &handle);
    }
    OurFile(const OurFile&) = delete;
    ~OurFile() {
        OsClose(handle);
    }
    std::shared_ptr<Folder> folder;
    int32_t handle = -1;
};

struct BareFile {
    explicit BareFile(const std::string& path) : handle(open(path.c_str(), O_RDONLY | O_CLOEXEC)) {}
    BareFile(const BareFile&) = delete;
    ~BareFile() {
        close(handle);
    }
    int handle;
};

void OpenAndClose(const std::string& path) {
    int32_t handle = -1;
    if (OsOpen(path.c_str(), kOpenReadOnly | kOpenBinary, 0, &handle) == 0) OsClose(handle);
}

void OpenAndCloseBare(const std::string& path) {
    const BareFile file(path);
}

// The current directory, and as many drives from D on all at that place, for one case.
struct Drives {
    Drives(const Folder& folder, size_t count) : last(static_cast<char>('C' + count)) {
        for (char drive = 'D'; drive <= last; ++drive)
            DLLPutEnv((kVariable + drive).c_str(), folder.path.c_str());
        ChDir(folder.Drive("").c_str());
    }
    Drives(const Drives&) = delete;
    ~Drives() {
        ChDir("C:\\");
        for (char drive = 'D'; drive <= last; ++drive)
            DLLPutEnv((kVariable + drive).c_str(), nullptr);
    }
    const std::string kVariable = "VRPLATFORM_DRIVE_";
    char last;
};

void AddOpening() {
    for (const auto& [what, onDisk, name] : {std::tuple("exact", "RECORD", "RECORD"),
                                             {"other-case", "Record", "RECORD"},
                                             {"absent", "RECORD", "NOTHING"}}) {
        Case(std::string("open/") + what + "/vrbase", kSizes, [onDisk, name](size_t size) {
            const auto folder = std::make_shared<Folder>(size, onDisk);
            return [folder, path = folder->Drive(name)] { OpenAndClose(path); };
        });
        Case(std::string("open/") + what + "/bare", kSizes, [onDisk, name](size_t size) {
            const auto folder = std::make_shared<Folder>(size, onDisk);
            return [folder, path = folder->path + '/' + name] { OpenAndCloseBare(path); };
        });
    }
    for (const bool isFull : {true, false}) {
        Case(isFull ? "open/full-by-drives/vrbase" : "open/relative-by-drives/vrbase", {0, 12},
             [isFull](size_t size) {
                 const auto folder = std::make_shared<Folder>();
                 const auto drives = std::make_shared<Drives>(*folder, size);
                 return [folder, drives, path = isFull ? folder->Drive("RECORD") : "RECORD"] {
                     OpenAndClose(path);
                 };
             });
    }
}

void AddListing() {
    Case(
        "folder/list/vrbase", kSizes,
        [](size_t size) {
            const auto folder = std::make_shared<Folder>(size);
            return [folder, path = folder->Drive("")] {
                DirSearch* search = nullptr;
                const char* name = DirFirst(path.c_str(), &search);
                while (name != nullptr)
                    name = DirNext(search);
                DirClose(&search);
            };
        },
        ItemsOfSize);
    Case(
        "folder/list/readdir", kSizes,
        [](size_t size) {
            return [folder = std::make_shared<Folder>(size)] {
                DIR* directory = opendir(folder->path.c_str());
                while (readdir(directory) != nullptr) {
                }
                closedir(directory);
            };
        },
        ItemsOfSize);
}

// The names that a long name is mapped to, in lower case, for which a folder has to be searched.
void WriteMappedNames(const Folder& folder, size_t count) {
    std::string stem = "customer";
    for (size_t number = 0, digits = 0; count != 0; ++number, --count) {
        if (number == size_t{1} << 4 * digits) {
            stem.pop_back();
            ++digits;
            number = digits == 1 ? 1 : 0;
        }
        char name[16];
        std::snprintf(name, sizeof name, "%s%zx", stem.c_str(), number);
        folder.Write(name, "");
    }
}

void AddNamesAndPositions() {
    Case("folder/map-name/vrbase", {10, 100, 2000}, [](size_t size) {
        const auto folder = std::make_shared<Folder>();
        WriteMappedNames(*folder, size);
        const auto here = std::make_shared<Drives>(*folder, 0);
        return [folder, here, name = vr::String("customer orders")] {
            Use(OsFileName(name.get(), nullptr));
        };
    });
    Case("file/seek/vrbase", {1}, [](size_t) {
        return [file = OurFile(std::make_shared<Folder>(), kOpenBinary)] {
            benchmark::DoNotOptimize(OsLseek(file.handle, 2, kSeekStart));
        };
    });
    Case("file/seek/bare", {1}, [](size_t) {
        const auto folder = std::make_shared<Folder>();
        return [folder, file = BareFile(folder->path + "/RECORD")] {
            benchmark::DoNotOptimize(lseek(file.handle, 2, SEEK_SET));
        };
    });
    Case(
        "file/long-line/vrbase", {1 << 16, 1 << 20, 16 << 20},
        [](size_t size) {
            return [file = OurFile(std::make_shared<Folder>(), kOpenText),
                    line = std::string(size, 'x')] {
                OsLseek(file.handle, 0, kSeekStart);
                OsWrite(file.handle, line.data(), static_cast<uint32_t>(line.size()));
            };
        },
        ItemsOfSize);
}

// An export of as many lines. What was written lately is read at each request, so it waits.
const std::string& ExportOf(size_t lines) {
    static std::map<size_t, std::string> paths;
    static const Folder folder;
    std::string& path = paths[lines];
    if (!path.empty()) return path;
    const char* product = EnvironProduct();
    std::string text = "REGEDIT4\n[HKEY_LOCAL_MACHINE\\Software\\Veldane\\";
    text.append(product == nullptr ? "" : product).append("\\Section]\n");
    for (size_t i = 0; i < lines; ++i)
        text += "\"Key" + std::to_string(i) + "\"=\"value\"\n";
    folder.Write(std::to_string(lines), text);
    sleep(3);
    return path = folder.Drive(std::to_string(lines));
}

void AddSettings() {
    Case("setting/registry/vrbase", {0, 10, 1000}, [](size_t size) {
        if (size == 0) {
            unsetenv("VRPLATFORM_REGISTRY");
        } else {
            setenv("VRPLATFORM_REGISTRY", ExportOf(size).c_str(), 1);
        }
        return [key = "Key" + std::to_string(size / 2)] {
            Use(IniGetString("Section", key.c_str(), "none"));
        };
    });
}

[[maybe_unused]] const bool added =
    (AddOpening(), AddListing(), AddNamesAndPositions(), AddSettings(), true);

}  // namespace
