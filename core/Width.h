// What depends on the width of an address and of a number. There is one width, 32 bits
// (vr/abi.h). Where the code relies on it, it does so through a name of this header, or with a
// static_assert beside a record whose layout holds addresses.
#ifndef CORE_WIDTH_H
#define CORE_WIDTH_H

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <utility>

namespace vr {

// The number, or the nearest one that the type has. A size beyond 32 bits becomes the largest
// one, which the allocator refuses; otherwise it would wrap around to a small block.
template <typename To = uint32_t, typename From>
constexpr To Saturated(From number) {
    using Limits = std::numeric_limits<To>;
    if (std::cmp_greater(number, Limits::max())) return Limits::max();
    if (std::cmp_less(number, Limits::min())) return Limits::min();
    return static_cast<To>(number);
}

// The number that the text begins with, after blanks; 0 when there is none.
inline int32_t NumberAt(const char* text) {
    return Saturated<int32_t>(std::strtol(text, nullptr, 10));
}

// The address that is stored in those bytes, which may lie anywhere.
template <typename T>
T* AddressAt(const void* bytes) {
    T* address = nullptr;
    std::memcpy(&address, bytes, sizeof address);
    return address;
}

}  // namespace vr

#endif
