// Handle tables. A table is a record of the master table, and the master table is one
// of its own records, in slot 0; so a table's record may move whenever a table is made,
// and is looked up by its handle each time.

#define VR_MODULE "tbl"

#include "lookup/Tbl.h"

#include <cstdio>
#include <cstring>

#include "core/vrmem.h"
#include "vr/table.h"

namespace {

constexpr int32_t kSlotsPerStep = 10;
constexpr int32_t kMaster = 0;
constexpr uint8_t kTaken = 1;

unsigned char* masterBase = nullptr;

Tbl& MasterRecord(int32_t handle) {
    return reinterpret_cast<Tbl*>(masterBase)[handle];
}

// A record that a host itself took in the master table is no table, since it has no array.
Tbl* Find(int32_t table) {
    auto* record = static_cast<Tbl*>(TblHndToPtr(kMaster, table));
    return record == nullptr || record->size < 1 ? nullptr : record;
}

unsigned char* BaseOf(const Tbl& table) {
    return table.baseVariable != nullptr ? *table.baseVariable : table.base;
}

unsigned char* RecordAt(const Tbl& table, int32_t slot) {
    return BaseOf(table) + static_cast<ptrdiff_t>(slot) * table.size;
}

unsigned char& MarkOf(const Tbl& table, int32_t slot) {
    return RecordAt(table, slot)[table.markOffset];
}

// The allocator refuses a size that no block can have.
unsigned char* NewArray(int32_t length, int32_t size) {
    const uint64_t bytes = static_cast<uint64_t>(length) * static_cast<uint64_t>(size);
    return static_cast<unsigned char*>(alloc_memory(vr::Saturated(bytes)));
}

void Take(Tbl& table, int32_t slot) {
    MarkOf(table, slot) = kTaken;
    ++table.used;
}

int32_t TakeFree(Tbl& table, int32_t slot) {
    Take(table, slot);
    if (table.used > table.maximum) table.maximum = table.used;
    return slot;
}

// When the master table grows, the table's own record moves.
int32_t TakeInGrownTable(int32_t handle) {
    Tbl* table = Find(handle);
    const int32_t oldLength = table->length;
    unsigned char* oldBase = BaseOf(*table);
    unsigned char* base = NewArray(oldLength + kSlotsPerStep, table->size);
    std::memcpy(base, oldBase, static_cast<size_t>(oldLength) * static_cast<size_t>(table->size));
    if (table->baseVariable != nullptr) *table->baseVariable = base;
    table = Find(handle);
    table->base = base;
    table->length = oldLength + kSlotsPerStep;
    free_mem(&oldBase);
    Take(*table, oldLength);
    ++table->maximum;
    return oldLength;
}

void FreeParts(const Tbl& table) {
    char* name = table.name;
    char* tag = table.moduleTag;
    unsigned char* base = table.base;
    free_mem(&name);
    free_mem(&tag);
    free_mem(&base);
}

int32_t FormatMasterLine(VrWord, VrWord firstSlot, VrWord, VrWord line, VrWord, VrWord buffer) {
    char* out = reinterpret_cast<char*>(buffer);
    if (line == 0) {
        std::snprintf(out, kVrTblLineSize,
                      "Table Name           Length   Size   Used   Maximum  Format");
        return 1;
    }
    const auto slot = static_cast<int32_t>(firstSlot + line - 1);
    if (slot < 0 || slot >= TblLength(kMaster)) return 0;
    const Tbl& table = MasterRecord(slot);
    if (Find(slot) == nullptr) {
        std::snprintf(out, kVrTblLineSize, "[Table not used].........");
        return 1;
    }
    std::snprintf(out, kVrTblLineSize, "%-20.20s %4d     %4d   %4d   %4d     0x%-8lx", table.name,
                  table.length, table.size, table.used, table.maximum,
                  static_cast<unsigned long>(reinterpret_cast<uintptr_t>(table.format)));
    return 1;
}

// The master is freed last, since the others are found in it.
void FreeTables() {
    if (masterBase == nullptr) return;
    for (int32_t handle = MasterRecord(kMaster).length - 1; handle >= 0; --handle) {
        if (MasterRecord(handle).inUse != 0) FreeParts(MasterRecord(handle));
    }
    masterBase = nullptr;
}

}  // namespace

