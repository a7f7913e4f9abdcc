// Arrays that grow by steps. The allocation may run callbacks, which may grow the array too.
#ifndef CORE_ARRAY_H
#define CORE_ARRAY_H

#include <algorithm>
#include <cstdint>
#include <utility>

#include "core/Width.h"
#include "vr/memory.h"

namespace vr {

// A block of `count` zeroed records, taken for the module `tag`. The allocator refuses a size that
// no block can have.
template <typename T>
[[nodiscard]] T* NewArray(int32_t count, const char* tag, int32_t line) {
    // NOLINTNEXTLINE(bugprone-sizeof-expression): T may well be a pointer
    const uint64_t size = static_cast<uint64_t>(count) * sizeof(T);
    return static_cast<T*>(_alloc_memory(Saturated(size), tag, line));
}

// Replaces the array by the larger one, unless a callback of its allocation has already replaced it
// by one as large. The one that is not needed is given back.
template <typename T>
void ReplaceByLarger(T*& array, int32_t& capacity, T* larger, int32_t largerCapacity,
                     const char* tag, int32_t line) {
    if (capacity < largerCapacity) {
        std::copy_n(array, capacity, larger);
        std::swap(array, larger);
        capacity = largerCapacity;
    }
    _free_mem(&larger, tag, line);
}

// Makes room for at least `step` more records, which are zero. No callback may move the two
// variables.
template <typename T>
void GrowArray(T*& array, int32_t& capacity, int32_t step, const char* tag, int32_t line) {
    const int32_t largerCapacity = capacity + step;
    T* larger = NewArray<T>(largerCapacity, tag, line);
    ReplaceByLarger(array, capacity, larger, largerCapacity, tag, line);
}

}  // namespace vr

#endif
