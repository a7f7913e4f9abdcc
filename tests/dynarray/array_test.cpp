// Dynamic arrays: random bytes for the target that holds them against a plain model, and what
// those do not reach: where a search begins, strings that are not what they seem, exact
// messages, absurd numbers, and what else may stand in a list or in plain text.

#include "fuzz/fuzz.h"
#include "tests/support/library_test.h"

namespace {

// A failure names the seed of its case: the same seed makes the same case again.
constexpr uint32_t kSeed = 31121967;

TEST_F(LibraryTest, RandomEditsAndReadsAgreeWithTheModel) {
    for (uint32_t seed = kSeed; seed < kSeed + 3000; ++seed) {
        std::mt19937 random(seed);
        std::vector<uint8_t> bytes(random() % 6000);
        std::generate(bytes.begin(), bytes.end(), [&] { return uint8_t(random()); });
        ASSERT_NO_THROW(LLVMFuzzerTestOneInput(bytes.data(), bytes.size())) << "seed " << seed;
    }
}

// A memo that is planted one attribute too far shows where a search began.
TEST_F(LibraryTest, TheNearerOfMemoAndStartBeginsTheSearch) {
    const Array s(std::string(200, '^'));
    for (int32_t memo = -1; memo < 80; ++memo) {
        for (int32_t target = 1; target < 80; ++target) {
            HeaderOf(s).memoAttribute = memo;
            HeaderOf(s).memoCursor = 4 + std::max(memo, 1);
            UtilPosition position = {target, 0, 0, 0};
            ASSERT_EQ(UtilInsertReplace(&position, s, NullString(), 1), s.get());
            const bool fromStart = memo < 1 || (memo > target && memo >= 2 * target - 2);
            ASSERT_EQ(position.cursor, fromStart ? 3 + target : 4 + target)
                << memo << ' ' << target;
        }
    }
}

// An edit of one attribute.
std::string Replaced(VrString s, int32_t attribute, const Array& element) {
    UtilPosition position = {attribute, 0, 0, kVrFirstCursor};
    VrString result = UtilInsertReplace(&position, s, element, 1);
    EXPECT_EQ(VrStrText(result)[result->length], 0);
    const std::string text = Swapped(BytesOf(result), kMarks, kNotation);
    if (result != s) free_mem(&result);
    return text;
}

TEST_F(LibraryTest, EditsOfStringsThatAreNotWhatTheySeem) {
    VrString zero = VR_SHARED_STRING(FalseVrStr);
    const Array below("abc");
    below.get()->length = -1;
    struct {
        LongHeader none;
        int32_t length;
        unsigned char text[3];
    } buffer = {{2, 4, 100, 0}, 2, {'a', kVrAttributeMark}};
    auto inBuffer = reinterpret_cast<VrString>(&buffer.length);
    const std::tuple<VrString, int32_t, std::string> cases[] = {
        {zero, 1, "X"},  {zero, -1, "0^X"}, {inBuffer, 2, "a^X"},
        {below, 1, "X"}, {below, -1, "X"},  {below, 3, "^^X"}};
    for (const auto& [s, attribute, result] : cases)
        EXPECT_EQ(Replaced(s, attribute, Array("X")), result);
    EXPECT_EQ(BytesOf(zero), "0");
    UtilSwapChar(zero, '0', 'X');
    EXPECT_EQ(BytesOf(zero), "0");
    EXPECT_EQ(Replaced(Array("a^b"), 1, below), "^b");

    struct {
        LongHeader junk;
        int32_t length;
        unsigned char text[201];
    } own = {{2, 9, 0, UINT32_MAX}, 200, {}};
    UtilPosition whole = {};
    const Array copy(UtilInsertReplace(&whole, zero, reinterpret_cast<VrString>(&own.length), 1));
    EXPECT_EQ(HeaderOf(copy).memoAttribute, 0) << "a host's own string has no header";

    // A host cuts the text by hand: the memo of the last edit then lies outside it.
    const std::string text = "abc^" + std::string(150, 'd') + "^e^f";
    const Array cut(text);
    EXPECT_EQ(Replaced(cut, 4, Array("f")), text);
    cut.get()->length = 5;
    EXPECT_EQ(Replaced(cut, 5, Array("x")), "abc^d^^^x");
}

// The text is cut on its way into the area of the message, where the buffer is too, here.
TEST_F(LibraryTest, AMessageLeavesTheElementInItsBuffer) {
    const Array s(std::string(kVrScratchSize * 2, 'x'));
    auto* out = reinterpret_cast<VrString>(MemBuf1);
    EXPECT_EQ(UtilGetNextValue(s, kVrFirstCursor, &out, 14), 10);
    EXPECT_EQ(boxes.shown.back().size(), 2 + 1023u);
    EXPECT_EQ(out->length, 5);
    EXPECT_EQ(VrStrText(out)[5], 0);
}

// A row is "record|list|what get gives" or "record|values|list|what put gives".
void CheckFields(const std::string& row) {
    std::vector<std::string> texts;
    std::istringstream parts(row);
    for (std::string text; std::getline(parts, text, '|');)
        texts.push_back(text);
    const std::vector<Array> in(texts.begin(), texts.end() - 1);
    EXPECT_EQ(TakeText(in.size() == 2 ? UtilGetFieldsFromVrString(in[0], in[1])
                                      : UtilPutFieldsInVrString(in[0], in[1], in[2])),
              texts.back());
}

TEST_F(LibraryTest, FieldRecordsByOddLists) {
    for (const char* row : {
             "a^b^c|3^|c",
             "a^b^c|0^x^-1^2|a^a^a^b",
             "a]b^c| +1x^\t2|a]b^c",
             "a^b|4294967297^2]1|^b",
             "a^b^c|X^Y|3^1|Y^b^X",
             "a^b]c^d|X]Y^Z|2^x|Z",
             "a^b|X^Y^Z|2^2^2^|a^Z",
         })
        CheckFields(row);
    VrString shared = VR_SHARED_STRING(TrueVrStr);
    EXPECT_EQ(TakeText(UtilPutFieldsInVrString(shared, Array("X"), shared)), "X");
    EXPECT_EQ(BytesOf(shared), "1");

    // A message box shows that a long attribute was taken into a buffer.
    const std::string most(991, 'v'), zeros(500, '0');
    CheckFields("a^b|" + most + "|2^1|^" + most);
    EXPECT_EQ(boxes.shown.size(), 1u) << "fits exactly";
    CheckFields("a^b|" + zeros + "2^" + zeros + "1|b^a");
    CheckFields("a^b|" + most + "v|2^1|^" + most + "v");
    CheckFields("a^b|X|" + zeros.substr(411) + "2|a^X");
    EXPECT_EQ(boxes.shown.size(), 1u);
    CheckFields("a^b|X|" + zeros.substr(410) + "27|a^X");
    EXPECT_EQ(boxes.shown.size(), 2u);
}

}  // namespace
