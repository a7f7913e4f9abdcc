// The guards around the bytes that a caller may use, in the checking library. They need no
// alignment.
#ifndef CORE_VRMEM_CHECK_GUARD_H
#define CORE_VRMEM_CHECK_GUARD_H

#include <cstdint>
#include <cstring>

namespace vr::check {

constexpr uint64_t kGuardHalf = 0xFBFBFBFBFBFBFBFB;
constexpr uint32_t kGuardSize = 2 * sizeof kGuardHalf;

inline void PutGuard(char* bytes) {
    std::memcpy(bytes, &kGuardHalf, sizeof kGuardHalf);
    std::memcpy(bytes + sizeof kGuardHalf, &kGuardHalf, sizeof kGuardHalf);
}

inline bool IsGuard(const char* bytes) {
    uint64_t halves[2];
    std::memcpy(halves, bytes, sizeof halves);
    return halves[0] == kGuardHalf && halves[1] == kGuardHalf;
}

}  // namespace vr::check

#endif
