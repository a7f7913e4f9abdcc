// Records are chained by the hash of the block's address. They are apart from the blocks, so that a
// wrong write to a block does not reach them. They are allocated in slabs and reused.

#define VR_MODULE "vrcheck"

#include "core/vrmem_check_record.h"

#include "platform/memory.h"

namespace {

using vr::check::Record;

constexpr uint32_t kBucketBits = 16;
constexpr uint32_t kBuckets = 1U << kBucketBits;
constexpr uint32_t kRecordsInSlab = 256;
constexpr uint32_t kHashFactor = 2654435769;  // 2^32 by the golden ratio

struct Slab {
    Slab* next;
    Record records[kRecordsInSlab];
};

Record* buckets[kBuckets];
Record* unused = nullptr;
Slab* slabs = nullptr;

uint32_t BucketOf(const void* payload) {
    return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(payload)) / 4 * kHashFactor >>
           (32 - kBucketBits);
}

Record* FirstFrom(uint32_t bucket) {
    while (bucket < kBuckets && buckets[bucket] == nullptr)
        ++bucket;
    return bucket < kBuckets ? buckets[bucket] : nullptr;
}

// Callbacks may come in between and make a slab too.
void NewSlab() {
    auto* slab = static_cast<Slab*>(MallocMore(sizeof(Slab), nullptr));
    slab->next = slabs;
    slabs = slab;
    for (Record& record : slab->records)
        vr::check::FreeRecord(&record);
}

}  // namespace

vr::check::KeptPlace vr::check::Keep(const Place& place) {
    KeptPlace kept;
    kept.line = place.line;
    const char* from = place.module == nullptr ? "" : place.module;
    char* to = kept.module;
    while (*from != '\0' && to != kept.module + sizeof kept.module - 1)
        *to++ = *from++;
    *to = '\0';
    return kept;
}

Record* vr::check::NewRecord() {
    while (unused == nullptr)
        NewSlab();
    Record* record = unused;
    unused = record->next;
    return record;
}

void vr::check::FreeRecord(Record* record) {
    record->next = unused;
    unused = record;
}

void vr::check::Enter(Record* record) {
    Record*& bucket = buckets[BucketOf(record->payload)];
    record->next = bucket;
    bucket = record;
}

void vr::check::TakeOut(Record* record) {
    Record** link = &buckets[BucketOf(record->payload)];
    while (*link != record)
        link = &(*link)->next;
    *link = record->next;
}

Record* vr::check::Find(const void* payload) {
    Record* record = buckets[BucketOf(payload)];
    while (record != nullptr && record->payload != payload)
        record = record->next;
    return record;
}

Record* vr::check::NextRecord(const Record* record) {
    if (record == nullptr) return FirstFrom(0);
    return record->next != nullptr ? record->next : FirstFrom(BucketOf(record->payload) + 1);
}

void vr::check::FreeAllRecords() {
    for (Record*& bucket : buckets)
        bucket = nullptr;
    unused = nullptr;
    while (slabs != nullptr) {
        Slab* next = slabs->next;
        LocalFree(slabs);
        slabs = next;
    }
}
