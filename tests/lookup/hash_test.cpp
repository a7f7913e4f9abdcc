// Hash tables: random changes against a list, with keys whose hashes are known.

#include <algorithm>
#include <climits>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/library_test.h"

namespace {

// Each with its hash; the last one is more than a block of the fixed store holds.
const std::pair<std::string, uint32_t> kKeys[] = {{"", 0},
                                                  {"ab", 1},
                                                  {"abcd", 0},
                                                  {"abcde", 4},
                                                  {"abcdeQQQ", 4},
                                                  {"abcdeqqq", 4},
                                                  {"ABCD", 0xFFFFFFE0},
                                                  {"abc.d", 30135},
                                                  {"abcd.efgh", 4247991887},
                                                  {"\xFF\x80", 4929},
                                                  {std::string(20600, 'a') + "x", 23}};

// Calls of the destructor and the predicate, as pairs of their arguments.
using Calls = std::vector<std::pair<VrWord, VrWord>>;
Calls calls;

void Destructor(VrWord value, VrWord data) {
    calls.emplace_back(value, data);
}

int32_t IsMultiple(VrWord value, VrWord argument) {
    calls.emplace_back(value, argument);
    return value % argument == 0 ? 0x100 : 0;
}

struct Entry {
    std::string key;
    uint32_t bucket;
    VrWord value;
};

class HashTest : public LibraryTest {
protected:
    void Install(std::string key, uint32_t hash, VrWord value) {
        const uint32_t bucket = hash % uint32_t(table->bucketCount);
        const auto place = std::ranges::lower_bound(entries, bucket, {}, &Entry::bucket);
        entries.insert(place, {key, bucket, value});
        HashTableInstall(table, key.c_str(), value);
        const HashEntry& entry = *table->buckets[bucket];
        EXPECT_EQ(+entry.hash, hash) << key;
        EXPECT_TRUE(!table->fixed || static_cast<void*>(entry.key) == &entry + 1);
        key.assign(key.size(), '?');  // the table has a copy
    }

    template <typename Selects>
    void ExpectRemoved(Selects selects) {
        std::erase_if(entries, [&](const Entry& entry) {
            const bool goes = selects(entry);
            if (goes && data != 0) expected.emplace_back(entry.value, data);
            return goes;
        });
    }

    void Change(uint32_t dice) {
        const auto& [key, hash] = kKeys[dice % std::size(kKeys)];
        const VrWord value = dice / 100 % 4;
        const uint32_t action = dice / 1000 % 40;
        if (action < 22) return Install(key, hash, value);
        if (action < 38) {
            HashTableRemove(table, key.c_str(), value);
            return ExpectRemoved([&, &name = key, done = false](const Entry& entry) mutable {
                const bool matches = entry.key == name && (value == 0 || entry.value == value);
                return matches && !std::exchange(done, true);
            });
        }
        HashTableRemoveItems(table, action == 38 ? nullptr : IsMultiple, value + 1);
        ExpectRemoved([&](const Entry& entry) {
            if (action != 38) expected.emplace_back(entry.value, value + 1);
            return action == 38 || entry.value % (value + 1) == 0;
        });
    }

    void Check() {
        int32_t number = 0;
        VrWord value = 77;
        for (const Entry& entry : entries) {
            EXPECT_EQ(HashTableEntry(table, number++, &value), entry.key);
            EXPECT_EQ(std::exchange(value, 77), entry.value);
        }
        for (const int32_t past : {number, INT_MAX, -1})
            EXPECT_EQ(HashTableEntry(table, past, &value), nullptr);
        EXPECT_EQ(value, 77u);
        for (const auto& row : kKeys) {
            const auto found = std::ranges::find(entries, row.first, &Entry::key);
            value = found == entries.end() ? 0 : found->value;
            EXPECT_EQ(HashTableLookup(table, row.first.c_str()), value);
        }
        EXPECT_EQ(calls, expected);
    }

    HashTable* table = nullptr;
    VrWord data = 0;
    std::vector<Entry> entries;  // in the order of their numbers
    Calls expected;
};

TEST_F(HashTest, RandomChangesAgreeWithTheList) {
    const uint32_t before = ControlBlocksOut();
    for (uint32_t seed = 0; seed < 60 && !HasFailure(); ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        data = seed % 4;  // 0: no destructor
        table = HashTableCreate(int32_t(1 + seed % 7), data ? Destructor : nullptr, data,
                                seed < 40 ? 0 : 2);
        for (int step = 0; step < 100 && !HasFailure(); ++step) {
            Change(random());
            Check();
        }
        HashTableDestroy(table);
        ExpectRemoved([](const Entry&) { return true; });
        EXPECT_EQ(std::exchange(calls, {}), std::exchange(expected, {}));
        EXPECT_TRUE(seed >= 40 || ControlBlocksOut() <= before + 16 * 2) << "two free pages a pool";
    }
}

TEST_F(HashTest, ABucketMayLoseEntriesWhileAnInstallIsShortOfMemory) {
    table = HashTableCreate(1, nullptr, 0, 0);
    HashTableInstall(table, "older", 1);
    HashTableInstall(table, "newer", 2);
    const auto release = [](VrWord word, VrWord) {
        HashTableRemove(reinterpret_cast<HashTable*>(word), "newer", 0);
    };
    MemAddCallback(kVrMemoryShort, release, VrWord(table));
    boxes.answers = {IDOK, IDRETRY};
    ControlFailAllocations(1, 1);
    HashTableInstall(table, std::string(100, 'k').c_str(), 3);
    EXPECT_STREQ(HashTableEntry(table, 1, &data), "older");
    HashTableDestroy(table);
}

using HashDeathTest = HashTest;

TEST_F(HashDeathTest, NullTablesArePassedOverAndBucketCountsDoNotWrapRound) {
    HashTableDestroy(nullptr);
    HashTableInstall(nullptr, "a", 1);
    HashTableRemove(nullptr, "a", 0);
    HashTableRemoveItems(nullptr, nullptr, 0);
    EXPECT_TRUE(!HashTableLookup(nullptr, "a") && !HashTableEntry(nullptr, 0, &data));
    EXPECT_TRUE(!HashTableCreate(0, nullptr, 0, 0) && !HashTableCreate(INT_MIN, nullptr, 0, 0));
    for (const int32_t buckets : {0x40000000, 0x40000001})
        EXPECT_EXIT(HashTableCreate(buckets, nullptr, 0, 0), testing::ExitedWithCode(9), "");
}

}  // namespace
