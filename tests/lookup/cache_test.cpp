// The object cache: what it asks its host to drop, and what it ends.

#include <algorithm>
#include <cctype>
#include <map>

#include "tests/support/library_test.h"

namespace {

struct __attribute__((packed)) Object {
    char letter;
    char unused[17];
    const char *first, *second;
};

Cache* cache = nullptr;
std::string told;  // the letter of each body to be dropped, a capital for an item that ends

std::map<char, int32_t> usedWhenTold;
void (*duringRelease)() = nullptr;

template <int (*Spell)(int)>
void Tell(VrWord object, VrWord owner) {
    EXPECT_EQ(owner, 77u);
    const char letter = reinterpret_cast<Object*>(object)->letter;
    told += char(Spell(letter));
    if (cache != nullptr) usedWhenTold[letter] = cache->used;
    if (duringRelease != nullptr) std::exchange(duringRelease, nullptr)();
}

struct CacheTest : LibraryTest {
    CacheTest() {
        DLLPutEnv("VRLCACHESIZE", "0100");
        cache = CacheCreate(3, Tell<std::toupper>, Tell<std::tolower>, 77);
    }
    void TearDown() override {
        CacheDestroy(cache);
        LibraryTest::TearDown();
    }
    // The name of an object is its letter.
    void Install(Object& object, int32_t size, int32_t time, VrWord program = 0) {
        const ClockReading reading = {time, 0, 0, 0};
        ControlFreezeClock(&reading);
        CacheInstall(cache, std::string(1, object.letter).c_str(), VrWord(&object), size, program);
    }
    // What was told since the last time, in alphabetical order.
    static std::string Told() {
        std::ranges::sort(told);
        return std::exchange(told, "");
    }
    Object a = {'a', "", "F", "S"}, b = {'b', "", "F", "T"}, c = {'c', "", "G", "S"},
           d = {'d', "", nullptr, nullptr}, e = {'e', "", "", ""}, f = {'f', "", "", ""};
};

TEST_F(CacheTest, TheOldestFreeBodiesGoUntilHalfTheBudgetIsLeft) {
    Install(a, 30, 5);
    Install(b, 30, 2);
    Install(c, 30, 4);
    Install(d, 10, 3);
    EXPECT_EQ(Told(), "") << "an exact fit";
    Install(e, 1, 1);
    EXPECT_EQ(Told(), "bcd") << "the new body stays";
    Install(e, 99, 9);  // sets the time only
    EXPECT_EQ(cache->used, 31);
    CacheStackCountInc(cache, "b");
    EXPECT_EQ(CacheIncrObjStr(cache, "b") + CacheIncrObjStr(cache, "c"), 0);
    EXPECT_EQ(CacheIncrObjStr(cache, "d"), 0);
    EXPECT_EQ(Told(), "ac");
    CacheStackCountInc(cache, "d");
    Install(f, 200, 0);
    EXPECT_EQ(Told(), "e");
    EXPECT_TRUE(cache->used == 240 && cache->limit == 240) << "what cannot be released";
    CacheStackCountDec(cache, "b");
    MemCallCallbacks(kVrMemoryShort, 0);
    EXPECT_EQ(Told(), "bf");
    EXPECT_EQ(CacheIncrObjStr(cache, "x"), 32);
    CacheDestroy(std::exchange(cache, nullptr));
    EXPECT_EQ(Told(), "ABCDEF");
}

TEST_F(CacheTest, ItemsEndByTheirProgramsUnlessTheClassUseHoldsThem) {
    for (Object* object : {&a, &b, &c})
        Install(*object, 1, 0, object == &c ? 2 : 1);
    CacheClassUseInc(cache, "a");
    CacheRemoveProgramItems(cache, 1);
    CacheClassDrop(cache, "a");
    EXPECT_EQ(Told(), "B");
    CacheClassUseDecr(cache, "a");
    CacheClassDrop(cache, "a");
    EXPECT_EQ(Told(), "A");
    EXPECT_EQ(CacheLookup(cache, "a"), 0u);
    EXPECT_EQ(cache->used, 1);
}

TEST_F(CacheTest, ItemsEndByTheNamesTheirObjectsBear) {
    const std::tuple<const char*, const char*, int32_t, std::string> cases[] = {
        {"F", "", 0, "AB"}, {"F", "T", 1, "B"}, {"", "S", 0, "ABCD"}, {"", "", 1, ""}};
    for (const auto& [first, second, mark, ended] : cases) {
        for (Object* object : {&a, &b, &c, &d})
            Install(*object, 1, 0);
        CacheRemoveItems(cache, first, second, mark);
        EXPECT_EQ(Told(), ended);
    }
    CacheStackCountInc(cache, "a");
    CacheRemoveItems(cache, "F", "S", 1);
    CacheStackCountDec(cache, "a");
    MemCallCallbacks(kVrMemoryShort, 0);
    EXPECT_EQ(Told(), "bcd") << "a pending item keeps its body";
}

// A routine is called before its body is counted out; one that runs short of memory has the
// other bodies released, and it may end items of another cache.
TEST_F(CacheTest, WhatARoutineMayDo) {
    static Cache* other = CacheCreate(3, Tell<std::toupper>, Tell<std::tolower>, 77);
    CacheInstall(other, "e", VrWord(&e), 1, 0);
    CacheStackCountInc(other, "e");
    for (Object* object : {&a, &b, &c})
        Install(*object, 30, 0x7FFFFFFF + (object == &a ? 1 : 0));  // in 2038
    duringRelease = [] {
        MemCallCallbacks(kVrMemoryShort, 0);
        CacheClassDrop(other, "e");
    };
    Install(d, 30, 0x7FFFFFFF);
    EXPECT_EQ(told.size(), 4u);
    EXPECT_EQ(usedWhenTold[told[0]], 120);
    EXPECT_EQ(Told(), "Eabc") << "each once";
    EXPECT_EQ(cache->used, 30);
    EXPECT_EQ(CacheLookup(other, "e"), 0u);
    for (Object* object : {&a, &b, &c})
        CacheIncrObjStr(cache, std::string(1, object->letter).c_str());
    EXPECT_NE(Told().find('b'), std::string::npos);
    CacheDestroy(std::exchange(other, nullptr));
    CacheRemoveItems(cache, nullptr, nullptr, 0);
    EXPECT_EQ(cache->used, 0);
    told.clear();
}

}  // namespace
