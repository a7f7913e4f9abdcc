// The checking library's side of the allocator: what the other modules call when the library
// is built with VR_CHECK. In the exact library every call stands behind `kOn` and vanishes.
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

// A source position as a call brings it along. Line 0 is a function without a position.
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

// The block at its new size, always at another address. A long string brings its header.
void* Resize(void* block, uint32_t size, const Place& now);

void GiveBack(void* block, const Place& now);

// `s` was laid out in the block that was taken last.
void BecameString(VrString s);

// The string's text was moved down over its length word.
void BecameText(const void* s);

// The block is meant to be out until the process ends.
void StaysOut(const void* block);

// `s` is about to be edited: its memo is trusted now.
void Edited(VrString s);

// An area that the library keeps from start to end, zeroed and with guards around it: first
// the five scratch areas, then the blocks of the three shared strings, in the order of their
// numbers. What the latter hold at KeepSharedStrings they must hold from then on.
void* NewArea(uint32_t size);
void FreeArea(void* area);
void KeepSharedStrings();

// Looks at all areas, or in each call at one in turn, which is cheap.
void LookAtAreas(const Place& now);
void LookAtNextArea(const Place& now);

// Looks at everything there is.
void LookAtAll(const Place& now);

// A platform block of `asked` bytes and of `guards` more, which do not count when the request
// is measured and refused (vrmem_recovery.cpp).
void* NewGuarded(uint32_t asked, uint32_t guards, bool zeroed, const Place& now);

// Gives up the blocks that are held back. False when there are none.
bool GiveUpHeld();

// The last look, and the list of what is still out.
void Finish();

void ReportNumber(void* value, const Place& now);  // that was given back
void WriteSummary();                               // what is out, by place
void WriteBlocks();                                // what is out, block by block

}  // namespace vr::check

#endif
