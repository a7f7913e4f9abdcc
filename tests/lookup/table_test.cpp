// Hash tables and handle tables against plain models; quarks.

#include "tests/support/library_test.h"

namespace {

using Key = std::pair<std::string, uint32_t>;  // with its hash
using Entry = std::pair<std::string, VrWord>;

// Keys of letters are sampled at one byte in four.
const Key kKeys[] = {
    {"", 0},         {"ab", 1},          {"abcd", 0},      {"abcdeQQQ", 4},
    {"abcdeqqq", 4}, {"\xFF\x80", 4929}, {"abc.d", 30135}, {"abcd.efgh", 4247991887}};

std::string ended;  // the values that the destructor was called with

void Destructor(VrWord value, VrWord data) {
    ended += data == 99 ? char(value) : '?';
}

int32_t IsBelow(VrWord value, VrWord limit) {
    return int32_t{value < limit};
}

// The table, bucket by bucket.
std::string EntriesOf(const HashTable* table) {
    std::string entries;
    VrWord value = 0;
    for (int32_t i = 0; const char* key = HashTableEntry(table, i, &value); ++i)
        entries += key + std::string("=") + char(value) + ' ';
    return entries;
}

// The newest entry is a bucket's first. Removing by value 0 takes that of the key.
TEST_F(LibraryTest, HashTablesKeepTheOrderOfTheirBuckets) {
    std::mt19937 random(1);
    for (const auto& [size, fixed] : {std::pair(1, 0), {7, 1}, {7, 0}, {8, 0}, {64, 1}}) {
        HashTable* table = HashTableCreate(size, Destructor, 99, fixed);
        std::vector<std::vector<Entry>> buckets(static_cast<size_t>(size));
        for (int step = 0; step < 500; ++step) {
            const auto& [key, hash] = kKeys[random() % std::size(kKeys)];
            auto& bucket = buckets[hash % buckets.size()];
            const VrWord value = random() % 9 == 0 ? 0 : 'a' + random() % 8;
            std::string gone;
            if (random() % 2 == 0 && value != 0) {
                HashTableInstall(table, key.c_str(), value);
                bucket.insert(bucket.begin(), {key, value});
            } else if (random() % 20 != 0) {
                HashTableRemove(table, key.c_str(), value);
                const auto entry = std::ranges::find_if(bucket, [&, &k = key](const Entry& each) {
                    return each.first == k && (value == 0 || each.second == value);
                });
                if (entry != bucket.end()) gone = char(entry->second), bucket.erase(entry);
            } else {
                const VrWord limit = value == 0 ? UINT32_MAX : value;
                HashTableRemoveItems(table, value == 0 ? nullptr : IsBelow, limit);
                for (auto& each : buckets)
                    std::erase_if(each, [&](const Entry& entry) {
                        if (entry.second < limit) gone += char(entry.second);
                        return entry.second < limit;
                    });
            }
            std::string expected;
            for (const auto& each : buckets)
                for (const auto& [text, number] : each)
                    expected += text + "=" + char(number) + ' ';
            ASSERT_EQ(EntriesOf(table), expected);
            ASSERT_EQ(std::exchange(ended, ""), gone);
            const auto newest = std::ranges::find(bucket, key, &Entry::first);
            ASSERT_EQ(HashTableLookup(table, key.c_str()),
                      newest == bucket.end() ? 0 : newest->second);
        }
        HashTableRemoveItems(table, nullptr, 0);
        HashTableInstall(table, "key", 'z');
        ended.clear();
        HashTableDestroy(table);
        EXPECT_EQ(std::exchange(ended, ""), "z");
    }
}

TEST_F(LibraryTest, QuarksCountTheirTextsFromTheEmptyOne) {
    EXPECT_EQ(Quark(""), 1);
    for (const char* round : {"made", "found"}) {
        for (int32_t i = 2; i < 500; ++i)
            ASSERT_EQ(Quark(std::to_string(i).c_str()), i) << round;
    }
    for (int32_t i = 2; i < 500; ++i)
        ASSERT_EQ(QuarkToString(i), std::to_string(i));
    EXPECT_EQ(QuarkToString(500), nullptr);
}

struct TableModel {
    std::string name;
    std::string slots = std::string(10, '.');  // the record's letter, a dot for a free slot
    int32_t used = 0, maximum = 0;

