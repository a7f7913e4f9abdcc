// The object cache: random calls beside a plain model that says what must happen, and what
// it does for a host that runs out of memory.

#include <functional>
#include <map>
#include <random>

#include "tests/support/arrays.h"
#include "tests/support/library_test.h"

namespace {

struct __attribute__((packed)) Object {
    char unused[18];
    const char *first, *second;
};

struct Item {
    Object object;
    VrWord program = 0;
    int32_t size = 0, time = 0;
    int32_t uses[2] = {};  // stack, class
    bool isThere = false, isPending = false, isResident = false;
    int32_t owed[2] = {};  // releases and ends that the cache has yet to tell, or told in vain
};

template <int which>
void Tell(VrWord object, VrWord owner) {
    EXPECT_EQ(owner, 77u);
    --reinterpret_cast<Item*>(object)->owed[which];
}

const std::string kNames[] = {"", "A", "AB", "a"};

struct Model {
    Model(const char* setting, int32_t bytes) : limit(bytes) {
        DLLPutEnv("VRLCACHESIZE", setting);
        cache = CacheCreate(3, Tell<1>, Tell<0>, 77);
    }

    ~Model() {
        CacheDestroy(cache);
        RemoveIf([](Item&) { return true; });
    }
    void Do(char operation, size_t index, int32_t number, int32_t time) {
        const ClockReading reading = {time, 0, 0, 0};
        ControlFreezeClock(&reading);
        Item& item = items[index];
        const std::string letter(1, char('a' + index));
        const char* name = letter.c_str();
        const auto program = VrWord(number & 3);
        const bool isNew = !item.isThere;
        const std::string& first = kNames[index % 4];
        const std::string& second = kNames[index / 4 % 3];
        const std::map<char, std::function<void()>> calls = {
            {'+', [&] { CacheInstall(cache, name, isNew ? VrWord(&item) : 1, number, program); }},
            {'^', [&] { EXPECT_EQ(CacheIncrObjStr(cache, name), isNew ? 32 : 0); }},
            {'s', [&] { CacheStackCountInc(cache, name); }},
            {'S', [&] { CacheStackCountDec(cache, name); }},
            {'c', [&] { CacheClassUseInc(cache, name); }},
            {'C', [&] { CacheClassUseDecr(cache, name); }},
            {'d', [&] { CacheClassDrop(cache, name); }},
            {'p', [&] { CacheRemoveProgramItems(cache, program); }},
            {'r', [&] { CacheRemoveItems(cache, first.c_str(), second.c_str(), number & 1); }},
            {'m', [&] { MemCallCallbacks(kVrMemoryShort, 0); }}};
        const Object object = {"", first.c_str(), second.c_str()};
        if (operation == '+' && isNew) item = {object, program, std::max(number, 0)};
        if (operation == '+') item.isThere = true;
        if (operation == '+') item.time = time;
        calls.at(operation)();
        if (operation == (isNew ? '+' : '^')) Fit(item);
        if (operation == 's' || operation == 'c') ++item.uses[operation == 'c'];
        int32_t& uses = item.uses[operation == 'C'];
        if (operation == 'S' || operation == 'C') uses = std::max(uses - 1, 0);
        for (Item& each : items)
            if (operation == 'm') Release(each);
        RemoveIf([&](Item& i) {
            if (operation == 'd') return &i == &item && i.uses[1] == 0;
            if (operation == 'p') return i.program == program && i.uses[1] == 0;
            const bool isSecond = second.empty() || second == i.object.second;
            const bool isNamed =
                first.empty() ? number % 2 == 0 : first == i.object.first && isSecond;
            if (operation != 'r' || !isNamed) return false;
            const bool inUse = i.uses[0] + i.uses[1] > 0;
            i.isPending |= inUse && number % 2 != 0;
            return !inUse;
        });
        EXPECT_EQ(CacheLookup(cache, name), item.isThere ? VrWord(&item) : 0);
        EXPECT_EQ(cache->used, used);
        EXPECT_EQ(cache->limit, limit);
    }

    void Release(Item& item) {
        if (!item.isResident || item.uses[0] > 0 || item.isPending) return;
        ++item.owed[0];
        item.isResident = false;
        used -= item.size;
    }

