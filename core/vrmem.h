// What the rest of the library knows of the allocator and of the strings beyond the exported
// interface: a block's class byte, and the long string's header.
#ifndef CORE_VRMEM_H
#define CORE_VRMEM_H

#include <cstdint>

#include "core/Copy.h"
#include "core/Width.h"
#include "vr/frame.h"
#include "vr/memory.h"
#include "vr/string.h"

namespace vr {

// The byte before every payload says what kind of block it is: a pool slot, a string with the long
// header (any of the low four bits set), or a large block.
constexpr uint8_t kPoolSlotClass = 0xF0;
constexpr uint8_t kLongStringClass = 0x0F;
constexpr uint8_t kLongStringBits = 0x0F;

inline uint8_t ClassByte(const void* payload) {
    return static_cast<const uint8_t*>(payload)[-1];
}

inline bool IsLong(const void* payload) {
    return (ClassByte(payload) & kLongStringBits) != 0;
}

// The attribute that was found last in a long string, and its cursor. An attribute below 1 means
// that there is no memo.
struct Memo {
    int32_t attribute;
    int32_t cursor;
};

constexpr uint32_t kLargestPooledSize = 62;
constexpr uint32_t kStringOverhead = 5;  // length word and zero of a string

// Stands before a long string's length word, in place of a large block's one word.
struct LongHeader {
    Memo memo;
    uint32_t capacity;  // in text bytes
    uint8_t zero[3];
    uint8_t classByte;
};
static_assert(sizeof(LongHeader) == 16);
static_assert(offsetof(LongHeader, capacity) == 8);

inline LongHeader& LongHeaderOf(void* payload) {
    return static_cast<LongHeader*>(payload)[-1];
}

inline VrString NullString() {
    return VR_SHARED_STRING(NullVrStr);
}

// A null string counts as empty.
inline VrString OrNullString(VrString s) {
    return s == nullptr ? NullString() : s;
}

// The text as C text, which ends for its reader at the first zero byte.
inline char* CharsOf(VrString s) {
    return reinterpret_cast<char*>(VrStrText(s));
}

// Decided by address, since the header of a shared string is that of a large block.
inline bool IsSharedString(const void* payload) {
    return payload == VR_SHARED_STRING(NullVrStr) || payload == VR_SHARED_STRING(FalseVrStr) ||
           payload == VR_SHARED_STRING(TrueVrStr);
}

// How many text bytes the string can hold without moving.
inline int32_t CapacityOf(VrString s) {
    return IsLong(s) ? static_cast<int32_t>(LongHeaderOf(s).capacity) : s->length;
}

// The start routine, and whether it has run.
void StartMemory(const UtilInitRecord& record);
[[nodiscard]] bool MemoryIsUp();

// A new string of the bytes at `text`, as from alloc_string. A slot of a pool is cleared in a few
// stores; a larger block is cleared only where the text does not fill it.
[[gnu::noinline]] VrString LargeStringOf(const uint8_t* text, size_t length, const char* tag,
                                         int32_t line);

inline VrString StringOf(const uint8_t* text, size_t length, const char* tag, int32_t line) {
    if (length + kStringOverhead > kLargestPooledSize) {
        return LargeStringOf(text, length, tag, line);
    }
    VrString s = _alloc_string(static_cast<uint32_t>(length), tag, line);
    CopyBytes(VrStrText(s), text, length);
    return s;
}

// The pools (vrmem_pool.cpp). TakeSlot returns null when the pool for that size could not be made
// at the start.
void StartPools();
void FreePools();
[[nodiscard]] void* TakeSlot(uint32_t size);
void GiveSlotBack(void* payload);
uint32_t SlotSize(void* payload);

// Runs the callbacks of a kind, except those that are running already.
void RaiseCallbacks(int32_t kind);

// The reserves (vrmem_recovery.cpp).
void StartReserves();
void FreeReserves();

// The fixed store (vrmem_fixed.cpp).
void StartFixedStore();
void FreeFixedStore();

}  // namespace vr

#endif