void vr::StartTables(const UtilInitRecord&) {
    masterBase = NewArray(kSlotsPerStep, sizeof(Tbl));
    MasterRecord(kMaster) = {.inUse = kTaken,
                             .name = dup_str("tbl.Master"),
                             .moduleTag = dup_str(VR_MODULE),
                             .line = 0,
                             .length = kSlotsPerStep,
                             .size = sizeof(Tbl),
                             .base = masterBase,
                             .baseVariable = &masterBase,
                             .markOffset = offsetof(Tbl, inUse),
                             .used = 1,
                             .maximum = 1,
                             .format = FormatMasterLine,
                             .reserved = 0};
    VrExitAdd(FreeTables);
}

int32_t _tblCreate(const char* name, int32_t size, int32_t markOffset, TblFormat format,
                   const char* tag, int32_t line) {
    if (size < 1 || markOffset < 0 || markOffset >= size) return -1;
    const int32_t handle = TblAllocHnd(kMaster);
    if (handle == -1) return -1;
    char* ownName = _dup_str(name, tag, line);
    char* ownTag = _dup_str(tag, tag, line);
    unsigned char* base = NewArray(kSlotsPerStep, size);
    MasterRecord(handle) = {.inUse = kTaken,
                            .name = ownName,
                            .moduleTag = ownTag,
                            .line = line,
                            .length = kSlotsPerStep,
                            .size = size,
                            .base = base,
                            .baseVariable = nullptr,
                            .markOffset = markOffset,
                            .used = 0,
                            .maximum = 0,
                            .format = format,
                            .reserved = 0};
    return handle;
}

int32_t TblDestroy(int32_t table) {
    const Tbl* record = Find(table);
    if (record == nullptr || table == kMaster) return 1;
    FreeParts(*record);
    return TblFreeHnd(kMaster, table);
}

int32_t TblAllocHnd(int32_t table) {
    Tbl* record = Find(table);
    if (record == nullptr) return -1;
    for (int32_t slot = 0; slot < record->length; ++slot) {
        if (MarkOf(*record, slot) == 0) return TakeFree(*record, slot);
    }
    return TakeInGrownTable(table);
}

int32_t TblFreeHnd(int32_t table, int32_t record) {
    Tbl* owner = Find(table);
    if (owner == nullptr || record < 0 || record >= owner->length) return 1;
    if (table == kMaster && record == kMaster) return 1;
    --owner->used;
    std::memset(RecordAt(*owner, record), 0, static_cast<size_t>(owner->size));
    return 1;
}

void* TblHndToPtr(int32_t table, int32_t record) {
    if (masterBase == nullptr || table < 0 || record < 0) return nullptr;
    if (table >= MasterRecord(kMaster).length || MasterRecord(table).inUse == 0) return nullptr;
    const Tbl& owner = MasterRecord(table);
    if (record >= owner.length || MarkOf(owner, record) != kTaken) return nullptr;
    return RecordAt(owner, record);
}

int32_t TblLength(int32_t table) {
    const Tbl* record = Find(table);
    return record == nullptr ? 0 : record->length;
}

void* TblBase(int32_t table) {
    const Tbl* record = Find(table);
    return record == nullptr ? nullptr : BaseOf(*record);
}

TblFormat TblFunc(int32_t table) {
    const Tbl* record = Find(table);
    return record == nullptr ? nullptr : record->format;
}

const char* TblName(int32_t table) {
    const Tbl* record = Find(table);
    return record == nullptr ? nullptr : record->name;
}