    // The lowest free slot; without one there come ten more.
    int32_t Take(char letter) {
        if (slots.find('.') == slots.npos) slots.append(10, '.');
        maximum = std::max(maximum, ++used);
        const size_t slot = slots.find('.');
        slots[slot] = letter;
        return int32_t(slot);
    }
    std::string Line(int32_t size, VrWord format) const {
        char line[kVrTblLineSize];
        std::snprintf(line, sizeof line, "%-20.20s   %2zu     %4d   %4d   %4d     0x%-8x",
                      name.c_str(), slots.size(), size, used, maximum, format);
        return line;
    }
};

// A new record is zero but for its mark.
std::string RecordsOf(int32_t table) {
    std::string letters;
    for (int32_t slot = 0; slot < TblLength(table); ++slot) {
        const auto* record = static_cast<const char*>(TblHndToPtr(table, slot));
        letters += record == nullptr ? '.' : *record;
    }
    return letters;
}

TEST_F(LibraryTest, TheLowestFreeSlotIsTakenAndTheMasterCountsItsTables) {
    constexpr VrWord kFormat = 0xBEEF;
    std::mt19937 random(1);
    TableModel master = {"tbl.Master"};
    std::map<int32_t, TableModel> tables;
    for (const char first : {'m', 'd'})  // itself and the table of libraries
        master.Take(first);
    for (int step = 0; step < 1500 && !HasFailure(); ++step) {
        if (random() % 60 == 0 || tables.empty()) {
            const std::string name = std::string(random() % 30, 'n') + std::to_string(step);
            const auto format = reinterpret_cast<TblFormat>(kFormat);
            const int32_t handle = tblCreate(name.c_str(), 7, 6, format);
            ASSERT_EQ(handle, master.Take('t'));
            tables[handle] = {name};
        }
        const auto each = std::next(tables.begin(), ptrdiff_t(random() % tables.size()));
        auto& [table, model] = *each;
        const size_t slot = random() % model.slots.size();
        if (model.slots[slot] == '.' || random() % 3 == 0) {
            auto* record = static_cast<char*>(TblHndToPtr(table, TblAllocHnd(table)));
            ASSERT_EQ(std::string(record, 7), std::string("\0\0\0\0\0\0\1", 7));
            std::memset(record, 'a' + step % 26, 6);
            model.Take(char('a' + step % 26));
        } else {
            EXPECT_EQ(TblFreeHnd(table, int32_t(slot)), 1);
            model.slots[slot] = '.';
            --model.used;
        }
        EXPECT_EQ(RecordsOf(table), model.slots);
        EXPECT_EQ(ReportLine(0, VrWord(table), 1), model.Line(7, kFormat));
        EXPECT_EQ(ReportLine(0, 0, 1), master.Line(49, VrWord(TblFunc(0))));
        EXPECT_EQ(ReportLine(0, master.slots.size(), 1), "end");
        if (random() % 90 != 0) continue;
        EXPECT_EQ(TblDestroy(table), 1);
        EXPECT_EQ(ReportLine(0, VrWord(table), 1), "[Table not used].........");
        master.slots[size_t(table)] = '.';
        --master.used;
        tables.erase(each);
    }
    EXPECT_GT(master.slots.size(), 10u) << "its own record has moved";
}

TEST_F(LibraryTest, NoTableIsNothing) {
    EXPECT_EQ(ReportLine(0, 99, 0), "Table Name           Length   Size   Used   Maximum  Format");
    const int32_t gone = tblCreate("t", 4, 0, nullptr);
    for (const int32_t table : {0, gone})  // the master stays
        EXPECT_EQ(TblDestroy(table), 1);
    EXPECT_EQ(TblFreeHnd(0, 0), 1);
    EXPECT_STREQ(TblName(0), "tbl.Master");
    for (const int32_t none : {gone, -1, TblLength(0)}) {
        EXPECT_EQ(TblAllocHnd(none), -1);
        for (const int32_t ignored : {TblFreeHnd(none, 0), TblFreeHnd(0, none), TblDestroy(none)})
            EXPECT_EQ(ignored, 1);
        EXPECT_EQ(TblHndToPtr(none, 0), nullptr);
        EXPECT_EQ(TblHndToPtr(0, none), nullptr);
        EXPECT_EQ(TblName(none), nullptr);
    }
}

}  // namespace
