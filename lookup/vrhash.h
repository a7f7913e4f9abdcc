// What the object cache needs of hash tables beyond the exported operations: running the destructor
// and keeping the entry.
#ifndef LOOKUP_VRHASH_H
#define LOOKUP_VRHASH_H

#include "vr/hash.h"

namespace vr {

// Like HashTableRemoveItems and HashTableRemove, except that the entries stay in the table.
void HashTableReleaseItems(HashTable* table, HashTablePredicate predicate, VrWord argument);
void HashTableReleaseEntry(HashTable* table, const char* key, VrWord value);

}  // namespace vr

#endif
