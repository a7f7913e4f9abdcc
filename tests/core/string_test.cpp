// Counted strings: their layout to the byte, copies, and order.

#include <string>

#include "tests/support/arrays.h"
#include "tests/support/library_test.h"

namespace {

TEST_F(LibraryTest, LayoutByLength) {
    const struct {
        uint32_t length;
        unsigned char classByte;
        uint32_t capacity;  // of a long one
    } cases[] = {{1, 0xF0, 0}, {57, 0xF0, 0},    {58, 0, 0},
                 {128, 0, 0},  {129, 0x0F, 193}, {1000, 0x0F, 1500}};
    for (const auto& row : cases) {
        SCOPED_TRACE(row.length);
        VrString s = alloc_string(row.length);
        VrString simple = alloc_simple_string(row.length);
        EXPECT_EQ(BytesOf(s), std::string(row.length, '\0'));
        EXPECT_EQ(ClassByteOf(s), row.classByte);
        EXPECT_EQ(ClassByteOf(simple), row.classByte);
        EXPECT_EQ(VrStrText(s)[row.length], 0);
        if (row.capacity != 0) {
            EXPECT_EQ(CapacityOf(s), row.capacity);
            EXPECT_EQ(CapacityOf(simple), row.length);
            EXPECT_EQ(MemoAttributeOf(s), 0);
            EXPECT_EQ(MemoCursorOf(s), 0);
            VrStrText(s)[row.capacity + 1] = 'x';  // the byte behind the zero is the string's
        }
        free_mem(&s);
        free_mem(&simple);
    }
}

TEST_F(LibraryTest, SharedStringsStandForEmptyAndTruth) {
    EXPECT_EQ(alloc_string(0), NullString());
    EXPECT_EQ(alloc_simple_string(0), NullString());
    EXPECT_EQ(StrToVrStr(""), NullString());
    EXPECT_EQ(StrToVrStr(nullptr), NullString());
    EXPECT_EQ(NewString(nullptr), NullString());
    EXPECT_EQ(NewString(NullString()), NullString());
    for (unsigned char* shared : {FalseVrStr, TrueVrStr}) {
        EXPECT_EQ(NewString(VR_SHARED_STRING(shared)), VR_SHARED_STRING(shared));
    }
    EXPECT_EQ(BytesOf(NullString()), "");
    EXPECT_EQ(BytesOf(VR_SHARED_STRING(FalseVrStr)), "0");
    EXPECT_EQ(BytesOf(VR_SHARED_STRING(TrueVrStr)), "1");
    char* text = dup_str(nullptr);
    EXPECT_STREQ(text, "");
    free_mem(&text);
    EXPECT_EQ(static_cast<void*>(text), NullString());
}

TEST_F(LibraryTest, CopiesCarryTheMemoAndTheirOwnCapacity) {
    VrString s = alloc_simple_string(150);
    std::memset(VrStrText(s), 'a', 150);
    VrStrText(s)[20] = 0;
    VrStrText(s)[50] = kVrAttributeMark;
    VrString element = StrToVrStr("bb");
    UtilPosition position = {2, 0, 0, 4};
    EXPECT_EQ(UtilInsertReplace(&position, s, element, 1), s);
    VrString copy = NewString(s);
    EXPECT_EQ(BytesOf(copy), BytesOf(s));
    s = static_cast<VrString>(realloc_mem(s, 300));  // the copy is its own

    EXPECT_EQ(copy->length, 53);
    EXPECT_NE(ClassByteOf(copy), 0x0F) << "a copy is long by its length, not its source's";
    VrString longText = StringOfBytes(std::string(140, 'x') + Marked("^y^z"));
    position = {3, 0, 0, 4};
    VrString edited = UtilInsertReplace(&position, longText, element, 1);
    VrString longCopy = NewString(edited);
    EXPECT_EQ(MemoAttributeOf(longCopy), 3);
    EXPECT_EQ(MemoCursorOf(longCopy), 147);
    EXPECT_EQ(CapacityOf(longCopy), 145u + 72u);
    if (edited != longText) free_mem(&longText);
    for (VrString* string : {&s, &element, &copy, &edited, &longCopy})
        free_mem(string);
}

TEST_F(LibraryTest, OrderIsByUnsignedBytesAndThenLength) {
    const struct {
        std::string a, b;
        int32_t order;
    } cases[] = {{"abc", "abd", -1},
                 {"\xFF", "\x01", 254},
                 {"ab", "abc", -1},
                 {"abcd", "ab", 2},
                 {"", "a", -1},
                 {"a", "", 1},
                 {std::string("a\0b", 3), std::string("a\0c", 3), -1},
                 {"same", "same", 0}};
    for (const auto& row : cases) {
        VrString a = StringOfBytes(row.a);
        VrString b = StringOfBytes(row.b);
        EXPECT_EQ(CompareVrStrings(a, b), row.order) << row.a << " and " << row.b;
        free_mem(&a);
        free_mem(&b);
    }
    VrString emptied = StrToVrStr("x");
    emptied->length = 0;
    EXPECT_EQ(CompareVrStrings(NullString(), emptied), 0);
    EXPECT_EQ(CompareVrStrings(nullptr, emptied), -1);
    EXPECT_EQ(CompareVrStrings(emptied, nullptr), 1);
    EXPECT_EQ(CompareVrStrings(nullptr, nullptr), 0);
    free_mem(&emptied);
}

}  // namespace
