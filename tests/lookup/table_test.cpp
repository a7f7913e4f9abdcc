// Hash tables, whose keys have known hashes, quarks and handle tables.

#include <algorithm>
#include <climits>
#include <random>
#include <vector>

#include "tests/support/library_test.h"

namespace {

const std::pair<std::string, uint32_t> kKeys[] = {  // each with its hash
    {"", 0},         {"ab", 1},          {"abcd", 0},      {"abcdeQQQ", 4},
    {"abcdeqqq", 4}, {"\xFF\x80", 4929}, {"abc.d", 30135}, {"abcd.efgh", 4247991887}};

struct Entry {
    std::string key;
    uint32_t bucket;
    VrWord value;
};

constexpr VrWord kData = 100;
VrWord owed = 0;  // the sum of what the destructor is to be called with yet

void Destructor(VrWord value, VrWord data) {
    owed -= value + data;
}

int32_t IsMultiple(VrWord value, VrWord argument) {
    return value % argument == 0 ? 0x100 : 0;
}

TEST_F(LibraryTest, RandomChangesAgreeWithTheList) {
    const uint32_t before = ControlBlocksOut();
    std::mt19937 random(1);
    for (int32_t round = 0; round < 60; ++round) {
        const bool fixed = round >= 40;
        HashTable* table = HashTableCreate(1 + round % 7, Destructor, kData, fixed);
        std::vector<Entry> entries;  // in the order of their numbers
        for (int step = 0; step < 100 && !HasFailure(); ++step) {
            const auto& [key, hash] = kKeys[random() % std::size(kKeys)];
            const VrWord value = random() % 4;
            const uint32_t action = random() % 40;
            const uint32_t bucket = hash % uint32_t(table->bucketCount);
            if (action < 22) {
                const auto place = std::ranges::lower_bound(entries, bucket, {}, &Entry::bucket);
                entries.insert(place, {key, bucket, value});
                owed += value + kData;
                HashTableInstall(table, std::string(key).c_str(), value);
                EXPECT_EQ(+table->buckets[bucket]->hash, hash) << key;
            } else if (action < 39) {
                HashTableRemove(table, key.c_str(), value);
                const auto newest = std::ranges::find_if(entries, [&](const Entry& entry) {
                    return entry.key == key && (value == 0 || entry.value == value);
                });
                if (newest != entries.end()) entries.erase(newest);
            } else {
                HashTableRemoveItems(table, IsMultiple, value + 1);
                std::erase_if(entries, [&](auto& entry) { return entry.value % (value + 1) == 0; });
            }

            int32_t number = 0;
            VrWord found = 0;
            for (const Entry& entry : entries) {
                EXPECT_EQ(HashTableEntry(table, number++, &found), entry.key);
                EXPECT_EQ(found, entry.value);
            }
            for (const int32_t past : {number, INT_MAX, -1})
                EXPECT_EQ(HashTableEntry(table, past, nullptr), nullptr);
            const auto newest = std::ranges::find(entries, key, &Entry::key);
            found = newest == entries.end() ? 0 : newest->value;
            EXPECT_EQ(HashTableLookup(table, key.c_str()), found);
        }
        HashTableDestroy(table);
        EXPECT_EQ(owed, 0u);
        EXPECT_TRUE(fixed || ControlBlocksOut() <= before + 16 * 2) << "two pages a pool";
    }
    EXPECT_TRUE(!HashTableCreate(0, nullptr, 0, 0) && !HashTableCreate(INT_MIN, nullptr, 0, 0));
}

TEST_F(LibraryTest, QuarksCountUpAndKeepTheirTexts) {
    for (int32_t step = 0; step < 1000; ++step) {
        const int32_t quark = 1 + step % 500;
        const std::string text(size_t(quark - 1) * 50, 'q');
        EXPECT_EQ(QuarkToString(quark) != nullptr, step == 0 || step >= 500);
        EXPECT_EQ(Quark(std::string(text).c_str()), quark);
        EXPECT_EQ(QuarkToString(quark), text);
    }
    for (const int32_t none : {Quark(nullptr), -1, INT_MIN, INT_MAX})
        EXPECT_EQ(QuarkToString(none), nullptr) << none;
}

TEST_F(LibraryTest, RandomRecordsAgreeWithTheModel) {
    constexpr size_t kSize = 9, kMark = 4;
    std::mt19937 random(3);
    std::pair<int32_t, std::string> tables[25];  // handles, and the bytes of all records
    for (auto& table : tables)
        table = {tblCreate("t", kSize, kMark, nullptr), std::string(10 * kSize, '\0')};
    for (int step = 0; step < 5000 && !HasFailure(); ++step) {
        auto& [table, bytes] = tables[random() % 25];
        size_t at = random() % (bytes.size() / kSize) * kSize;
        if (random() % 5 < 3) {
            for (at = 0; at < bytes.size() && bytes[at + kMark] != 0;)
                at += kSize;
            if (at == bytes.size()) bytes.append(10 * kSize, '\0');
            EXPECT_EQ(TblAllocHnd(table), int32_t(at / kSize));
            bytes.replace(at, kSize, kSize, char(random()));
            bytes[at + kMark] = 1;
            bytes.copy(static_cast<char*>(TblHndToPtr(table, int32_t(at / kSize))), kSize, at);
        } else if (bytes[at + kMark] != 0) {
            bytes.replace(at, kSize, kSize, '\0');
            TblFreeHnd(table, int32_t(at / kSize));
        }
        auto* base = static_cast<char*>(TblBase(table));
        EXPECT_EQ(std::string(base, bytes.size()), bytes);
        EXPECT_EQ(TblHndToPtr(table, int32_t(at / kSize)), bytes[at + kMark] ? base + at : nullptr);
    }
}

// The master's report, as whoever shows it gets it; "end" past the last line.
std::string Line(int32_t first, VrWord line) {
    char buffer[kVrTblLineSize];
    return TblFunc(0)(1, VrWord(first), 2, line, 3, VrWord(buffer)) == 1 ? buffer : "end";
}

TEST_F(LibraryTest, TheMasterReportsOnTablesAndNothingReadsAsNothing) {
    const std::string name = "A name of more than twenty letters";
    auto* const format = reinterpret_cast<TblFormat>(0xBEEF);
    const int32_t handle = tblCreate(std::string(name).c_str(), 1234, 1233, format);
    for (int i = 0; i < 12; ++i)
        TblAllocHnd(handle);
    TblFreeHnd(handle, 4);
    EXPECT_EQ(TblName(handle), name);
    EXPECT_EQ(Line(99, 0), "Table Name           Length   Size   Used   Maximum  Format");
    EXPECT_EQ(Line(handle, 1), "A name of more than    20     1234     11     12     0xbeef    ");
    EXPECT_EQ(Line(9, 1), "[Table not used].........");
    EXPECT_EQ(Line(10, 1) + Line(INT_MAX, 1) + Line(-1, 1), "endendend");

    EXPECT_EQ(TblDestroy(0) + TblFreeHnd(0, 0) + TblDestroy(handle), 3);
    for (const int32_t none : {handle, -1, TblLength(0), INT_MIN, INT_MAX}) {
        EXPECT_EQ(TblAllocHnd(none), -1);
        EXPECT_EQ(TblFreeHnd(none, 0) + TblFreeHnd(0, none) + TblDestroy(none), 3);
        EXPECT_TRUE(!TblHndToPtr(none, 0) && !TblHndToPtr(0, none) && !TblName(none));
    }
    for (const auto& [size, mark] : {std::pair(0, 0), {8, 8}, {8, -1}})
        EXPECT_EQ(tblCreate("bad", size, mark, nullptr), -1);
}

}  // namespace
