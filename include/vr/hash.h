/* Hash tables: zero-terminated keys to words.
 *
 * A table has a fixed number of buckets, whose chains get longer as it fills. It keeps copies of
 * the keys. Keys compare as whole texts, letter case included. A key may be installed again: the
 * newest entry is found first, before the older ones. The values are the caller's; a destructor, if
 * there is one, is called with each value that is removed.
 *
 * A fixed table has its entries in the fixed store (vr/fixed.h): they cost no block of
 * their own and stay in the store until VrExit, also when removed.
 *
 * Every function ignores a null table; a key must not be null. Neither a destructor nor a predicate
 * may change the chains of the table that calls it. */
#ifndef VR_HASH_H
#define VR_HASH_H

#include "vr/abi.h"

/* Called with a value that is removed, and with the data word that HashTableCreate was given. */
typedef void (*HashTableDestructor)(VrWord value, VrWord data);

/* Selects entries: called with an entry's value and the argument of HashTableRemoveItems. A result
 * other than 0 selects the entry. */
typedef int32_t (*HashTablePredicate)(VrWord value, VrWord argument);

/* An entry. Packed, since in a fixed table an entry may stand at any address; its key then
 * follows it at once. */
typedef struct __attribute__((packed)) HashEntry {
    struct HashEntry* next; /* in the bucket; null for the last one */
    char* key;              /* zero-terminated copy */
    uint32_t hash;          /* of the key */
    VrWord value;           /* the caller's */
} HashEntry;
VR_STATIC_ASSERT(sizeof(HashEntry) == 16, "four words");

/* A table. */
typedef struct HashTable {
    int32_t fixed;                  /* not 0: its entries are in the fixed store */
    int32_t bucketCount;            /* as it was made */
    HashEntry** buckets;            /* the first entry of each; null for an empty one */
    HashTableDestructor destructor; /* may be null */
    VrWord destructorData;          /* for the destructor */
} HashTable;
VR_STATIC_ASSERT(sizeof(HashTable) == 20, "five words");

VR_BEGIN

/* A new table, which the caller destroys; null for fewer than one bucket. The
 * destructor may be null; a `fixed` that is not 0 makes a fixed table. */
VR_API VR_OWNED HashTable* HashTableCreate(int32_t bucketCount, HashTableDestructor destructor,
                                           VrWord destructorData, int32_t fixed);

/* Calls the destructor for each value, and frees the table. */
VR_API void HashTableDestroy(HashTable* table);

/* The value of the key's newest entry, or 0. */
VR_API VrWord HashTableLookup(const HashTable* table, const char* key);

/* Adds an entry, which is found before others of the key. */
VR_API void HashTableInstall(HashTable* table, const char* key, VrWord value);

/* Removes the newest entry with that key and value, or with value 0 the newest one of
 * that key. Nothing happens when there is none. */
VR_API void HashTableRemove(HashTable* table, const char* key, VrWord value);

/* Removes the entries that the predicate selects, all of them when it is null. The predicate is
 * called once for each entry. */
VR_API void HashTableRemoveItems(HashTable* table, HashTablePredicate predicate, VrWord argument);

/* The key of entry number `number`, from 0, and its value in *value; null, and nothing
 * written, past the end. Numbers change with any change of the table, and each call
 * walks from the start. The key belongs to the table. */
VR_API const char* HashTableEntry(const HashTable* table, int32_t number, VrWord* value);

VR_END

#endif
