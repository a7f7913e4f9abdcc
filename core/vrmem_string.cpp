// Counted strings are blocks of the allocator with a length word before the text. A long one has
// its own header in place of the large block's: its block is larger by the difference, and the
// header is then laid over the start.

#define VR_MODULE "vrmem"

#include <emmintrin.h>

#include <algorithm>
#include <bit>
#include <cstring>

#include "core/vrmem.h"
#include "core/vrmem_check.h"

unsigned char* NullVrStr = nullptr;
unsigned char* FalseVrStr = nullptr;
unsigned char* TrueVrStr = nullptr;

namespace {

constexpr uint32_t kShortestLongString = 129;
constexpr uint32_t kLongestFilled = 1 << 16;  // beyond this, fresh pages, which are zero
constexpr uint32_t kSpareByte = 1;            // at the end of every zeroed block
constexpr int32_t kStepBytes = 16;
constexpr int32_t kBlockBytes = 256;
constexpr uint32_t kLongHeaderExtra = sizeof(vr::LongHeader) - 4;  // beyond a large block's
constexpr uint32_t kLongOverhead = vr::kStringOverhead + kLongHeaderExtra;

using Allocator = void*(uint32_t size, const char* tag, int32_t line);

// A block that is too large for the pools, as from _alloc_memory, but with undefined content.
void* UnclearedBlock(uint32_t size, const char* tag, int32_t line) {
    if constexpr (vr::check::kOn) return _alloc_memory(size, tag, line);
    return _malloc_memory(size + kSpareByte, tag, line);
}

// The capacity is `spare` bytes more than the length.
template <Allocator allocate>
VrString NewLongString(uint32_t length, uint32_t spare, const char* tag, int32_t line) {
    const uint32_t capacity = vr::Saturated(uint64_t{length} + spare);
    const uint32_t size = vr::Saturated(uint64_t{capacity} + kLongOverhead);
    char* s = static_cast<char*>(allocate(size, tag, line)) + kLongHeaderExtra;
    vr::LongHeaderOf(s) = {
        .memo = {}, .capacity = capacity, .zero = {}, .classByte = vr::kLongStringClass};
    return reinterpret_cast<VrString>(s);
}

// Only a long string is given the spare bytes.
template <Allocator allocate = _alloc_memory>
VrString NewStringOf(uint32_t length, uint32_t spare, const char* tag, int32_t line) {
    if (length == 0) return vr::NullString();
    VrString s = length >= kShortestLongString
                     ? NewLongString<allocate>(length, spare, tag, line)
                     : static_cast<VrString>(allocate(length + vr::kStringOverhead, tag, line));
    s->length = static_cast<int32_t>(length);
    if constexpr (vr::check::kOn) vr::check::BecameString(s);
    return s;
}

// Clears what a text does not fill: its zero, the room to grow and the spare byte.
void ClearRest(VrString s) {
    uint8_t* end = VrStrText(s) + s->length;
    const auto room = static_cast<uint32_t>(vr::CapacityOf(s) - s->length);
    if (room == 0) {
        std::memset(end, 0, 1 + kSpareByte);
    } else {
        std::memset(end, 0, room + 1 + kSpareByte);
    }
}

// Where the texts first differ, or `length`. The C library compares fastest but does not say where
// the difference is, so it is used to skip blocks that are equal.
int32_t FirstDifference(const uint8_t* a, const uint8_t* b, int32_t length) {
    int32_t at = 0;
    while (length - at >= kBlockBytes && std::memcmp(a + at, b + at, kBlockBytes) == 0)
        at += kBlockBytes;
    for (; length - at >= kStepBytes; at += kStepBytes) {
        __m128i stepA;
        __m128i stepB;
        std::memcpy(&stepA, a + at, kStepBytes);
        std::memcpy(&stepB, b + at, kStepBytes);
        const auto same = static_cast<uint16_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(stepA, stepB)));
        if (same != UINT16_MAX) return at + std::countr_one(same);
    }
    while (at != length && a[at] == b[at])
        ++at;
    return at;
}

}  // namespace

VrString _alloc_string(uint32_t length, const char* tag, int32_t line) {
    return NewStringOf(length, length / 2, tag, line);
}

VrString _alloc_simple_string(uint32_t length, const char* tag, int32_t line) {
    return NewStringOf(length, 0, tag, line);
}

VrString vr::LargeStringOf(const uint8_t* text, size_t length, const char* tag, int32_t line) {
    const auto size = static_cast<uint32_t>(length);
    const bool isFilled = length <= kLongestFilled;
    VrString s = isFilled ? NewStringOf<UnclearedBlock>(size, size / 2, tag, line)
                          : _alloc_string(size, tag, line);
    std::memcpy(VrStrText(s), text, length);
    if (isFilled) ClearRest(s);
    return s;
}

VrString _NewString(VrString s, const char* tag, int32_t line) {
    if (s == nullptr || s->length <= 0) return vr::NullString();
    if (vr::IsSharedString(s)) return s;
    VrString copy = vr::StringOf(VrStrText(s), static_cast<size_t>(s->length), tag, line);
    if (vr::IsLong(s) && vr::IsLong(copy)) {
        vr::LongHeaderOf(copy).memo = vr::LongHeaderOf(s).memo;
    }
    return copy;
}

VrString _StrToVrStr(const char* text, const char* tag, int32_t line) {
    if (text == nullptr) return vr::NullString();
    return vr::StringOf(reinterpret_cast<const uint8_t*>(text), std::strlen(text), tag, line);
}

char* _dup_str(const char* text, const char* tag, int32_t line) {
    if (text == nullptr) return reinterpret_cast<char*>(vr::NullString());
    const size_t size = std::strlen(text) + 1;
    return static_cast<char*>(std::memcpy(_alloc_memory(size, tag, line), text, size));
}

int32_t CompareVrStrings(VrString a, VrString b) {
    if (a == nullptr || b == nullptr) return (a != nullptr) - (b != nullptr);
    const int32_t lengthA = a->length > 0 ? a->length : 0;
    const int32_t lengthB = b->length > 0 ? b->length : 0;
    if (lengthA == 0 || lengthB == 0) return (lengthA != 0) - (lengthB != 0);
    const int32_t common = std::min(lengthA, lengthB);
    const int32_t at = FirstDifference(VrStrText(a), VrStrText(b), common);
    return at == common ? lengthA - lengthB : VrStrText(a)[at] - VrStrText(b)[at];
}
