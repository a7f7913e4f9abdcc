// Field records: gathering attributes into a list, scattering them, and the splice.

#include <climits>
#include <string>

#include "tests/support/arrays.h"
#include "tests/support/library_test.h"

namespace {

// Get of a record and a list, or put of a record, values and a list.
void Check(const std::vector<std::string>& texts, const std::string& expected) {
    std::vector<Array> in;
    for (const std::string& text : texts)
        in.emplace_back(text);
    EXPECT_EQ(TakeText(in.size() == 2 ? UtilGetFieldsFromVrString(in[0], in[1])
                                      : UtilPutFieldsInVrString(in[0], in[1], in[2])),
              expected);
    for (size_t i = 0; i < in.size(); ++i)
        EXPECT_EQ(BytesOf(in[i]), Marked(texts[i])) << "arguments stay as they were";
}

TEST_F(LibraryTest, GetAndPut) {
    const std::vector<std::string> cases[] = {
        {"a^b^c", "3^1", "c^a"},
        {"a^b^c", "9^1", "^a"},
        {"a^b^c", "1^9", "a^"},
        {"a^b^c", "", ""},
        {"a^b^c", "3^", "c"},
        {"a^b^c", "0^x^-1^2", "a^a^a^b"},
        {"a]b^c", " +1x^\t2", "a]b^c"},
        {"a^b", "4294967297^2]1", "^b"},
        {"a^b^c", "X^Y", "3^1", "Y^b^X"},
        {"a^b^c", "X", "5", "a^b^c^^X"},
        {"a^b^c", "X^Y", "0^2", "X^Y"},
        {"a^b^c", "X^Y", "-1^2", "a^Y^c^X"},
        {"a^b^c", "X", "1^2", "X^^c"},
        {"a^b^c", "X^Y^Z", "1", "X^b^c"},
        {"a^b]c^d", "X]Y^Z", "2^x", "Z"},
        {"a^b", "X^Y^Z", "2^2^2^", "a^Z"},
    };
    for (const auto& row : cases)
        Check({row.begin(), row.end() - 1}, row.back());
    VrString shared = VR_SHARED_STRING(TrueVrStr);
    EXPECT_EQ(TakeText(UtilPutFieldsInVrString(shared, Array("X"), shared)), "X");
    EXPECT_EQ(BytesOf(shared), "1");
}

// A message box tells that a long attribute was taken into a buffer.
TEST_F(LibraryTest, LongListsAndEntries) {
    const std::string most(991, 'v'), zeros(500, '0');
    Check({"a^b", most, "2^1"}, "^" + most);
    EXPECT_EQ(boxes.shown.size(), 1u) << "fits exactly";
    Check({"a^b", zeros + "2^" + zeros + "1"}, "b^a");
    Check({"a^b", most + "v", "2^1"}, "^" + most + "v");
    Check({"a^b", "X", zeros.substr(411) + "2"}, "a^X");
    EXPECT_EQ(boxes.shown.size(), 1u);
    Check({"a^b", "X", zeros.substr(410) + "27"}, "a^X");
    EXPECT_EQ(boxes.shown.size(), 2u);
}

TEST_F(LibraryTest, Splice) {
    const std::tuple<std::string, std::string, int32_t, int32_t, std::string, int32_t> cases[] = {
        {"abcdef", "XY", 3, 1, "aXYef", 3},
        {"abcdef", "XY", 0, 6, "abcdefXY", 8},
        {"abc", "", 3, 0, "", 0},
        {"", "XY", 0, 0, "XY", 2},
        {"abc", "", 0, 3, "abc", 3},
        {"abc", "X", INT_MAX, 1, "aX", 2},
        {"abc", "X", 2, INT_MAX, "abcX", 4},
        {"abc", "X", INT_MIN, 1, "aXbc", 2},
        {"abc", "X", 0, INT_MIN, "Xabc", 1}};
    for (const auto& [s, text, length, offset, result, next] : cases) {
        int32_t after = -1;
        EXPECT_EQ(TakeText(UtilReplaceString(Array(s), Array(text), length, offset, &after)),
                  result);
        EXPECT_EQ(after, next) << result;
    }
}

}  // namespace
