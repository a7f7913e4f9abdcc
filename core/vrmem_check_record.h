// The records of the blocks in the checking library, found by the blocks' addresses.
#ifndef CORE_VRMEM_CHECK_RECORD_H
#define CORE_VRMEM_CHECK_RECORD_H

#include "core/vrmem_check.h"

namespace vr::check {

// A copy of a place. The module's text is copied, since it need not outlive the call.
struct KeptPlace {
    char module[20];
    int32_t line;
};

struct Record {
    Record* next;      // in its bucket, or of the unused records
    Record* nextHeld;  // held back after this one
    char* payload;
    uint32_t asked;     // bytes that the caller asked for: of text, in a string
    uint32_t size;      // bytes of the payload that are the caller's
    uint32_t serial;    // 1 for the first block of the run
    uint32_t capacity;  // of a string, or of what was a long one, in text bytes
    uint8_t classByte;
    bool zeroed;
    bool isString;
    bool held;      // freed by the caller, and held back
    bool staysOut;  // until the process ends, intentionally
    KeptPlace taken;
    KeptPlace givenBack;
};

KeptPlace Keep(const Place& place);

// An unused record. May run the callbacks for a shortage.
Record* NewRecord();
void FreeRecord(Record* record);

void Enter(Record* record);
void TakeOut(Record* record);
Record* Find(const void* payload);

// The first record, or the one that follows; null at the end.
Record* NextRecord(const Record* record);

void FreeAllRecords();

}  // namespace vr::check

#endif
