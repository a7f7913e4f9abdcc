// The checking library's blocks. Each is a platform block of its own with guards around what
// the caller may use, laid out so that header and payload stand as in the exact library
// (vrmem_check_block.h). A block's record is kept apart from it (vrmem_check_record.h). A freed
// block is filled and held back for a while, and the oldest is released first, so that a write to
// it or a second free is noticed.

#define VR_MODULE "vrcheck"

#include "core/vrmem_check.h"

#include <algorithm>
#include <cstring>

#include "core/vrmem_check_block.h"
#include "core/vrmem_check_report.h"
#include "platform/memory.h"
#include "vr/walk.h"

using namespace vr::check;

namespace {

constexpr uint32_t kMovedByLongHeader = sizeof(vr::LongHeader) - kHeaderSize;
constexpr uint32_t kHeldBudget = 4U << 20;  // bytes, their records included
constexpr uint8_t kFreshByte = 0xFA;        // content that is undefined
constexpr int32_t kMemoBytesAnEdit = 512;   // checked on average
constexpr int32_t kMemoSavings = 1 << 20;

uint32_t lastSerial = 0;
uint32_t heldBytes = 0;
Record* oldestHeld = nullptr;
Record* newestHeld = nullptr;
int32_t memoSavings = 0;
bool finished = false;

void GiveUpOldest(const Place& now) {
    Record* record = oldestHeld;
    oldestHeld = record->nextHeld;
    if (oldestHeld == nullptr) newestHeld = nullptr;
    heldBytes -= CostOf(*record);
    CheckHeld(*record, now);
    TakeOut(record);
    LocalFree(StartOf(*record));
    FreeRecord(record);
}

void HoldBack(Record* record, const Place& now) {
    record->held = true;
    record->givenBack = Keep(now);
    record->nextHeld = nullptr;
    FillHeld(*record);
    (newestHeld == nullptr ? oldestHeld : newestHeld->nextHeld) = record;
    newestHeld = record;
    heldBytes += CostOf(*record);
    while (heldBytes > kHeldBudget)
        GiveUpOldest(now);
}

bool LiesIn(const void* address, const Record& record) {
    const auto* byte = static_cast<const char*>(address);
    return byte >= StartOf(record) && byte < EndOf(record);
}

void ReportNoBlock(const void* address, const Place& now) {
    for (const Record* r = NextRecord(nullptr); r != nullptr; r = NextRecord(r)) {
        if (!LiesIn(address, *r)) continue;
        char description[kDescriptionSize];
        const auto distance = static_cast<int32_t>(static_cast<const char*>(address) - r->payload);
        ReportFinding(now, "not a block", "%p is byte %d of a %s", address, distance,
                      Describe(*r, description));
        return;
    }
    ReportFinding(now, "not a block", "nothing was taken at %p%s", address,
                  finished ? ", and VrExit has run" : "");
}

// The record of a block that is in use; reports a block that is not, and returns null.
Record* FindLive(const void* block, const char* whenHeld, const Place& now) {
    Record* record = Find(block);
    if (record == nullptr) {
        ReportNoBlock(block, now);
        return nullptr;
    }
    if (record->held) {
        ReportBlock(now, whenHeld, *record);
        return nullptr;
    }
    return record;
}

// Gives the record another address, in the same platform block.
void MovePayload(Record* record, void* payload) {
    TakeOut(record);
    record->payload = static_cast<char*>(payload);
    Enter(record);
}

// Turns a large block into a long string's: the header grows into the payload.
Record* MakeRoomForLongHeader(Record* record) {
    MovePayload(record, record->payload + kMovedByLongHeader);
    record->size -= kMovedByLongHeader;
    record->classByte = vr::kLongStringClass;
    return record;
}

bool MemoPointsAtItsAttribute(VrString s, const vr::Memo& memo) {
    const unsigned char* text = VrStrText(s);
    const int32_t offset = memo.cursor - kVrFirstCursor;
    if (offset < 0 || offset > s->length) return false;
    if (offset > 0 && text[offset - 1] != kVrAttributeMark) return false;
    // The cost of counting grows with the text, so it is not done at every edit.
    if (offset > memoSavings) return true;
    memoSavings -= offset;
    return std::count(text, text + offset, kVrAttributeMark) == memo.attribute - 1;
}

void CheckMemo(Record& record, const Place& now) {
    if (record.classByte != vr::kLongStringClass) return;
    auto* s = reinterpret_cast<VrString>(record.payload);
    vr::Memo& memo = vr::LongHeaderOf(s).memo;
    memoSavings = std::min(memoSavings + kMemoBytesAnEdit, kMemoSavings);
    if (memo.attribute < 1 || MemoPointsAtItsAttribute(s, memo)) return;
    char description[kDescriptionSize];
    ReportFinding(now, "memo beside its attribute", "attribute %d at cursor %d, %s", memo.attribute,
                  memo.cursor, Describe(record, description));
    memo = {};
}

void CheckAllBlocks(const Place& now) {
    for (Record* r = NextRecord(nullptr); r != nullptr; r = NextRecord(r)) {
        if (r->held) {
            CheckHeld(*r, now);
        } else {
            CheckLive(*r, now);
        }
    }
}

// In the exact library these are freed with their pages; a large one that is in use stays.
void FreeSlots() {
    for (Record* r = NextRecord(nullptr); r != nullptr; r = NextRecord(r)) {
        if (r->classByte == vr::kPoolSlotClass) LocalFree(StartOf(*r));
    }
}

// Runs when the process ends or unloads the library, after everything of the host. The last check
// of a host that did not call VrExit happens here.
[[gnu::destructor]] void EndProcess() {
    if (!finished) LookAtAll({"the end", 0});
    EndWithStatus();
}

}  // namespace

