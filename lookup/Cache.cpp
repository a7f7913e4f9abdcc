// Object caches. The names are in a hash table, whose destructor does two things: in release mode
// it drops the body of an item and leaves the item, otherwise it ends the item for good. So both
// ways of leaving the cache go through one routine, and only there bytes are uncounted.

#define VR_MODULE "Cache"

#include "vr/cache.h"

#include <algorithm>
#include <cstring>

#include "core/Width.h"
#include "lookup/vrhash.h"
#include "platform/clock.h"
#include "vr/buffer.h"
#include "vr/memory.h"
#include "vr/settings.h"
#include "vr/string.h"

namespace {

constexpr int32_t kDefaultLimit = 300000;
constexpr double kEvictionGoal = 0.5;  // of the limit
constexpr int32_t kListStep = 2000;    // bytes
constexpr size_t kFirstNameOffset = 18;
constexpr size_t kSecondNameOffset = 22;
constexpr int32_t kNoSuchItem = 32;

// Process-wide: set while bodies are released, but not while a host's routine runs, which may end
// items of other caches, run short of memory, or end the run.
bool releaseMode = false;

CacheItem* ItemOf(VrWord value) {
    return reinterpret_cast<CacheItem*>(value);
}

CacheItem* Find(const Cache* cache, const char* name) {
    return cache == nullptr ? nullptr : ItemOf(HashTableLookup(cache->table, name));
}

uint32_t Now() {
    return static_cast<uint32_t>(ClockSeconds());
}

int32_t LimitOfEnvironment() {
    const char* limit = DLLGetEnv("VRLCACHESIZE");
    return limit == nullptr ? kDefaultLimit : vr::NumberAt(limit);
}

void CountBody(Cache& cache, CacheItem& item) {
    item.resident = 1;
    cache.used = vr::Saturated<int32_t>(int64_t{cache.used} + item.size);
}

void UncountBody(Cache& cache, CacheItem& item) {
    if (item.resident == 0) return;
    item.resident = 0;
    cache.used = std::max(cache.used - item.size, 0);
}

// Without a release routine nobody can drop a body, and the item stays as it is. A routine
// that runs short of memory starts a release within this one, which leaves the item in hand.
void ReleaseBody(Cache& cache, CacheItem& item) {
    if (cache.release == nullptr || item.resident == 0 || item.inHand != 0) return;
    item.inHand = 1;
    releaseMode = false;
    cache.release(item.object, cache.owner);
    releaseMode = true;
    item.inHand = 0;
    UncountBody(cache, item);
}

void EndItem(Cache& cache, CacheItem* item) {
    item->inHand = 1;
    if (cache.destroy != nullptr) cache.destroy(item->object, cache.owner);
    UncountBody(cache, *item);
    free_mem(&item->key);
    free_mem(&item);
}

void DestructEntry(VrWord value, VrWord data) {
    auto& cache = *reinterpret_cast<Cache*>(data);
    if (releaseMode) {
        ReleaseBody(cache, *ItemOf(value));
    } else {
        EndItem(cache, ItemOf(value));
    }
}

bool MayBeReleased(const CacheItem& item) {
    return item.stackCount == 0 && item.pending == 0;
}

int32_t SelectReleasable(VrWord value, VrWord) {
    return MayBeReleased(*ItemOf(value)) ? 1 : 0;
}

void ReleaseAll(VrWord data, VrWord) {
    releaseMode = true;
    vr::HashTableReleaseItems(reinterpret_cast<Cache*>(data)->table, SelectReleasable, 0);
    releaseMode = false;
}

// Adds the item to the list and selects nothing.
int32_t ListItem(VrWord value, VrWord list) {
    if (ItemOf(value)->object != 0) {
        AddStrToBuffer(reinterpret_cast<BufDscr*>(list), &value, sizeof value, 0);
    }
    return 0;
}

// The addresses of the items with an object.
BufDscr* ListItems(const Cache& cache) {
    BufDscr* list = BufDscrCreate(kListStep);
    HashTableRemoveItems(cache.table, ListItem, reinterpret_cast<VrWord>(list));
    return list;
}

bool GoalIsReached(const Cache& cache) {
    return cache.limit * kEvictionGoal >= cache.used;
}

// The oldest first, until the goal is reached.
void ReleaseListed(Cache& cache, const BufDscr& items) {
    auto* const first = reinterpret_cast<CacheItem**>(items.data);
    auto* const end = reinterpret_cast<CacheItem**>(items.data + items.used);
    std::sort(first, end, [](const CacheItem* a, const CacheItem* b) { return a->time < b->time; });
    releaseMode = true;
    for (CacheItem** item = first; item != end && !GoalIsReached(cache); ++item) {
        if (!MayBeReleased(**item)) continue;
        vr::HashTableReleaseEntry(cache.table, (*item)->key, reinterpret_cast<VrWord>(*item));
    }
    releaseMode = false;
}

void Evict(Cache& cache) {
    BufDscr* items = ListItems(cache);
    ReleaseListed(cache, *items);
    BufDscrDestroy(items);
}

void KeepBudget(Cache& cache) {
    if (cache.used <= cache.limit) return;
    Evict(cache);
    cache.limit = std::max(cache.limit, cache.used);
}

CacheItem* NewItem(const char* name, VrWord object, int32_t size, VrWord program) {
    auto* item = static_cast<CacheItem*>(alloc_memory(sizeof(CacheItem)));
    item->object = object;
    item->key = dup_str(name);
    item->program = program;
    item->time = Now();
    item->size = std::max(size, 0);
    return item;
}

void Remove(Cache& cache, const CacheItem* item) {
    HashTableRemove(cache.table, item->key, reinterpret_cast<VrWord>(item));
}

const char* TextOf(const char* name) {
    return name == nullptr ? "" : name;
}

// A name in the host's record; empty without a record.
const char* NameOf(const CacheItem& item, size_t offset) {
    if (item.object == 0) return "";
    return TextOf(vr::AddressAt<char>(reinterpret_cast<const char*>(item.object) + offset));
}

struct NameMatch {
    const char* first;
    const char* second;
    int32_t mark;
};

bool Matches(const CacheItem& item, const NameMatch& match) {
    if (*match.first == '\0') return match.mark == 0;
    if (std::strcmp(match.first, NameOf(item, kFirstNameOffset)) != 0) return false;
    return *match.second == '\0' || std::strcmp(match.second, NameOf(item, kSecondNameOffset)) == 0;
}

int32_t SelectMatching(VrWord value, VrWord argument) {
    CacheItem& item = *ItemOf(value);
    const auto& match = *reinterpret_cast<const NameMatch*>(argument);
    if (!Matches(item, match)) return 0;
    const bool inUse = item.stackCount > 0 || item.classUseCount > 0;
    if (!inUse) {
        item.pending = 0;
    } else if (match.mark != 0) {
        item.pending = 1;
    }
    return inUse ? 0 : 1;
}

int32_t SelectOfProgram(VrWord value, VrWord program) {
    const CacheItem& item = *ItemOf(value);
    return item.program == program && item.classUseCount == 0 ? 1 : 0;
}

}  // namespace

