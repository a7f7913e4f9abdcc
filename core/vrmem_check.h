// The checking library's side of the allocator: what the other modules call when the library is
// built with VR_CHECK. In the exact library `kOn` is false, and every call is compiled away.
#ifndef CORE_VRMEM_CHECK_H
#define CORE_VRMEM_CHECK_H

#include <cstdint>

#include "core/vrmem.h"

namespace vr::check {

#ifdef VR_CHECK
constexpr bool kOn = true;
#else
constexpr bool kOn = false;
#endif

// The source position that a call passes. Line 0 means a function without a position.
struct Place {
    const char* module;
    int32_t line;
};

struct Wanted {
    uint32_t size;
    uint8_t classByte;
    bool zeroed;  // and followed by a zero byte
};

void* NewBlock(const Wanted& wanted, const Place& now);

// The block at its new size, always at another address. A long string keeps its header.
void* Resize(void* block, uint32_t size, const Place& now);

void GiveBack(void* block, const Place& now);

// `s` was laid out in the block that was taken last.
void BecameString(VrString s);

// The string's text was moved down over its length word.
void BecameText(const void* s);

// The block is meant to stay in use until the process ends.
void StaysOut(const void* block);

// `s` is about to be edited: its memo is trusted now.
void Edited(VrString s);

// An area that the library keeps from start to end, zeroed and with guards around it: first the
// five scratch areas, then the blocks of the three shared strings, in the order of their numbers.
// From KeepSharedStrings on, the content of the latter must not change.
void* NewArea(uint32_t size);
void FreeArea(void* area);
void KeepSharedStrings();

// Checks all areas, or in each call one in turn, which is cheap.
void LookAtAreas(const Place& now);
void LookAtNextArea(const Place& now);

// Checks all blocks and areas.
void LookAtAll(const Place& now);

// A platform block of `asked` bytes and of `guards` more, which are not part of the size that is
// compared with the limit (vrmem_recovery.cpp).
void* NewGuarded(uint32_t asked, uint32_t guards, bool zeroed, const Place& now);

// Frees the blocks that are held back. False when there are none.
bool GiveUpHeld();

// The last check, and the list of blocks still in use.
void Finish();

void ReportNumber(void* value, const Place& now);  // that was passed to free_mem
void WriteSummary();                               // the blocks in use, by place
void WriteBlocks();                                // the blocks in use, one by one

}  // namespace vr::check

#endif
