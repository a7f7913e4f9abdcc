// The object cache against a model: what it asks its host to drop, what it ends, and when.

#include "tests/support/library_test.h"

namespace {

struct __attribute__((packed)) Object {
    char letter;
    char unused[17];
    const char *first, *second;
};

Object objects[] = {{'a', "", "F", "S"},         {'b', "", "F", "T"}, {'c', "", "G", "S"},
                    {'d', "", nullptr, nullptr}, {'e', "", "", ""},   {'f', "", "F", "S"}};

Cache* cache = nullptr;
std::string told;  // the letter of each body to be dropped, a capital for an item that ends
void (*duringRelease)() = nullptr;

template <int (*Spell)(int)>
void Tell(VrWord object, VrWord owner) {
    EXPECT_EQ(owner, 77u);
    told += char(Spell(object == 0 ? 'z' : reinterpret_cast<Object*>(object)->letter));
    if (duringRelease != nullptr) std::exchange(duringRelease, nullptr)();
}

struct Item {
    char name;  // the letter of its object; z has none
    int32_t size;
    VrWord program;
    int32_t time;
    int32_t stack = 0, uses = 0;
    bool pending = false, resident = true;

    const Object* ObjectOf() const {
        return name == 'z' ? nullptr : &objects[name - 'a'];
    }
    // Its first or second name, read as a member of a packed record.
    std::string NameOf(bool isFirst) const {
        if (ObjectOf() == nullptr) return "";
        const char* text = isFirst ? ObjectOf()->first : ObjectOf()->second;
        return text == nullptr ? "" : text;
    }
};

const std::tuple<void (*)(Cache*, const char*), int32_t Item::*, int32_t> kCounts[] = {
    {CacheStackCountInc, &Item::stack, 1},
    {CacheStackCountDec, &Item::stack, -1},
    {CacheClassUseInc, &Item::uses, 1},
    {CacheClassUseDecr, &Item::uses, -1}};

// With one bucket, the newest item stands first and walks go in that order.
struct Model {
    std::vector<Item> items;
    int32_t used = 0, limit = 0;
    std::string tells;