void* vr::check::NewBlock(const Wanted& wanted, const Place& now) {
    LookAtNextArea(now);
    const uint32_t spare = wanted.zeroed ? 1 : 0;
    const uint32_t exactSize = Saturated(uint64_t{wanted.size} + kHeaderSize + spare);
    Record* record = NewRecord();
    auto* start = static_cast<char*>(NewGuarded(exactSize, 2 * kGuardSize, wanted.zeroed, now));
    *record = {.next = nullptr,
               .nextHeld = nullptr,
               .payload = start + kGuardSize + kHeaderSize,
               .asked = wanted.size,
               .size = wanted.size,
               .serial = ++lastSerial,
               .capacity = 0,
               .classByte = wanted.classByte,
               .zeroed = wanted.zeroed,
               .isString = false,
               .held = false,
               .staysOut = false,
               .taken = Keep(now),
               .givenBack = {}};
    if (!wanted.zeroed) std::memset(record->payload, kFreshByte, wanted.size);
    PutHeader(*record);
    PutGuard(start);
    PutGuard(EndOf(*record));
    Enter(record);
    return record->payload;
}

void* vr::check::Resize(void* block, uint32_t size, const Place& now) {
    Record* old = FindLive(block, "resized after it was given back", now);
    if (old == nullptr) return NewBlock({size, 0, true}, now);
    CheckLive(*old, now);
    const bool isLong = old->classByte == kLongStringClass;
    const uint32_t extra = isLong ? kMovedByLongHeader : 0;
    Record* record = Find(NewBlock({Saturated(uint64_t{size} + extra), 0, true}, now));
    if (isLong) LongHeaderOf(MakeRoomForLongHeader(record)->payload) = LongHeaderOf(block);
    std::memcpy(record->payload, block, std::min(size, old->size));
    record->asked = size;
    const uint32_t capacity = size > sizeof(VrStringHead) ? size - sizeof(VrStringHead) : 0;
    record->capacity = capacity;
    record->isString = old->isString && capacity != 0;
    HoldBack(old, now);
    return record->payload;
}

void vr::check::GiveBack(void* block, const Place& now) {
    LookAtNextArea(now);
    Record* record = FindLive(block, "given back twice", now);
    if (record == nullptr) return;
    CheckLive(*record, now);
    HoldBack(record, now);
}

void vr::check::BecameString(VrString s) {
    const bool isLong = IsLong(s);
    Record* record = Find(reinterpret_cast<char*>(s) - (isLong ? kMovedByLongHeader : 0));
    if (isLong) MakeRoomForLongHeader(record);
    record->asked = static_cast<uint32_t>(s->length);
    record->capacity = static_cast<uint32_t>(CapacityOf(s));
    record->isString = true;
}

void vr::check::BecameText(const void* s) {
    if (Record* record = Find(s)) record->isString = false;
}

void vr::check::StaysOut(const void* block) {
    if (Record* record = Find(block)) record->staysOut = true;
}

// A string in a caller's buffer has no record.
void vr::check::Edited(VrString s) {
    const Place now = {"UtilInsertReplace", 0};
    LookAtNextArea(now);
    Record* record = Find(s);
    if (record == nullptr) return;
    if (record->held) return ReportBlock(now, "edited after it was given back", *record);
    CheckLive(*record, now);
    CheckMemo(*record, now);
}

bool vr::check::GiveUpHeld() {
    const bool any = oldestHeld != nullptr;
    while (oldestHeld != nullptr)
        GiveUpOldest({"a shortage of memory", 0});
    return any;
}

void vr::check::LookAtAll(const Place& now) {
    LookAtAreas(now);
    CheckAllBlocks(now);
}

void vr::check::Finish() {
    const Place now = {"VrExit", 0};
    CheckAllBlocks(now);
    while (oldestHeld != nullptr)
        GiveUpOldest(now);
    ListPlaces("still out", true);
    FreeSlots();
    FreeAllRecords();
    finished = true;
}

void vr::check::ReportNumber(void* value, const Place& now) {
    ReportFinding(now, "not a block", "the number %u",
                  static_cast<uint32_t>(reinterpret_cast<uintptr_t>(value)));
}

void vr::check::WriteSummary() {
    ListPlaces("out", false);
    WriteState("held back: %u bytes; blocks taken so far: %u", heldBytes, lastSerial);
}

void vr::check::WriteBlocks() {
    char description[kDescriptionSize];
    for (const Record* r = NextRecord(nullptr); r != nullptr; r = NextRecord(r)) {
        if (!r->held)
            WriteState("%p: %s", static_cast<void*>(r->payload), Describe(*r, description));
    }
}
