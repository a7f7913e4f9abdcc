// Quarks and handle tables.

#include <algorithm>
#include <climits>
#include <cstring>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/library_test.h"

namespace {

TEST_F(LibraryTest, QuarksCountUpAndKeepTheirTexts) {
    std::vector<std::string> texts = {"", "abcde", "aQQQe", "ABCDE", std::string(40000, '\xFF')};
    while (texts.size() < 1000)
        texts.push_back("text " + std::to_string(texts.size()));
    const uint32_t before = ControlBlocksOut();
    for (const bool known : {false, true}) {
        int32_t quark = 1;
        for (std::string text : texts) {
            EXPECT_EQ(QuarkToString(quark) != nullptr, known || quark == 1);
            EXPECT_EQ(Quark(text.c_str()), quark);
            EXPECT_EQ(QuarkToString(quark++), text);
            text.assign(text.size(), '?');  // the library has a copy
        }
    }
    EXPECT_LT(ControlBlocksOut(), before + 10) << "no text costs a block of its own";
    EXPECT_EQ(Quark(nullptr), 0);
    for (const int32_t quark : {0, -1, INT_MIN, INT_MAX})
        EXPECT_EQ(QuarkToString(quark), nullptr) << quark;
}

const Tbl& TableOf(int32_t handle) {
    return static_cast<const Tbl*>(TblBase(0))[handle];
}

using Records = std::vector<std::string>;  // an empty text for a free slot

TEST_F(LibraryTest, RandomRecordsAgreeWithTheModel) {
    std::mt19937 random(3);
    std::pair<int32_t, Records> tables[25];
    for (int32_t i = 0; i < 25; ++i)  // the master table grows
        tables[i] = {tblCreate("t", 1 + 7 * i, 3 * i, nullptr), Records(10)};
    for (int step = 0; step < 5000 && !HasFailure(); ++step) {
        const size_t number = random() % std::size(tables);
        auto& [handle, records] = tables[number];
        const size_t size = 1 + 7 * number;
        const std::string zeros(size, '\0');
        size_t slot = random() % records.size();
        if (random() % 5 < 3) {
            slot = size_t(std::find(records.begin(), records.end(), "") - records.begin());
            if (slot == records.size()) records.resize(slot + 10);
            records[slot] = zeros;
            records[slot][3 * number] = 1;
            EXPECT_EQ(TblAllocHnd(handle), int32_t(slot));
        } else if (!records[slot].empty()) {
            records[slot].clear();
            EXPECT_EQ(TblFreeHnd(handle, int32_t(slot)), 1);
        }
        EXPECT_EQ(TblLength(handle), std::ssize(records));
        EXPECT_EQ(TableOf(handle).used + std::count(records.begin(), records.end(), ""),
                  std::ssize(records));
        auto* place = static_cast<char*>(TblBase(handle));
        for (size_t i = 0; i < records.size(); ++i, place += size) {
            EXPECT_EQ(TblHndToPtr(handle, int32_t(i)), records[i].empty() ? nullptr : place);
            EXPECT_EQ(std::string(place, size), records[i].empty() ? zeros : records[i]);
            if (i == slot && number > 0 && !records[i].empty())
                records[i][0] = records[i].back() = place[0] = place[size - 1] = char(random());
        }
    }
}

// The master's report, as whoever shows it gets it; "end" past the last line.
std::string Line(VrWord first, VrWord line) {
    char buffer[kVrTblLineSize];
    return TblFunc(0)(1, first, 2, line, 3, VrWord(buffer)) == 1 ? buffer : "end";
}

TEST_F(LibraryTest, TheMasterTableHoldsATableAsItWasMade) {
    char name[] = "A name of more than twenty letters";
    char tag[] = "module";
    auto* const format = reinterpret_cast<TblFormat>(0xBEEF);
    const int32_t handle = _tblCreate(name, 1234, 1233, format, tag, 77);
    name[0] = tag[0] = '?';
    const Tbl& table = TableOf(handle);
    const Tbl made = {1, table.name, table.moduleTag, 77, 10, 1234, table.base, nullptr, 1233,
                      0, 0,          format,          0};
    EXPECT_EQ(std::memcmp(&table, &made, sizeof made), 0);
    EXPECT_STREQ(TblName(handle), "A name of more than twenty letters");
    EXPECT_STREQ(table.moduleTag, "module");
    EXPECT_TRUE(TblFunc(handle) == format && TblBase(handle) == table.base);
    EXPECT_STREQ(TblName(0), "tbl.Master");
    EXPECT_STREQ(TableOf(0).moduleTag, "tbl");
    EXPECT_EQ(*TableOf(0).baseVariable, TblBase(0));

    for (int i = 0; i < 12; ++i)
        TblAllocHnd(handle);
    for (int i = 0; i < 5; ++i)
        TblFreeHnd(handle, i);
    EXPECT_EQ(TblAllocHnd(handle), 0);
    EXPECT_EQ(_tblCreate(nullptr, 1, 0, nullptr, nullptr, 0), handle + 1);
    const auto here = VrWord(handle);
    EXPECT_EQ(Line(99, 0), "Table Name           Length   Size   Used   Maximum  Format");
    EXPECT_EQ(Line(here, 1), "A name of more than    20     1234      8     12     0xbeef    ");
    EXPECT_EQ(Line(1, here + 1), "                       10        1      0      0     0x0       ");
    EXPECT_EQ(Line(9, 1), "[Table not used].........");
    for (const auto& [first, line] : {std::pair(9u, 2u), {0, 11}, {INT_MAX, 1}, {UINT_MAX, 1}})
        EXPECT_EQ(Line(first, line), "end");
}

using TableDeathTest = LibraryTest;

TEST_F(TableDeathTest, HandlesOfNothingReadAsNothing) {
    const int32_t table = tblCreate("t", 8, 4, nullptr);
    const int32_t gone = tblCreate("gone", 8, 4, nullptr);
    EXPECT_EQ(TblAllocHnd(gone), 0);
    TblDestroy(gone);
    for (const int32_t handle : {gone, -1, TblLength(0), INT_MIN, INT_MAX}) {
        EXPECT_EQ(TblAllocHnd(handle), -1);
        EXPECT_EQ(TblFreeHnd(handle, 0) + TblDestroy(handle) + TblLength(handle), 2);
        EXPECT_TRUE(!TblHndToPtr(handle, 0) && !TblBase(handle));
        EXPECT_TRUE(!TblFunc(handle) && !TblName(handle));
    }
    for (const auto& [size, mark] : {std::pair(0, 0), {8, 8}, {8, -1}})
        EXPECT_EQ(tblCreate("bad", size, mark, nullptr), -1);
    // A size of which ten wrap round to 4 bytes.
    EXPECT_EXIT(tblCreate("bad", 0x1999999A, 0, nullptr), testing::ExitedWithCode(9), "");
    TblDestroy(0);
    TblFreeHnd(0, 0);
    EXPECT_EQ(+TableOf(0).used, gone);

    // A mark of 2 is neither free nor taken; a record given back twice counts twice.
    TblAllocHnd(table);
    static_cast<char*>(TblHndToPtr(table, 0))[4] = 2;
    EXPECT_EQ(TblHndToPtr(table, 0), nullptr);
    EXPECT_EQ(TblAllocHnd(table), 1);
    for (const int32_t record : {1, 1, -1, 10, INT_MIN, INT_MAX}) {
        EXPECT_EQ(TblFreeHnd(table, record), 1);
        EXPECT_EQ(TblHndToPtr(table, record), nullptr);
    }
    EXPECT_EQ(+TableOf(table).used, 0);
}

TEST_F(LibraryTest, WhatIsLeftServesExitRoutinesAndGoesWithTheLibrary) {
    for (int i = 0; i < 30; ++i)
        TblAllocHnd(tblCreate(std::string(100, 'n').c_str(), 100, 0, nullptr));
    HashTableInstall(HashTableCreate(3, nullptr, 0, 1), "left", 5);
    VrExitAdd([] {
        EXPECT_EQ(Quark(std::string(100000, 'q').c_str()), 2);
        EXPECT_EQ(TblAllocHnd(tblCreate("late", 100, 0, nullptr)), 0);
        MemFixedAlloc(100000);
    });
}

}  // namespace
