// Where the parts of a block lie in the checking library, and whether they are whole. Damage is
// repaired when it is found, and so is reported once.
//
//     | guard 16 | header 4, of a long string 16 | payload | spare byte | guard 16 |
#ifndef CORE_VRMEM_CHECK_BLOCK_H
#define CORE_VRMEM_CHECK_BLOCK_H

#include "core/vrmem_check_guard.h"
#include "core/vrmem_check_record.h"

namespace vr::check {

constexpr uint32_t kHeaderSize = 4;

char* StartOf(const Record& record);
char* EndOf(const Record& record);  // where the guard begins

// Bytes of the platform that the block takes, its record included.
uint32_t CostOf(const Record& record);

void PutHeader(const Record& record);

// Overwrites all of the block, guards included.
void FillHeld(const Record& record);

// Report what was written where nothing may be: around or in a block that is in use, and anywhere
// in one that is held back.
void CheckLive(Record& record, const Place& now);
void CheckHeld(const Record& record, const Place& now);

}  // namespace vr::check

#endif
