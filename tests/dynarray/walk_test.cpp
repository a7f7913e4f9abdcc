// Walking by cursor, in both result modes. The oracle covers the breadth; these are
// the cases with a name.

#include <string>
#include <vector>

#include "tests/support/arrays.h"
#include "tests/support/library_test.h"

namespace {

using Walk = int32_t (*)(VrString, int32_t, VrString*, uint32_t);

int32_t NextComma(VrString s, int32_t cursor, VrString* out, uint32_t size) {
    return UtilGetNextMarkerVal(s, cursor, out, size, ',');
}

struct Case {
    Walk next;
    std::string text;
    uint32_t size;
    std::vector<std::pair<std::string, int32_t>> steps;  // elements and the cursors behind
    std::string tooBig;                                  // what the first step's message says
    int32_t sizeShown = 0;
};

// A level's walk takes an element that fits for a cut one, and the byte behind it for
// its mark.
const Case kCases[] = {
    {UtilGetNextValue, "a]b^c", 0, {{"a", 6}, {"b", 8}, {"c", 9}, {"", 9}}, ""},
    {UtilGetNextSubvalue, "a\\b]c^", 0, {{"a", 6}, {"b", 8}, {"c", 10}, {"", 10}}, ""},
    {UtilGetNextAttribute, "a^^b", 8, {{"a", 6}, {"", 7}, {"b", 8}, {"", 8}}, ""},
    {UtilGetNextAttribute, "a^^b", 40, {{"a", 6}, {"", 7}, {"b", 8}, {"", 8}}, ""},
    {UtilGetNextAttribute, "abcdef^g", 12, {{"abc", 8}, {"ef", 11}, {"g", 12}}, "Attribute", 3},
    {UtilGetNextValue, "abc^g", 12, {{"abc", 8}, {"g", 9}}, "Value", 3},
    {UtilGetNextSubvalue, "a", 9, {{"", 5}}, "SubValue", 0},
    {NextComma, "abcde,g", 14, {{"abcde", 10}, {"g", 11}}, ""},
    {NextComma, "abcdef,g", 14, {{"abcde", 9}, {"f", 11}, {"g", 12}}, "Attribute", 14},
};

TEST_F(LibraryTest, ForwardWalks) {
    for (const auto& [next, text, size, steps, tooBig, sizeShown] : kCases) {
        SCOPED_TRACE(text);
        const Array s(text);
        int32_t cursor = -1;
        for (const auto& [element, behind] : steps) {
            int32_t buffer[10] = {-1};
            auto* out = reinterpret_cast<VrString>(buffer);
            cursor = next(s, cursor, &out, size);
            EXPECT_EQ(cursor, behind);
            EXPECT_EQ(BytesOf(out), Marked(element));
            EXPECT_EQ(static_cast<void*>(out) == buffer + 1, size >= 9);
            EXPECT_EQ(buffer[0], size >= 9 ? 0 : -1);
            if (size < 9) free_mem(&out);
        }
        VrString none = nullptr;
        next(s, 1000, &none, 0);
        EXPECT_EQ(none, NullString());
        const std::string shown = Marked("(" + text + ") size ") + std::to_string(sizeShown);
        const Box box = {tooBig + " too big " + shown, false, "", MB_OK};
        EXPECT_EQ(boxes.shown, std::vector<Box>(tooBig.empty() ? 0 : 1, box));
        boxes.shown.clear();
    }
}

// The text is cut on its way into the scratch area, where the buffer is too, here.
TEST_F(LibraryTest, ABufferInTheScratchAreaIsClosedAfterTheMessage) {
    const Array s(std::string(kVrScratchSize * 2, 'x'));
    auto* out = reinterpret_cast<VrString>(MemBuf1);
    EXPECT_EQ(UtilGetNextValue(s, kVrFirstCursor, &out, 14), 10);
    EXPECT_EQ(boxes.shown.back().text.size(), 1023u);
    EXPECT_EQ(out->length, 5);
    EXPECT_EQ(VrStrText(out)[5], 0);
}

TEST_F(LibraryTest, NothingBehindTheTextCounts) {
    const Array s("^ab^");
    for (VrString given : {s.get(), NullString(), VrString{}}) {
        UtilSwapChar(given, kVrAttributeMark, ',');
        UtilSwapChar(given, 0, 'x');
    }
    EXPECT_EQ(BytesOf(s), ",ab,");
    EXPECT_EQ(VrStrText(s)[4], 0);
    EXPECT_EQ(VrStrText(NullString())[0], 0);

    s->length = -1;  // as none
    VrString out = nullptr;
    UtilSwapChar(s, ',', 'x');
    EXPECT_EQ(VrStrText(s)[0], ',');
    EXPECT_EQ(UtilGetNextValue(s, 4, &out, 0), 4);
    EXPECT_EQ(out, NullString());
}

}  // namespace
