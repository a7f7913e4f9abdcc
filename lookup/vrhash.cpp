// Chained hash tables. The hash of a key is kept in its entry, so that texts are
// compared only when their hashes are equal. Entries are packed records, since those of
// a fixed table lie anywhere in the fixed store.

#define VR_MODULE "vrhash"

#include "lookup/vrhash.h"

#include <cstring>

#include "core/Array.h"
#include "core/Invariant.h"
#include "vr/fixed.h"

namespace {

constexpr uint32_t kHashFactor = 31;
constexpr uint8_t kHighLetterBit = 0x40;
constexpr int kGroup = 4;  // bytes

// Where an entry is linked: `previous` is null for the head of the bucket.
struct Place {
    HashEntry** bucket;
    HashEntry* previous;
    HashEntry* entry;
};

uint32_t Fold(uint32_t hash, char byte) {
    return hash * kHashFactor + static_cast<uint8_t>(byte) - 'a';
}

// The key's zero never fits, so nothing after it is read.
template <typename Fits>
bool IsGroup(const char* p, Fits fits) {
    for (int i = 0; i < kGroup; ++i) {
        if (!fits(p[i])) return false;
    }
    return true;
}

// Four bytes folded at once: the products do not wait for each other.
uint32_t FoldGroup(uint32_t hash, const char* p) {
    constexpr uint32_t kSquare = kHashFactor * kHashFactor;
    const uint32_t first = Fold(Fold(0, p[0]), p[1]);
    const uint32_t last = Fold(Fold(0, p[2]), p[3]);
    return hash * (kSquare * kSquare) + first * kSquare + last;
}

// Of keys of letters, one byte in four is hashed.
uint32_t HashOf(const char* key) {
    const auto isHigh = [](char byte) {
        return (static_cast<uint8_t>(byte) & kHighLetterBit) != 0;
    };
    const auto isText = [](char byte) { return byte != '\0'; };
    uint32_t hash = 0;
    for (; IsGroup(key, isHigh); key += kGroup)
        hash = Fold(hash, *key);
    for (; IsGroup(key, isText); key += kGroup)
        hash = FoldGroup(hash, key);
    for (; *key != '\0'; ++key)
        hash = Fold(hash, *key);
    return hash;
}

// A remainder by a power of two needs no division.
HashEntry** BucketOf(const HashTable& table, uint32_t hash) {
    const auto count = static_cast<uint32_t>(table.bucketCount);
    return &table.buckets[(count & (count - 1)) == 0 ? hash & (count - 1) : hash % count];
}

// Value 0 matches any.
Place Find(const HashTable& table, const char* key, VrWord value) {
    const uint32_t hash = HashOf(key);
    Place place = {BucketOf(table, hash), nullptr, nullptr};
    for (HashEntry* entry = *place.bucket; entry != nullptr; entry = entry->next) {
        if (entry->hash == hash && std::strcmp(entry->key, key) == 0 &&
            (value == 0 || entry->value == value)) {
            place.entry = entry;
            break;
        }
        place.previous = entry;
    }
    return place;
}

void Destruct(const HashTable& table, VrWord value) {
    if (table.destructor != nullptr) table.destructor(value, table.destructorData);
}

void Unlink(const Place& place) {
    if (place.previous == nullptr) {
        *place.bucket = place.entry->next;
    } else {
        place.previous->next = place.entry->next;
    }
}

// The entries of a fixed table stay in the fixed store.
void FreeEntry(const HashTable& table, HashEntry* entry) {
    if (table.fixed != 0) return;
    char* key = entry->key;
    free_mem(&key);
    free_mem(&entry);
}

bool Selects(HashTablePredicate predicate, VrWord value, VrWord argument) {
    return predicate == nullptr || predicate(value, argument) != 0;
}

// Calls action(place) for each entry that the predicate selects; the action returns whether it
// removed the entry.
template <typename Action>
void ForSelected(const HashTable& table, HashTablePredicate predicate, VrWord argument,
                 Action action) {
    for (int32_t i = 0; i < table.bucketCount; ++i) {
        Place place = {&table.buckets[i], nullptr, table.buckets[i]};
        while (place.entry != nullptr) {
            VR_INVARIANT(BucketOf(table, place.entry->hash) == place.bucket);
            HashEntry* next = place.entry->next;
            const bool taken = Selects(predicate, place.entry->value, argument) && action(place);
            if (!taken) place.previous = place.entry;
            place.entry = next;
        }
    }
}

HashEntry* NewFixedEntry(size_t keySize) {
    auto* entry =
        static_cast<HashEntry*>(MemFixedAlloc(static_cast<int32_t>(sizeof(HashEntry) + keySize)));
    entry->key = reinterpret_cast<char*>(entry + 1);
    return entry;
}

HashEntry* NewEntry(size_t keySize) {
    auto* entry = static_cast<HashEntry*>(alloc_memory(sizeof(HashEntry)));
    entry->key = static_cast<char*>(alloc_memory(static_cast<uint32_t>(keySize)));
    return entry;
}

}  // namespace

