// Tables: keys in a hash table, records by handle, objects in a cache. A table has a fixed number
// of buckets, so its curve rises with the number of its keys.

#include <glib.h>

#include <unordered_map>

#include "bench/support.h"
#include "vr/cache.h"
#include "vr/hash.h"
#include "vr/table.h"

namespace {

using bench::Keys;
using bench::SizeOf;

constexpr int32_t kBuckets = 2048;

struct OurTable {
    OurTable() : table(HashTableCreate(kBuckets, nullptr, 0, 0)) {}
    ~OurTable() {
        HashTableDestroy(table);
    }
    void Install(const std::string& key, uint32_t value) {
        HashTableInstall(table, key.c_str(), value);
    }
    uint32_t Find(const std::string& key) const {
        return HashTableLookup(table, key.c_str());
    }
    HashTable* table;
};

struct StandardMap {
    void Install(const std::string& key, uint32_t value) {
        map.emplace(key, value);
    }
    uint32_t Find(const std::string& key) const {
        const auto found = map.find(key);
        return found == map.end() ? 0 : found->second;
    }
    std::unordered_map<std::string, uint32_t> map;
};

struct GlibTable {
    GlibTable() : table(g_hash_table_new_full(g_str_hash, g_str_equal, g_free, nullptr)) {}
    ~GlibTable() {
        g_hash_table_destroy(table);
    }
    void Install(const std::string& key, uint32_t value) {
        g_hash_table_insert(table, g_strdup(key.c_str()), GUINT_TO_POINTER(value));
    }
    uint32_t Find(const std::string& key) const {
        return GPOINTER_TO_UINT(g_hash_table_lookup(table, key.c_str()));
    }
    GHashTable* table;
};

struct OurCache {
    OurCache() : cache(CacheCreate(kBuckets, nullptr, nullptr, 0)) {}
    ~OurCache() {
        CacheDestroy(cache);
    }
    void Install(const std::string& key, uint32_t value) {
        CacheInstall(cache, key.c_str(), value, 0, 0);
    }
    uint32_t Find(const std::string& key) const {
        return CacheLookup(cache, key.c_str());
    }
    Cache* cache;
};

// The keys in the order in which they are asked for, which is not that of their entry.
std::vector<std::string> Questions(const std::vector<std::string>& keys) {
    std::vector<std::string> questions;
    for (const uint32_t i : bench::RandomOrder(keys.size()))
        questions.push_back(keys[i]);
    return questions;
}

template <typename Table, Keys kind>
void Find(benchmark::State& state) {
    const std::vector<std::string> keys = bench::MakeKeys(SizeOf(state), kind);
    Table table;
    for (const std::string& key : keys)
        table.Install(key, 7);
    const std::vector<std::string> questions = Questions(keys);
    for (auto _ : state)
        for (const std::string& key : questions)
            benchmark::DoNotOptimize(table.Find(key));
    bench::CountItems(state, keys.size());
}

template <typename Table, Keys kind>
void Install(benchmark::State& state) {
    const std::vector<std::string> keys = bench::MakeKeys(SizeOf(state), kind);
    for (auto _ : state) {
        Table table;
        for (const std::string& key : keys)
            table.Install(key, 7);
    }
    bench::CountItems(state, keys.size());
}

struct Record {
    char mark;
    char bytes[31];
};

int32_t TableOf(size_t handles) {
    const int32_t table = tblCreate("bench", sizeof(Record), offsetof(Record, mark), nullptr);
    for (size_t i = 0; i < handles; ++i)
        TblAllocHnd(table);
    return table;
}

std::vector<int32_t> Handles(size_t count) {
    const std::vector<uint32_t> order = bench::RandomOrder(count);
    return {order.begin(), order.end()};
}

void PointerOurs(benchmark::State& state) {
    const int32_t table = TableOf(SizeOf(state));
    const std::vector<int32_t> handles = Handles(SizeOf(state));
    for (auto _ : state)
        for (const int32_t handle : handles)
            benchmark::DoNotOptimize(TblHndToPtr(table, handle));
    bench::CountItems(state, handles.size());
    TblDestroy(table);
}

// What a host with an array would do: look at the bounds and at the mark.
void PointerArray(benchmark::State& state) {
    std::vector<Record> array(SizeOf(state), Record{1, {}});
    const std::vector<int32_t> handles = Handles(SizeOf(state));
    for (auto _ : state) {
        for (const int32_t handle : handles) {
            const auto index = static_cast<size_t>(handle);
            Record* record =
                index < array.size() && array[index].mark != 0 ? &array[index] : nullptr;
            benchmark::DoNotOptimize(record);
        }
    }
    bench::CountItems(state, handles.size());
}

void TakeHandles(benchmark::State& state) {
    for (auto _ : state)
        TblDestroy(TableOf(SizeOf(state)));
    bench::CountItems(state, SizeOf(state));
}

void KeyCounts(benchmark::internal::Benchmark* b) {
    b->Arg(100)->Arg(1000)->Arg(2000)->Arg(20000)->Arg(100000);
}

void HandleCounts(benchmark::internal::Benchmark* b) {
    b->RangeMultiplier(10)->Range(10, 10000);
}

#define EACH_TABLE(what, Case, kind)                                                              \
    BENCHMARK_TEMPLATE(Case, OurTable, kind)->Name("hash/" what "/vrbase")->Apply(KeyCounts);     \
    BENCHMARK_TEMPLATE(Case, StandardMap, kind)->Name("hash/" what "/std-map")->Apply(KeyCounts); \
    BENCHMARK_TEMPLATE(Case, GlibTable, kind)->Name("hash/" what "/glib")->Apply(KeyCounts)

EACH_TABLE("find-alphabetic", Find, Keys::kAlphabetic);
EACH_TABLE("find-numeric", Find, Keys::kNumeric);
EACH_TABLE("install", Install, Keys::kAlphabetic);

BENCHMARK_TEMPLATE(Find, OurCache, Keys::kAlphabetic)->Name("cache/find/vrbase")->Apply(KeyCounts);
BENCHMARK_TEMPLATE(Find, StandardMap, Keys::kAlphabetic)
    ->Name("cache/find/std-map")
    ->Apply(KeyCounts);
BENCHMARK_TEMPLATE(Install, OurCache, Keys::kAlphabetic)
    ->Name("cache/install/vrbase")
    ->Apply(KeyCounts);
BENCHMARK_TEMPLATE(Install, StandardMap, Keys::kAlphabetic)
    ->Name("cache/install/std-map")
    ->Apply(KeyCounts);

BENCHMARK(PointerOurs)->Name("handle/pointer/vrbase")->Apply(HandleCounts);
BENCHMARK(PointerArray)->Name("handle/pointer/array")->Apply(HandleCounts);
BENCHMARK(TakeHandles)->Name("handle/take/vrbase")->Apply(HandleCounts);

}  // namespace
