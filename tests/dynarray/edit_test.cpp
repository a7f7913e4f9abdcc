// Editing by position: the places, the marks, and when a string is rewritten in
// place. The oracle covers the breadth; these are the cases with a name.

#include <string>

#include "tests/support/arrays.h"
#include "tests/support/library_test.h"

namespace {

struct Case {
    const char* text;
    UtilPosition place;  // its cursor is the one expected
    const char* element;
    const char* result;
    bool inPlace = false;
    UtilPosition completed = {};  // where it differs from the place
};

void Check(const Case& row, uint32_t replace) {
    SCOPED_TRACE(testing::Message() << row.text << " at " << row.place.attribute << ","
                                    << row.place.value << "," << row.place.subvalue);
    VrString s = Array(row.text);
    VrString element = Array(row.element);
    UtilPosition position = row.place;
    position.cursor = kVrFirstCursor;
    VrString result = UtilInsertReplace(&position, s, element, replace);
    EXPECT_EQ(result == s, row.inPlace);
    EXPECT_EQ(position.cursor, row.place.cursor);
    EXPECT_EQ(VrStrText(result)[result->length], 0);
    const UtilPosition& numbers = row.completed.attribute != 0 ? row.completed : row.place;
    EXPECT_EQ(position.attribute, numbers.attribute);
    EXPECT_EQ(position.value, numbers.value);
    EXPECT_EQ(position.subvalue, numbers.subvalue);
    EXPECT_EQ(VrStrText(NullString())[0], 0);
    if (result != s) free_mem(&s);
    EXPECT_EQ(TakeText(result), row.result);
    free_mem(&element);
}

TEST_F(LibraryTest, Replace) {
    const Case cases[] = {
        {"a^b^c", {2, 0, 0, 6}, "X", "a^X^c", true},
        {"a^b^c", {2, 0, 0, 6}, "XYZ", "a^XYZ^c"},
        {"aaa^b^c", {1, 0, 0, 4}, "X", "X^b^c", true},
        {"a^b^c", {5, 0, 0, 11}, "X", "a^b^c^^X"},
        {"a]b^c", {1, 4, 0, 9}, "X", "a]b]]X^c"},
        {"a]b\\c^d", {1, 2, 2, 8}, "X", "a]b\\X^d", true},
        {"a]b\\c^d", {1, 2, 4, 11}, "X", "a]b\\c\\\\X^d"},
        {"a^b", {0, 2, 0, 6}, "X", "a]X^b", false, {1, 2, 0, 0}},
        {"a^b", {0, 0, 2, 6}, "X", "a\\X^b", false, {1, 1, 2, 0}},
        {"a^b", {2, 0, 2, 8}, "X", "a^b\\X", false, {2, 1, 2, 0}},
        {"abc", {1, 1, 0, 4}, "X", "X", true},
        {"a]b]c", {1, 2, 0, 6}, "", "a]]c", true},
        {"", {3, 2, 2, 8}, "X", "^^]\\X"},
        {"", {1, 0, 0, 4}, "", "", true},
        {"a^b", {0, 0, 0, 4}, "X]Y", "X]Y"},
        {"a\xFF^b", {2, 0, 0, 6}, "X", "a^X\xFF^b"},
    };
    for (const Case& row : cases)
        Check(row, 1);
}

TEST_F(LibraryTest, Insert) {
    const Case cases[] = {
        {"a^b^c", {2, 0, 0, 6}, "X", "a^X^b^c"}, {"a^b^c", {4, 0, 0, 10}, "X", "a^b^c^X"},
        {"a^b^", {3, 0, 0, 8}, "X", "a^b^X"},    {"a]b^c", {1, 3, 0, 8}, "X", "a]b]X^c"},
        {"a]^c", {1, 2, 0, 6}, "X", "a]X^c"},    {"a]", {1, 2, 0, 6}, "X", "a]X"},
        {"a]b", {1, 2, 1, 6}, "X", "a]X\\b"},    {"a\\b", {1, 1, 2, 6}, "X", "a\\X\\b"},
        {"", {2, 0, 0, 5}, "X", "^X"},           {"a", {1, 0, 0, 4}, "", "^a"},
        {"a^b", {2, 0, 0, 6}, "", "a^^b"},
    };
    for (const Case& row : cases)
        Check(row, 0);
}

TEST_F(LibraryTest, Append) {
    const Case cases[] = {
        {"a^b", {-1, 0, 0, 8}, "X", "a^b^X"},
        {"", {-1, 0, 0, 4}, "X", "X"},
        {"a^b", {-1, -1, 0, 8}, "X", "a^b]X"},
        {"a^b", {-1, -1, -1, 8}, "X", "a^b\\X"},
        {"a^b", {-1, -1, 3, 10}, "X", "a^b]\\\\X"},
        {"a^b", {-1, 3, 2, 11}, "X", "a^b^]]\\X"},
        {"a^b", {-1, 0, 2, 9}, "X", "a^b^\\X", false, {-1, 1, 2, 0}},
        {"a^b", {-1, 2, -1, 9}, "X", "a^b^]X"},
        {"", {-1, 3, 2, 7}, "X", "]]\\X"},
        {"a^b^c", {2, -1, 0, 8}, "X", "a^b]X^c"},
        {"a^^c", {2, -1, 0, 6}, "X", "a^X^c"},
        {"", {1, -1, 0, 4}, "X", "X"},
        {"a]^c", {1, -1, 0, 7}, "X", "a]]X^c"},
        {"a]b", {1, 2, -1, 8}, "X", "a]b\\X"},
        {"a]", {1, 2, -1, 6}, "X", "a]X"},
        {"a^b", {5, -1, 0, 10}, "X", "a^b^^^X"},
        {"a^b", {1, 0, -1, 6}, "X", "a\\X^b", false, {1, 1, -1, 0}},
        {"a^b", {1, -3, 2, 7}, "X", "a]\\X^b"},
        {"", {-1, -1, 0, 4}, "", "", true},
    };
    for (const Case& row : cases)
        Check(row, 0);
    for (const Case& row : cases)
        Check(row, 1);
}

// 129 bytes have room for 193; replace and insert leave the last byte empty.
TEST_F(LibraryTest, LongStringsGrowInPlaceUpToTheirCapacity) {
    const struct {
        UtilPosition place;
        uint32_t replace;
        uint32_t added;
        bool inPlace;
    } cases[] = {
        {{1, 0, 0, 4}, 1, 192, true}, {{1, 0, 0, 4}, 1, 193, false}, {{1, 0, 0, 4}, 0, 62, true},
        {{1, 0, 0, 4}, 0, 63, false}, {{-1, 0, 0, 4}, 0, 63, true},  {{-1, 0, 0, 4}, 0, 64, false},
    };
    for (const auto& row : cases) {
        VrString s = StringOfBytes(std::string(129, 'a'));
        VrString element = StringOfBytes(std::string(row.added, 'b'));
        UtilPosition position = row.place;
        VrString result = UtilInsertReplace(&position, s, element, row.replace);
        EXPECT_EQ(result == s, row.inPlace) << row.added;
        if (!row.inPlace) {
            EXPECT_EQ(CapacityOf(result), uint32_t(result->length) * 3 / 2);
        }
        if (result != s) free_mem(&s);
        free_mem(&result);
        free_mem(&element);
    }
}

TEST_F(LibraryTest, AMemoThatNoLongerFitsLeadsNowhereOutside) {
    VrString s = StringOfBytes(std::string(150, 'a') + Marked("^b^c"));
    VrString element = StrToVrStr("x");
    UtilPosition position = {3, 0, 0, 4};
    EXPECT_EQ(UtilInsertReplace(&position, s, element, 1), s);
    s->length = 5;  // as a host does that rewrites the text by hand
    VrStrText(s)[5] = 0;
    position = {4, 0, 0, 4};
    EXPECT_EQ(UtilInsertReplace(&position, s, element, 1), s);
    EXPECT_EQ(position.cursor, 12);
    EXPECT_EQ(TakeText(s), "aaaaa^^^x");
    free_mem(&element);
}

TEST_F(LibraryTest, Scans) {
    VrString s = Array("a^b");
    int32_t count = 5;
    EXPECT_EQ(ScanStr(s, 4, 3, kVrAttributeMark, &count), 7);
    EXPECT_EQ(count, 3);
    free_mem(&s);

    s = StringOfBytes(Marked("^^^xxxxxxxx^yy^") + std::string(200, 'z'));
    count = 1;
    EXPECT_EQ(SkipBackNAttrs(s, 16, &count), 7);
    EXPECT_EQ(count, 0);
    count = 9;
    EXPECT_EQ(SkipBackNAttrs(s, 16, &count), 4);
    EXPECT_EQ(count, 5) << "four attributes in front of the fifth";
    count = INT32_MAX;
    EXPECT_EQ(SkipBackNAttrs(s, INT32_MAX, &count), 4);
    count = INT32_MIN;
    EXPECT_EQ(ScanStr(s, 4, s->length, kVrAttributeMark, &count), 4 + s->length);
    EXPECT_EQ(count, 1);
    count = 2;  // a mark below 128 is found though its word has no top bit
    VrStrText(s)[100] = ',';
    EXPECT_EQ(ScanStr(s, 54, s->length, ',', &count), 54);
    free_mem(&s);
}

}  // namespace