    // The item's body is there, and stays while others go for it.
    void Fit(Item& fitted) {
        fitted.isResident = true;
        used += fitted.size;
        if (used <= limit) return;
        std::map<int32_t, Item*> byTime;
        for (Item& item : items)
            if (&item != &fitted) byTime[item.time] = &item;
        for (const auto& [time, item] : byTime)
            if (limit < 2 * used) Release(*item);
        limit = std::max(limit, used);
    }

    void RemoveIf(const std::function<bool(Item&)>& goes) {
        for (Item& item : items) {
            if (item.isThere && goes(item)) {
                ++item.owed[1];
                if (item.isResident) used -= item.size;
                item.isThere = item.isResident = false;
            }
            EXPECT_TRUE(item.owed[0] == 0 && item.owed[1] == 0);
        }
    }

    Cache* cache;
    Item items[20];
    int32_t used = 0, limit;
};

TEST_F(LibraryTest, RandomCalls) {
    const std::string operations = "+++++++++++++++^^^^^^ssssSSSScccCCCddrrmp";
    const std::pair<const char*, int32_t> limits[] = {
        {"", 300000}, {"no", 0}, {"0060", 60}, {"300", 300}, {"1000", 1000}};
    std::mt19937 random(34);
    for (int round = 0; round < 400; ++round) {
        const auto& [setting, bytes] = limits[random() % 5];
        Model model(setting, bytes);
        for (int step = 0; step < 120; ++step) {
            const char operation = operations[random() % operations.size()];
            const int32_t number = int32_t(random() % uint32_t(bytes / 4 + 20)) - 4;
            model.Do(operation, random() % 20, number, int32_t(random() >> 1));
        }
    }
}

TEST_F(LibraryTest, WithoutReleaseRoutineObjectBucketsOrCache) {
    Cache* cache = CacheCreate(1, nullptr, nullptr, 0);
    for (const char* name : {"a", "b"})
        CacheInstall(cache, name, 0, 200000, 0);
    MemCallCallbacks(kVrMemoryShort, 0);
    CacheRemoveItems(cache, "A", "", 0);
    EXPECT_EQ(cache->used, 400000) << "an item without an object has no name";
    CacheRemoveItems(cache, "", "", 0);
    EXPECT_EQ(cache->used, 0);
    CacheDestroy(cache);
    CacheDestroy(CacheCreate(0, nullptr, nullptr, 0));
    CacheInstall(nullptr, "a", 1, 1, 1);
    EXPECT_EQ(CacheIncrObjStr(nullptr, "a"), 32);
}

// As a host that saves the body first, and can run short in that.
void FreeBody(VrWord object, VrWord) {
    Array(alloc_string(100));
    free_mem(reinterpret_cast<void**>(object));
}

// Each allocation of a host with two caches fails in its turn, and then a large one.
TEST_F(LibraryTest, AShortageReleasesTheFreeBodiesOfAllCaches) {
    ControlMessageBoxes(
        [](void*, const char*, const char*, uint32_t) -> int32_t { return IDRETRY; }, nullptr);
    DLLPutEnv("VRLCACHESIZE", "60");
    const std::string text(9000, 'x');
    for (uint32_t nth = 1; nth < 130; ++nth) {
        Cache* caches[] = {CacheCreate(3, FreeBody, FreeBody, 0),
                           CacheCreate(3, FreeBody, FreeBody, 0)};
        void* bodies[40];
        ControlFailAllocations(nth, 1);
        for (uint32_t i = 0; i < 40; ++i) {
            bodies[i] = alloc_memory(100);
            const std::string name = std::to_string(i);
            CacheInstall(caches[i % 2], name.c_str(), VrWord(&bodies[i]), 10, 0);
            if (i % 4 < 2) CacheStackCountInc(caches[i % 2], name.c_str());
        }
        const Array element(text);
        ControlFailAllocations(1, 1);
        UtilPosition place = {2, 0, 0, 4};
        EXPECT_EQ(TakeText(UtilInsertReplace(&place, NullString(), element, 1)), "^" + text);
        for (uint32_t i = 0; i < 40; ++i) {
            EXPECT_EQ(bodies[i] != nullptr, i % 4 < 2) << nth << " " << i;
            EXPECT_NE(CacheLookup(caches[i % 2], std::to_string(i).c_str()), 0u) << nth;
        }
        for (Cache* cache : caches)
            CacheDestroy(cache);
    }
}

}  // namespace