    Item* Find(char name) {
        const auto item = std::ranges::find(items, name, &Item::name);
        return item == items.end() ? nullptr : &*item;
    }
    void Release(Item& item) {
        if (!item.resident || item.stack != 0 || item.pending) return;
        tells += item.name;
        item.resident = false;
        used = std::max(used - item.size, 0);
    }
    // The oldest first, until half the budget is reached; what stays raises the budget.
    void KeepBudget() {
        if (used <= limit) return;
        std::map<int32_t, Item*> byTime;
        for (Item& item : items)
            if (item.ObjectOf() != nullptr) byTime[item.time] = &item;
        for (const auto& [time, item] : byTime)
            if (2 * used > limit) Release(*item);
        limit = std::max(limit, used);
    }
    template <typename Ends>
    void End(Ends ends) {
        for (const Item& item : items) {
            if (!ends(item)) continue;
            tells += char(std::toupper(item.name));
            if (item.resident) used = std::max(used - item.size, 0);
        }
        std::erase_if(items, ends);
    }
    void Install(const Item& item) {
        if (Item* known = Find(item.name)) {
            known->time = item.time;
            return;
        }
        used += item.size;
        KeepBudget();
        items.insert(items.begin(), item);
    }
    int32_t BringBack(char name) {
        Item* item = Find(name);
        if (item == nullptr) return 32;
        item->resident = true;
        used += item->size;
        ++item->stack;
        KeepBudget();
        --item->stack;
        return 0;
    }
    void RemoveItems(const std::string& first, const std::string& second, bool mark) {
        const auto matches = [&](const Item& item) {
            if (first.empty()) return !mark;
            return item.NameOf(true) == first && (second.empty() || item.NameOf(false) == second);
        };
        for (Item& item : items)
            if (matches(item)) item.pending |= mark && (item.stack != 0 || item.uses != 0);
        End([&](const Item& item) { return matches(item) && item.stack == 0 && item.uses == 0; });
    }
};

struct CacheTest : LibraryTest {
    CacheTest() {
        DLLPutEnv("VRLCACHESIZE", "0100");
    }
    static Cache* Create() {
        return CacheCreate(1, Tell<std::toupper>, Tell<std::tolower>, 77);
    }
    // At a time around the end of 31 bits.
    static void Install(char name, int32_t size, int32_t time, VrWord program = 0) {
        const ClockReading reading = {INT64_C(0x7FFFFC00) + time, 0, 0, 0};
        ControlFreezeClock(&reading);
        const VrWord object = name == 'z' ? 0 : VrWord(&objects[name - 'a']);
        CacheInstall(cache, std::string(1, name).c_str(), object, size, program);
    }
};

TEST_F(CacheTest, ItDropsAndEndsWhatTheModelDoes) {
    std::mt19937 random(1);
    const auto oneOf = [&random](auto... values) {
        return std::array{values...}[random() % sizeof...(values)];
    };
    Model model;
    for (int32_t step = 0; step < 8000 && !HasFailure(); ++step) {
        if (step % 100 == 0) {
            CacheDestroy(cache);
            model.End([](const Item&) { return true; });
            EXPECT_EQ(std::exchange(told, ""), std::exchange(model.tells, "")) << step;
            cache = Create();
            model = {{}, 0, 100, ""};
        }
        const char letter = oneOf('a', 'b', 'c', 'd', 'e', 'f', 'z');
        const char name[] = {letter, 0};
        Item* item = model.Find(letter);
        const int32_t size = oneOf(-5, 0, 10, 10, 20, 25, 30, 50);
        const VrWord program = random() % 3;
        const std::string first = oneOf("", "F", "F", "G"), second = oneOf("", "S", "T");
        const int32_t mark = oneOf(0, 1, 1);
        const uint32_t action = random() % 30;
        SCOPED_TRACE(testing::Message() << step << ": " << action << ' ' << letter);
        if (action < 12) {
            Install(letter, size, step, program);
            model.Install({letter, std::max(size, 0), program, step});
        } else if (action < 17) {
            EXPECT_EQ(CacheIncrObjStr(cache, name), model.BringBack(letter));
        } else if (action < 25) {
            const auto& [count, field, by] = kCounts[random() % std::size(kCounts)];
            count(cache, name);
            if (item != nullptr) item->*field = std::max(item->*field + by, 0);
        } else if (action == 25) {
            CacheClassDrop(cache, name);
            model.End([=](const Item& each) { return each.name == letter && each.uses == 0; });
        } else if (action < 28) {
            CacheRemoveItems(cache, first.c_str(), second.c_str(), mark);
            model.RemoveItems(first, second, mark != 0);
        } else if (action == 28) {
            CacheRemoveProgramItems(cache, program);
            model.End([=](const Item& each) { return each.program == program && each.uses == 0; });
        } else {
            MemCallCallbacks(kVrMemoryShort, 0);
            for (Item& each : model.items)
                model.Release(each);
        }
        EXPECT_EQ(std::exchange(told, ""), std::exchange(model.tells, ""));
        EXPECT_EQ(+cache->used, model.used);
        EXPECT_EQ(+cache->limit, model.limit);
        item = model.Find(letter);
        EXPECT_EQ(CacheLookup(cache, name), VrWord(item == nullptr ? nullptr : item->ObjectOf()));
    }
    CacheDestroy(cache);
    told.clear();
}

// A routine is called before its body is counted out; one that runs short of memory has the
// other bodies released, and it may end items of another cache.
TEST_F(CacheTest, WhatARoutineMayDo) {
    static Cache* other = Create();
    CacheInstall(other, "e", VrWord(&objects[4]), 1, 0);
    CacheStackCountInc(other, "e");
    cache = Create();
    for (const char name : {'a', 'b', 'c'})
        Install(name, 30, name == 'a' ? 2 : 1);
    duringRelease = [] {
        EXPECT_EQ(+cache->used, 120);
        CacheClassDrop(other, "e");
        MemCallCallbacks(kVrMemoryShort, 0);
    };
    Install('d', 30, 1);
    EXPECT_EQ(std::string(1, told[0]).find_first_of("bc"), 0u) << told << " begins with an oldest";
    std::ranges::sort(told);
    EXPECT_EQ(std::exchange(told, ""), "Eabc") << "each once";
    EXPECT_EQ(+cache->used, 30);
    EXPECT_EQ(CacheLookup(other, "e"), 0u);
    for (Cache* each : {cache, other})
        CacheDestroy(each);
}

TEST_F(CacheTest, WithoutItsVariableTheBudgetIs300000) {
    DLLPutEnv("VRLCACHESIZE", nullptr);
    cache = Create();
    EXPECT_EQ(+cache->limit, 300'000);
    CacheRemoveItems(cache, nullptr, nullptr, 0);
    CacheDestroy(cache);
}

}  // namespace
