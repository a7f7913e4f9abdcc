// Quarks and handle tables.

#include <climits>
#include <random>

#include "tests/support/library_test.h"

namespace {

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
    constexpr size_t kSize = 9;
    constexpr size_t kMark = 4;
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

TEST_F(LibraryTest, TheMasterTableReportsOnEachTable) {
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
    for (const int32_t first : {10, INT_MAX, -1})
        EXPECT_EQ(Line(first, 1), "end");
}

TEST_F(LibraryTest, HandlesOfNothingReadAsNothing) {
    const int32_t gone = tblCreate("gone", 8, 4, nullptr);
    EXPECT_EQ(TblDestroy(0) + TblFreeHnd(0, 0) + TblDestroy(gone), 3);
    for (const int32_t none : {gone, -1, TblLength(0), INT_MIN, INT_MAX}) {
        EXPECT_EQ(TblAllocHnd(none), -1);
        EXPECT_EQ(TblFreeHnd(none, 0) + TblFreeHnd(0, none) + TblDestroy(none), 3);
        EXPECT_TRUE(!TblHndToPtr(none, 0) && !TblHndToPtr(0, none) && !TblName(none));
    }
    for (const auto& [size, mark] : {std::pair(0, 0), {8, 8}, {8, -1}})
        EXPECT_EQ(tblCreate("bad", size, mark, nullptr), -1);
    EXPECT_EXIT(tblCreate("wraps round", 0x1999999A, 0, nullptr), testing::ExitedWithCode(9), "");
}

}  // namespace
