/* Object caches: named objects of a host under a budget of bytes.
 *
 * An item has a small descriptor, which stays, and the object's body, which the host
 * owns and can be asked to drop. When the bodies exceed the budget, those not in use
 * are released, the oldest first, until half the budget is reached. When memory runs
 * short anywhere, all bodies that are not in use are released, in each cache that got a
 * callback slot (vr/memory.h). A released item is still found; the host brings
 * its body back and then calls CacheIncrObjStr.
 *
 * The budget is the variable VRLCACHESIZE in bytes, 300000 when it is not set. It
 * rises to what cannot be released, and never falls.
 *
 * Two counts, which the host keeps, say that an item is in use: the stack count holds its body, the
 * class use count the item. Each name has one item. Names must not be null. Every function ignores
 * a null cache.
 *
 * The host's routines. The item's flags and the count of bytes change after the routine has
 * returned. A routine that runs short of memory does not get the same item again. It must
 * not install or remove items of the cache that calls it, directly or through another
 * cache. Removing items of another cache works as long as no call for that cache is in
 * progress. A release for want of memory can come inside any call, so a release routine that
 * is to be safe removes and installs nothing in any cache. */
#ifndef VR_CACHE_H
#define VR_CACHE_H

#include "vr/abi.h"
#include "vr/hash.h"

/* A host's routine for an item. It gets the item's object, and the owner that was given to
 * CacheCreate. */
typedef void (*CacheRoutine)(VrWord object, VrWord owner);

/* A cache. */
typedef struct Cache {
    HashTable* table;     /* name to CacheItem */
    CacheRoutine destroy; /* may be null: an item goes for good */
    CacheRoutine release; /* may be null: a body is to be dropped */
    VrWord owner;         /* for both routines */
    int32_t used;         /* bytes of all bodies that are resident */
    int32_t limit;        /* bytes */
} Cache;
VR_STATIC_ASSERT(sizeof(Cache) == 24, "six words");

/* The descriptor of an item. */
typedef struct CacheItem {
    VrWord object;         /* the body's address, or what the host knows it by */
    char* key;             /* the name, which belongs to the item */
    VrWord program;        /* the program that the item belongs to, any word */
    uint32_t time;         /* of the last install, in seconds since 1970 */
    int32_t stackCount;    /* uses that hold the body */
    int32_t classUseCount; /* uses that hold the item */
    uint8_t pending;       /* was in use when it was to be removed; keeps its body */
    uint8_t resident;      /* its body counts in `used` */
    uint8_t inHand;        /* a routine of the host runs for it */
    uint8_t unused;        /* 0 */
    int32_t size;          /* bytes of the body */
} CacheItem;
VR_STATIC_ASSERT(sizeof(CacheItem) == 32, "four bytes before the last word");

VR_BEGIN

/* A new cache, which the caller destroys; null for fewer than one bucket. Without a
 * release routine no body is ever released. */
VR_API VR_OWNED Cache* CacheCreate(int32_t bucketCount, CacheRoutine destroy, CacheRoutine release,
                                   VrWord owner);

/* Destroys all items, in use or not, and the cache. */
VR_API void CacheDestroy(Cache* cache);

/* Adds an item of `size` bytes, resident, with no uses. A size below 0 counts as 0. When the
 * name is there already, only its time is set, and `object` stays the caller's. */
VR_API void CacheInstall(Cache* cache, const char* name, VrWord object, int32_t size,
                         VrWord program);

/* The item's object, resident or not; 0 when there is no such item. */
VR_API VrWord CacheLookup(const Cache* cache, const char* name);

/* Reports that the item's body is back. To be called once for each release, since each call
 * adds the body's size to `used`. 0, or 32 when there is no such item. */
VR_API int32_t CacheIncrObjStr(Cache* cache, const char* name);

/* Count uses of an item, down to 0. */
VR_API void CacheStackCountInc(Cache* cache, const char* name);
VR_API void CacheStackCountDec(Cache* cache, const char* name);
VR_API void CacheClassUseInc(Cache* cache, const char* name);
VR_API void CacheClassUseDecr(Cache* cache, const char* name);

/* Removes the item for good if its class use count is 0. */
VR_API void CacheClassDrop(Cache* cache, const char* name);

/* Removes items for good by the two names in their objects: each object is the
 * address of a record with the address of its first name at byte 18 and that of its
 * second name at byte 22, both zero-terminated. A null text, in the record or as an
 * argument, counts as empty. An item matches when
 *   `first` is empty and `mark` is 0, or
 *   `first` is its first name and `second` is empty or its second name.
 * Matching items without uses are removed. One in use stays, and `mark` not 0 makes
 * it pending: its body is not released, until a later call removes the item. Always
 * returns 0. */
VR_API int32_t CacheRemoveItems(Cache* cache, const char* first, const char* second, int32_t mark);

/* Removes all items of the program whose class use count is 0. Always returns 0. */
VR_API int32_t CacheRemoveProgramItems(Cache* cache, VrWord program);

VR_END

#endif
