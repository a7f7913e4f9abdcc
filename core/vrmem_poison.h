// Marks the bytes of the pools that nobody may touch, for the address sanitizer. It knows only
// granules of 8 bytes, each closed from some byte on, so in such builds there is space between
// slots. In all other builds this is compiled away.
#ifndef CORE_VRMEM_POISON_H
#define CORE_VRMEM_POISON_H

#include <cstddef>
#include <cstdint>

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define VR_POISONS
#endif
#endif
#ifdef __SANITIZE_ADDRESS__
#define VR_POISONS
#endif

#ifdef VR_POISONS
#include <sanitizer/asan_interface.h>
#endif

namespace vr::poison {

#ifdef VR_POISONS
constexpr int32_t kGranule = 8;
constexpr int32_t kFiller = 4;  // before a slot's header, in its granule

// Of a payload, with a whole granule after it.
constexpr int32_t ClosedSize(int32_t payloadSize) {
    return (payloadSize + kGranule - 1) / kGranule * kGranule + kGranule;
}

inline void Close(const void* bytes, int32_t size) {
    __asan_poison_memory_region(bytes, static_cast<size_t>(size));
}

inline void Open(const void* bytes, int32_t size) {
    __asan_unpoison_memory_region(bytes, static_cast<size_t>(size));
}

// Ends the process if the byte is closed.
inline void Touch(const void* byte) {
    (void)*static_cast<const volatile char*>(byte);
}
#else
constexpr int32_t kFiller = 0;

constexpr int32_t ClosedSize(int32_t payloadSize) {
    return payloadSize;
}

inline void Close(const void*, int32_t) {}
inline void Open(const void*, int32_t) {}
inline void Touch(const void*) {}
#endif

}  // namespace vr::poison

#endif
