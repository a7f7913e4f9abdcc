// Copies of the counted library, each another one to the system.
#ifndef TESTS_PROCESS_COUNTED_LIBRARY_H
#define TESTS_PROCESS_COUNTED_LIBRARY_H

#include <filesystem>
#include <string>

#include "platform/process.h"
#include "vr/vr.h"

inline void PutLibrary(const std::filesystem::path& path) {
    std::filesystem::create_directories(path.parent_path());
    std::filesystem::copy_file(VR_COUNTED_LIBRARY_PATH, path,
                               std::filesystem::copy_options::skip_existing);
}

// Makes one the host's module.
inline void PutHost(const std::string& folder) {
    PutLibrary(folder + "host.so");
    SetHInstance(reinterpret_cast<VrWord>(LoadLibraryA((folder + "host.so").c_str())));
}

#endif
