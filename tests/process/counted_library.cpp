// A library for the tests to load. It notes its loads (+) and unloads (-), with the error
// mode of the moment and its own path, in the file that VR_TEST_NOTES names.

#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>

#include "platform/modules.h"

namespace {

void Note(char sign) {
    const char* name = std::getenv("VR_TEST_NOTES");
    std::FILE* notes = name == nullptr ? nullptr : std::fopen(name, "a");
    if (notes == nullptr) return;
    Dl_info self = {};
    dladdr(reinterpret_cast<void*>(Note), &self);
    const uint32_t mode = SetErrorMode(0);
    SetErrorMode(mode);
    std::fprintf(notes, "%c%x %s\n", sign, mode, self.dli_fname);
    std::fclose(notes);
}

__attribute__((constructor)) void Load() {
    Note('+');
}

__attribute__((destructor)) void Unload() {
    Note('-');
}

}  // namespace
