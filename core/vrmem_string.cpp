// Counted strings are blocks of the allocator with a length word in front of the
// text. A long one has its own header in place of the large block's: the block is
// asked for with that much more room, and the header is then laid over its start.

#define VR_MODULE "vrmem"

#include <algorithm>
#include <cstring>

#include "core/vrmem.h"
#include "core/vrmem_check.h"

unsigned char* NullVrStr = nullptr;
unsigned char* FalseVrStr = nullptr;
unsigned char* TrueVrStr = nullptr;

namespace {

constexpr uint32_t kShortestLongString = 129;
constexpr uint32_t kLongHeaderExtra = sizeof(vr::LongHeader) - 4;  // beyond a large block's
constexpr uint32_t kLongOverhead = vr::kStringOverhead + kLongHeaderExtra;

// `spare` text bytes more than it is long.
VrString NewLongString(uint32_t length, uint32_t spare, const char* tag, int32_t line) {
    const uint32_t capacity = vr::Saturated(uint64_t{length} + spare);
    const uint32_t size = vr::Saturated(uint64_t{capacity} + kLongOverhead);
    char* s = static_cast<char*>(_alloc_memory(size, tag, line)) + kLongHeaderExtra;
    vr::LongHeaderOf(s) = {{}, capacity, {}, vr::kLongStringClass};
    return reinterpret_cast<VrString>(s);
}

// Only a long string is given the spare bytes.
VrString NewStringOf(uint32_t length, uint32_t spare, const char* tag, int32_t line) {
    if (length == 0) return vr::NullString();
    VrString s =
        length >= kShortestLongString
            ? NewLongString(length, spare, tag, line)
            : static_cast<VrString>(_alloc_memory(length + vr::kStringOverhead, tag, line));
    s->length = static_cast<int32_t>(length);
    if constexpr (vr::check::kOn) vr::check::BecameString(s);
    return s;
}

}  // namespace

VrString _alloc_string(uint32_t length, const char* tag, int32_t line) {
    return NewStringOf(length, length / 2, tag, line);
}

VrString _alloc_simple_string(uint32_t length, const char* tag, int32_t line) {
    return NewStringOf(length, 0, tag, line);
}

VrString _NewString(VrString s, const char* tag, int32_t line) {
    if (s == nullptr || s->length <= 0) return vr::NullString();
    if (vr::IsSharedString(s)) return s;
    const auto length = static_cast<uint32_t>(s->length);
    VrString copy = _alloc_string(length, tag, line);
    if (vr::IsLong(s) && vr::IsLong(copy)) {
        vr::LongHeaderOf(copy).memo = vr::LongHeaderOf(s).memo;
    }
    std::memcpy(VrStrText(copy), VrStrText(s), length);
    return copy;
}

VrString _StrToVrStr(const char* text, const char* tag, int32_t line) {
    if (text == nullptr) return vr::NullString();
    const size_t length = std::strlen(text);
    VrString s = _alloc_string(length, tag, line);
    std::memcpy(VrStrText(s), text, length);
    return s;
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
    const unsigned char* textA = VrStrText(a);
    const unsigned char* textB = VrStrText(b);
    const unsigned char* end = textA + std::min(lengthA, lengthB);
    const auto [atA, atB] = std::mismatch(textA, end, textB);
    return atA == end ? lengthA - lengthB : *atA - *atB;
}
