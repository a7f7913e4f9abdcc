// The allocators that are set side by side. mimalloc is loaded by hand: linked, it would serve
// every malloc of the process, the library's and glibc's own included.
#ifndef BENCH_ALLOCATORS_H
#define BENCH_ALLOCATORS_H

#include <dlfcn.h>
#include <mimalloc.h>

#include <cstdlib>

#include "vr/memory.h"

namespace bench {

template <typename Function>
Function* MimallocFunction(const char* name) {
    static void* library = dlopen(VR_MIMALLOC, RTLD_NOW | RTLD_LOCAL);
    void* function = library != nullptr ? dlsym(library, name) : nullptr;
    if (function == nullptr) std::abort();
    return reinterpret_cast<Function*>(function);
}

struct Vrbase {
    static void* Take(uint32_t size) {
        return alloc_memory(size);
    }
    static void Give(void* block) {
        free_mem(&block);
    }
};

struct Glibc {
    static void* Take(uint32_t size) {
        return std::calloc(1, size);
    }
    static void Give(void* block) {
        std::free(block);
    }
};

struct Mimalloc {
    static void* Take(uint32_t size) {
        return zalloc(size);
    }
    static void Give(void* block) {
        free(block);
    }
    static inline auto* const zalloc = MimallocFunction<decltype(mi_zalloc)>("mi_zalloc");
    static inline auto* const free = MimallocFunction<decltype(mi_free)>("mi_free");
};

}  // namespace bench

#endif
