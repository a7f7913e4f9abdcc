// Copies of the counted library, each another one to the system.
#ifndef TESTS_PROCESS_COUNTED_LIBRARY_H
#define TESTS_PROCESS_COUNTED_LIBRARY_H

#include "vr/vr.h"

#include "tests/support/base.h"

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

// What a thread ends with, 59 if it comes back from the body.
inline int32_t CodeOfThread(std::function<void()> body) {
    pthread_t thread = {};
    void* code = nullptr;
    const auto run = [](void* given) {
        (*static_cast<std::function<void()>*>(given))();
        return reinterpret_cast<void*>(59);
    };
    pthread_create(&thread, nullptr, run, &body);
    pthread_join(thread, &code);
    return int32_t(VrWord(code));
}

#endif