HashTable* HashTableCreate(int32_t bucketCount, HashTableDestructor destructor,
                           VrWord destructorData, int32_t fixed) {
    if (bucketCount < 1) return nullptr;
    auto* table = static_cast<HashTable*>(alloc_memory(sizeof(HashTable)));
    auto** buckets = vr::NewArray<HashEntry*>(bucketCount, VR_MODULE, __LINE__);
    *table = {.fixed = fixed,
              .bucketCount = bucketCount,
              .buckets = buckets,
              .destructor = destructor,
              .destructorData = destructorData};
    return table;
}

void HashTableDestroy(HashTable* table) {
    if (table == nullptr) return;
    HashTableRemoveItems(table, nullptr, 0);
    free_mem(&table->buckets);
    free_mem(&table);
}

VrWord HashTableLookup(const HashTable* table, const char* key) {
    if (table == nullptr) return 0;
    const HashEntry* entry = Find(*table, key, 0).entry;
    return entry == nullptr ? 0 : entry->value;
}

void HashTableInstall(HashTable* table, const char* key, VrWord value) {
    if (table == nullptr) return;
    const size_t keySize = std::strlen(key) + 1;
    HashEntry* entry = table->fixed != 0 ? NewFixedEntry(keySize) : NewEntry(keySize);
    std::memcpy(entry->key, key, keySize);
    entry->hash = HashOf(key);
    entry->value = value;
    HashEntry** bucket = BucketOf(*table, entry->hash);
    entry->next = *bucket;
    *bucket = entry;
}

void HashTableRemove(HashTable* table, const char* key, VrWord value) {
    if (table == nullptr) return;
    const Place place = Find(*table, key, value);
    if (place.entry == nullptr) return;
    Unlink(place);
    Destruct(*table, place.entry->value);
    FreeEntry(*table, place.entry);
}

void HashTableRemoveItems(HashTable* table, HashTablePredicate predicate, VrWord argument) {
    if (table == nullptr) return;
    ForSelected(*table, predicate, argument, [table](const Place& place) {
        Destruct(*table, place.entry->value);
        Unlink(place);
        FreeEntry(*table, place.entry);
        return true;
    });
}

const char* HashTableEntry(const HashTable* table, int32_t number, VrWord* value) {
    if (table == nullptr || number < 0) return nullptr;
    for (int32_t i = 0; i < table->bucketCount; ++i) {
        for (const HashEntry* entry = table->buckets[i]; entry != nullptr; entry = entry->next) {
            if (number-- != 0) continue;
            *value = entry->value;
            return entry->key;
        }
    }
    return nullptr;
}

void vr::HashTableReleaseItems(HashTable* table, HashTablePredicate predicate, VrWord argument) {
    if (table == nullptr) return;
    ForSelected(*table, predicate, argument, [table](const Place& place) {
        Destruct(*table, place.entry->value);
        return false;
    });
}

void vr::HashTableReleaseEntry(HashTable* table, const char* key, VrWord value) {
    if (table == nullptr) return;
    const HashEntry* entry = Find(*table, key, value).entry;
    if (entry != nullptr) Destruct(*table, entry->value);
}
