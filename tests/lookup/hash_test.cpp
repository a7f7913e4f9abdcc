// Hash tables: random changes against a list, with keys whose hashes are known.

#include <algorithm>
#include <climits>
#include <random>
#include <vector>

#include "tests/support/library_test.h"

namespace {

const std::pair<std::string, uint32_t> kKeys[] = {  // each with its hash
    {"", 0},         {"ab", 1},          {"abcd", 0},      {"abcdeQQQ", 4},
    {"abcdeqqq", 4}, {"\xFF\x80", 4929}, {"abc.d", 30135}, {"abcd.efgh", 4247991887}};

constexpr VrWord kData = 100;
VrWord gone = 0;  // the sum of what the destructor was called with

void Destructor(VrWord value, VrWord data) {
    gone += value + data;
}

int32_t IsMultiple(VrWord value, VrWord argument) {
    return value % argument == 0 ? 0x100 : 0;
}

struct Entry {
    std::string key;
    uint32_t bucket;
    VrWord value;
};

class HashTest : public LibraryTest {
protected:
    void Install(const std::string& key, uint32_t hash, VrWord value) {
        const uint32_t bucket = hash % uint32_t(table->bucketCount);
        const auto place = std::ranges::lower_bound(entries, bucket, {}, &Entry::bucket);
        entries.insert(place, {key, bucket, value});
        installed += value + kData;
        HashTableInstall(table, std::string(key).c_str(), value);
        EXPECT_EQ(+table->buckets[bucket]->hash, hash) << key;
    }

    void Remove(const std::string& key, VrWord value) {
        HashTableRemove(table, key.c_str(), value);
        const auto newest = std::ranges::find_if(entries, [&](const Entry& entry) {
            return entry.key == key && (value == 0 || entry.value == value);
        });
        if (newest != entries.end()) entries.erase(newest);
    }

    void RemoveMultiples(VrWord factor) {
        HashTableRemoveItems(table, IsMultiple, factor);
        std::erase_if(entries, [&](const Entry& entry) { return entry.value % factor == 0; });
    }

    void Check() {
        int32_t number = 0;
        VrWord value = 0;
        for (const Entry& entry : entries) {
            EXPECT_EQ(HashTableEntry(table, number++, &value), entry.key);
            EXPECT_EQ(value, entry.value);
        }
        for (const int32_t past : {number, INT_MAX, -1})
            EXPECT_EQ(HashTableEntry(table, past, nullptr), nullptr);
        for (const auto& row : kKeys) {
            const auto newest = std::ranges::find(entries, row.first, &Entry::key);
            value = newest == entries.end() ? 0 : newest->value;
            EXPECT_EQ(HashTableLookup(table, row.first.c_str()), value);
        }
    }

    HashTable* table = nullptr;
    std::vector<Entry> entries;  // in the order of their numbers
    VrWord installed = 0;        // the sum of all that the destructor is to get
};

TEST_F(HashTest, RandomChangesAgreeWithTheList) {
    const uint32_t before = ControlBlocksOut();
    std::mt19937 random(1);
    for (int32_t round = 0; round < 60; ++round) {
        table =
            HashTableCreate(1 + round % 7, Destructor, kData, round / 40);  // the last are fixed
        for (int step = 0; step < 100 && !HasFailure(); ++step) {
            const auto& [key, hash] = kKeys[random() % std::size(kKeys)];
            const VrWord value = random() % 4;
            const uint32_t action = random() % 40;
            if (action < 22) Install(key, hash, value);
            if (action >= 22) Remove(key, value);
            if (action == 39) RemoveMultiples(value + 1);
            Check();
        }
        HashTableDestroy(table);
        entries.clear();
        EXPECT_EQ(gone, installed);
        EXPECT_TRUE(round >= 40 || ControlBlocksOut() <= before + 16 * 2) << "two pages a pool";
    }
    EXPECT_TRUE(!HashTableCreate(0, nullptr, 0, 0) && !HashTableCreate(INT_MIN, nullptr, 0, 0));
    EXPECT_EXIT(HashTableCreate(0x40000001, nullptr, 0, 0), testing::ExitedWithCode(9), "");
}

}  // namespace
