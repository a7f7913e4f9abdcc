// Hash tables, whose keys have known hashes, and handle tables.

#include "tests/support/library_test.h"

namespace {

const std::pair<std::string, uint32_t> kKeys[] = {  // each with its hash
    {"", 0},         {"ab", 1},          {"abcd", 0},      {"abcdeQQQ", 4},
    {"abcdeqqq", 4}, {"\xFF\x80", 4929}, {"abc.d", 30135}, {"abcd.efgh", 4247991887}};

std::string ended;  // the values that a destructor was called with, less the data

void Destructor(VrWord value, VrWord data) {
    ended += char(value - data);
}

// The table's values in the order of their numbers.
std::string ValuesOf(const HashTable* table) {
    std::string values;
    VrWord value = 0;
    while (HashTableEntry(table, int32_t(values.size()), &value) != nullptr)
        values += char(value);
    return values;
}

TEST_F(LibraryTest, HashTablesHoldTheirKeysByHash) {
    HashTable* table = HashTableCreate(7, nullptr, 0, 0);
    for (const auto& [key, hash] : kKeys) {
        HashTableInstall(table, std::string(key).c_str(), 100 + hash);
        EXPECT_EQ(+table->buckets[hash % 7]->hash, hash) << key;
        EXPECT_EQ(HashTableLookup(table, key.c_str()), 100 + hash) << key;
    }
    HashTableDestroy(table);
}

TEST_F(LibraryTest, TheNewestEntryOfAKeyIsFoundAndGoesFirst) {
    for (const int32_t fixed : {0, 1}) {
        HashTable* table = HashTableCreate(1, Destructor, 1, fixed);
        for (const char value : std::string("bdfhj"))
            HashTableInstall(table, value == 'd' ? "other" : "key", VrWord(value));
        EXPECT_EQ(ValuesOf(table), "jhfdb");
        HashTableRemove(table, "key", 'f');
        HashTableRemove(table, "key", 'd');
        EXPECT_EQ(HashTableLookup(table, "key"), VrWord('j'));
        HashTableRemove(table, "key", 0);
        EXPECT_EQ(ValuesOf(table), "hdb");
        HashTableRemoveItems(table, nullptr, 0);
        HashTableDestroy(table);
        EXPECT_EQ(std::exchange(ended, ""), "eigca");
    }
}

TEST_F(LibraryTest, TheLowestFreeSlotIsTakenFirst) {
    const int32_t table = tblCreate("t", 9, 4, nullptr);
    for (int32_t slot = 0; slot <= 10; ++slot) {  // one more than there are at first
        EXPECT_EQ(TblAllocHnd(table), slot);
        *static_cast<char*>(TblHndToPtr(table, slot)) = char('a' + slot);
    }
    TblFreeHnd(table, 7);
    TblFreeHnd(table, 3);
    EXPECT_EQ(TblHndToPtr(table, 3), nullptr);
    EXPECT_EQ(TblAllocHnd(table), 3);
    const std::string empty("\0\0\0\0\1\0\0\0\0", 9);
    EXPECT_EQ(std::string(static_cast<char*>(TblHndToPtr(table, 3)), 9), empty);
    EXPECT_EQ(*static_cast<char*>(TblBase(table)), 'a');
}

TEST_F(LibraryTest, TheMasterReportsOnTablesAndNothingReadsAsNothing) {
    auto* const format = reinterpret_cast<TblFormat>(0xBEEF);
    const int32_t handle = tblCreate("A name of more than twenty letters", 1234, 1233, format);
    for (int i = 0; i < 12; ++i)
        TblAllocHnd(handle);
    TblFreeHnd(handle, 4);
    EXPECT_EQ(ReportLine(0, 99, 0), "Table Name           Length   Size   Used   Maximum  Format");
    EXPECT_EQ(ReportLine(0, handle, 1),
              "A name of more than    20     1234     11     12     0xbeef    ");
    EXPECT_EQ(ReportLine(0, 9, 1), "[Table not used].........");
    EXPECT_EQ(ReportLine(0, 10, 1), "end");
    EXPECT_EQ(TblDestroy(0) + TblFreeHnd(0, 0) + TblDestroy(handle), 3);
    for (const int32_t none : {handle, -1, TblLength(0)}) {
        EXPECT_EQ(TblAllocHnd(none), -1);
        EXPECT_EQ(TblFreeHnd(none, 0) + TblFreeHnd(0, none) + TblDestroy(none), 3);
        EXPECT_TRUE(!TblHndToPtr(none, 0) && !TblHndToPtr(0, none) && !TblName(none));
    }
    for (int i = 0; i < 12; ++i)  // the master grows, and its own record moves
        tblCreate(std::to_string(i).c_str(), 1, 0, nullptr);
    EXPECT_EQ(TblLength(0), 20);
    EXPECT_STREQ(TblName(0), "tbl.Master");
    EXPECT_STREQ(TblName(handle + 11), "11");
}

}  // namespace