Cache* CacheCreate(int32_t bucketCount, CacheRoutine destroy, CacheRoutine release, VrWord owner) {
    if (bucketCount < 1) return nullptr;
    auto* cache = static_cast<Cache*>(alloc_memory(sizeof(Cache)));
    const auto word = reinterpret_cast<VrWord>(cache);
    HashTable* table = HashTableCreate(bucketCount, DestructEntry, word, 0);
    *cache = {.table = table,
              .destroy = destroy,
              .release = release,
              .owner = owner,
              .used = 0,
              .limit = LimitOfEnvironment()};
    MemAddCallback(kVrMemoryShort, ReleaseAll, word);
    return cache;
}

void CacheDestroy(Cache* cache) {
    if (cache == nullptr) return;
    MemRemoveCallback(kVrMemoryShort, ReleaseAll, reinterpret_cast<VrWord>(cache));
    HashTableDestroy(cache->table);
    free_mem(&cache);
}

// The new item is not in the table yet while others are released for it.
void CacheInstall(Cache* cache, const char* name, VrWord object, int32_t size, VrWord program) {
    if (cache == nullptr) return;
    if (CacheItem* known = Find(cache, name)) {
        known->time = Now();
        return;
    }
    CacheItem* item = NewItem(name, object, size, program);
    CountBody(*cache, *item);
    KeepBudget(*cache);
    HashTableInstall(cache->table, name, reinterpret_cast<VrWord>(item));
}

VrWord CacheLookup(const Cache* cache, const char* name) {
    const CacheItem* item = Find(cache, name);
    return item == nullptr ? 0 : item->object;
}

// The item keeps its body while others are released for it, held by a stack count.
int32_t CacheIncrObjStr(Cache* cache, const char* name) {
    CacheItem* item = Find(cache, name);
    if (item == nullptr) return kNoSuchItem;
    CountBody(*cache, *item);
    if (item->stackCount != 0) {
        KeepBudget(*cache);
        return 0;
    }
    item->stackCount = 1;
    KeepBudget(*cache);
    item = Find(cache, name);
    if (item != nullptr) item->stackCount = 0;
    return 0;
}

void CacheStackCountInc(Cache* cache, const char* name) {
    if (CacheItem* item = Find(cache, name)) ++item->stackCount;
}

void CacheStackCountDec(Cache* cache, const char* name) {
    CacheItem* item = Find(cache, name);
    if (item != nullptr && item->stackCount >= 1) --item->stackCount;
}

void CacheClassUseInc(Cache* cache, const char* name) {
    if (CacheItem* item = Find(cache, name)) ++item->classUseCount;
}

void CacheClassUseDecr(Cache* cache, const char* name) {
    CacheItem* item = Find(cache, name);
    if (item != nullptr && item->classUseCount >= 1) --item->classUseCount;
}

void CacheClassDrop(Cache* cache, const char* name) {
    const CacheItem* item = Find(cache, name);
    if (item != nullptr && item->classUseCount == 0) Remove(*cache, item);
}

int32_t CacheRemoveItems(Cache* cache, const char* first, const char* second, int32_t mark) {
    if (cache == nullptr) return 0;
    const NameMatch match = {TextOf(first), TextOf(second), mark};
    HashTableRemoveItems(cache->table, SelectMatching, reinterpret_cast<VrWord>(&match));
    return 0;
}

int32_t CacheRemoveProgramItems(Cache* cache, VrWord program) {
    if (cache == nullptr) return 0;
    HashTableRemoveItems(cache->table, SelectOfProgram, program);
    return 0;
}
