// What the object cache asks of hash tables beyond the exported operations: to run the
// destructor and keep the entry.
#ifndef LOOKUP_VRHASH_H
#define LOOKUP_VRHASH_H

#include "vr/hash.h"

namespace vr {

// HashTableRemoveItems and HashTableRemove, but that the entries stay in the table.
void HashTableReleaseItems(HashTable* table, HashTablePredicate predicate, VrWord argument);
void HashTableReleaseEntry(HashTable* table, const char* key, VrWord value);

}  // namespace vr

#endif
