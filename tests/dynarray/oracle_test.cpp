// Random edits, walks and picks against a plain model, which splits a text into
// lists of attributes, values and subvalues and joins them again for every step.
// An edit must come out as the model says to the byte, with the capacity and the
// memo that follow from it, and so must the same edit of a copy without a memo.
// Byte 255 ends every search for a place, so the model edits the text in front of
// the first one and hangs the rest on again; to walks and picks it is data.
// A failure names the seed of its case: the same seed makes the same case again.

#include <algorithm>
#include <array>
#include <climits>
#include <random>
#include <string>
#include <vector>

#include "tests/support/arrays.h"
#include "tests/support/library_test.h"

namespace {

using Elements = std::vector<std::string>;
using Numbers = std::array<int32_t, 3>;  // attribute, value, subvalue

constexpr uint32_t kSeed = 31121967;
constexpr int32_t kUnwritten = -77;
const std::string kMarks = Marked("^]\\");  // one a level

Elements Split(const std::string& text, const std::string& marks) {
    Elements elements;
    for (size_t from = 0, end = 0; end != std::string::npos; from = end + 1) {
        end = text.find_first_of(marks, from);
        elements.push_back(text.substr(from, end - from));
    }
    return elements;
}

int32_t StartOf(const Elements& elements, size_t index) {
    size_t start = index;
    for (size_t i = 0; i < index; ++i)
        start += elements[i].size();
    return int32_t(start);
}

struct Request {
    Numbers numbers;
    std::string element;
    uint32_t replace;
};

Request Completed(Request request) {
    auto& [attribute, value, subvalue] = request.numbers;
    if (value == 0 && subvalue != 0) value = 1;
    if (attribute == 0 && value != 0) attribute = 1;
    return request;
}

struct Edited {
    std::string text;
    int32_t cursor = kVrFirstCursor;
    Numbers made = {};  // marks that were missing, by level
};

// An element is written over its place or in front of it; an empty last place is
// filled in either case.
Edited Put(const std::string& text, size_t level, const Request& request) {
    Elements elements = Split(text, kMarks.substr(level, 1));
    const size_t before = elements.size();
    const int32_t number = request.numbers[level];
    if (number > 0) elements.resize(std::max(before, size_t(number)));
    if (number < 0 && !text.empty()) elements.emplace_back();
    const size_t last = elements.size() - 1;
    const size_t index = number > 0 ? size_t(number) - 1 : last;
    const auto made = int32_t(elements.size() - before);

    Edited result;
    std::string& place = elements[index];
    if (level < 2 && request.numbers[level + 1] != 0) {
        result = Put(place, level + 1, request);
        place = result.text;
    } else if (request.replace || (place.empty() && index == last)) {
        place = request.element;
    } else {
        elements.insert(elements.begin() + int32_t(index), request.element);
    }
    result.made[level] = made;
    result.cursor += StartOf(elements, index);
    result.text = elements[0];
    for (size_t i = 1; i < elements.size(); ++i)
        result.text += kMarks[level] + elements[i];
    return result;
}

// Behind the whole text, a run of negative numbers opens one element of the run's
// last level, and the numbers behind the run count in that new element.
Edited Edit(const std::string& text, const Request& request) {
    const Numbers& numbers = request.numbers;
    Edited result = {request.element};
    if (numbers[0] == 0) return {request.element, kUnwritten};
    if (numbers[0] > 0) {
        const size_t reach = std::min(text.find('\xFF'), text.size());
        result = Put(text.substr(0, reach), 0, request);
        result.text += text.substr(reach);
        return result;
    }
    size_t level = 0;
    while (level < 2 && numbers[level + 1] < 0)
        ++level;
    if (level < 2 && numbers[level + 1] > 0) result = Put("", level + 1, request);
    if (text.empty()) return result;
    result.text = text + kMarks[level] + result.text;
    result.cursor += std::ssize(text) + 1;
    return result;
}

// What stands around a text: a new string's follows from its length.
struct Room {
    bool inPlace;
    bool isLong;
    int32_t capacity;
    int32_t memo = 0;
};

Room NewRoom(int32_t length) {
    return {false, length >= 129, length >= 129 ? length + length / 2 : length};
}

Room RoomOf(VrString s) {
    if ((ClassByteOf(s) & 0x0F) == 0) return {true, false, s->length};
    return {true, true, int32_t(CapacityOf(s)), MemoAttributeOf(s)};
}

Room RoomAfter(VrString s, const Request& request, const Edited& edited) {
    const auto [attribute, value, subvalue] = request.numbers;
    const int32_t total = std::ssize(edited.text);
    Room room = RoomOf(s);
    if (attribute == 0) return NewRoom(total);
    if (attribute < 0) return s->length != 0 && total <= room.capacity ? room : NewRoom(total);
    int32_t length = s->length;
    for (size_t level = 0; level < 3; ++level) {
        const int32_t made = edited.made[level];
        if (made > 0 && (length == 0 || length + made > room.capacity))
            room = NewRoom(length + made);
        length += made;
        if (level == 0 && room.isLong) room.memo = attribute;
    }
    const bool replaces = request.replace && length == s->length && value >= 0 && subvalue >= 0;
    if (total < room.capacity || (replaces && total <= length)) return room;
    Room moved = NewRoom(total);
    if (moved.isLong) moved.memo = room.memo;
    return moved;
}

const std::string kAlphabets[] = {Marked("abcdefghijklmnopqrstuvwxyz0123456789^]\\"),
                                  Marked("abc^"), Marked("ab^]\\"), Marked("a]\\"),
                                  Marked(std::string("\0\x7F\x80\xFB", 4) + "ab^]\\")};

struct Dice : std::mt19937 {
    using std::mt19937::mt19937;
    int32_t Below(int32_t limit) {
        return int32_t((*this)() % uint32_t(limit));
    }
    int32_t OneOf(std::initializer_list<int32_t> list) {
        return list.begin()[Below(std::ssize(list))];
    }
    std::string Text(int32_t length) {
        std::string text(size_t(length), 0);
        for (char& c : text)
            c = alphabet[(*this)() % alphabet.size()];
        if (has255 && length > 0 && Below(3) == 0) text[(*this)() % text.size()] = '\xFF';
        return text;
    }

    const std::string& alphabet = kAlphabets[Below(std::ssize(kAlphabets))];
    const bool has255 = Below(4) == 0;
};

// Attributes around the memo, well before it, at the end and past it, also so far
// that the missing marks just fill the capacity; elements likewise.
Request RandomRequest(Dice& dice, VrString s) {
    const Room room = RoomOf(s);
    const int32_t m = std::max(room.memo, 0);
    const int32_t count = field_count(VrStrText(s), s->length);
    const int32_t full = count + std::min(room.capacity - s->length, 1000);
    const auto inner = {0, 0, 0, 0, 1, 2, 3, 1 + dice.Below(30), -1, INT_MIN};
    Request request = {};
    request.numbers = {
        dice.OneOf({0, 0, -1, INT_MIN, 1 + dice.Below(9), 1 + dice.Below(count + 1), m - 1, m,
                    m + 1, m + dice.Below(4), m / 2 + 1, m / 2 + 2, m - m / 3, count,
                    count + dice.Below(4), full + dice.Below(3) - 1}),
        dice.OneOf(inner), dice.OneOf(inner)};
    request.replace = uint32_t(dice.OneOf({0, 1, 0x100}));
    int32_t length = dice.Below(dice.OneOf({1, 2, 5, 20, 20, 200}));
    if (room.isLong && dice.Below(3) == 0) {
        const int32_t bare = std::ssize(Edit(BytesOf(s), Completed(request)).text);
        length = std::clamp(room.capacity - bare + dice.Below(4) - 2, 0, 800);
    }
    request.element = dice.Text(length);
    return request;
}

VrString Apply(VrString s, const Request& given) {
    const Request request = Completed(given);
    const Edited expected = Edit(BytesOf(s), request);
    const Room room = RoomAfter(s, request, expected);
    VrString element = StringOfBytes(request.element);
    UtilPosition position = {given.numbers[0], given.numbers[1], given.numbers[2], kUnwritten};
    VrString result = UtilInsertReplace(&position, s, element, given.replace);
    const std::string text = BytesOf(result);
    EXPECT_EQ(text, expected.text);
    EXPECT_EQ(VrStrText(result)[text.size()], 0);
    EXPECT_EQ((Numbers{position.attribute, position.value, position.subvalue}), request.numbers);
    EXPECT_EQ(position.cursor, expected.cursor);
    EXPECT_EQ(BytesOf(element), request.element);
    EXPECT_EQ(result == s, room.inPlace || (s == NullString() && text.empty()));
    const Room found = RoomOf(result);
    EXPECT_EQ(found.isLong, room.isLong);
    EXPECT_EQ(found.capacity, room.isLong ? room.capacity : result->length);
    EXPECT_EQ(found.memo, room.memo);
    if (found.memo > 0) {
        const Elements attributes = Split(text, kMarks.substr(0, 1));
        EXPECT_EQ(MemoCursorOf(result),
                  StartOf(attributes, size_t(found.memo - 1)) + kVrFirstCursor);
    }
    free_mem(&element);
    if (result != s) free_mem(&s);
    return result;
}

TEST_F(LibraryTest, RandomEditsAgreeWithTheModel) {
    const uint32_t blocksBefore = ControlBlocksOut();
    for (uint32_t seed = kSeed; seed < kSeed + 1000 && !HasFailure(); ++seed) {
        Dice dice(seed);
        VrString s = StringOfBytes(dice.Text(dice.Below(dice.OneOf({9, 300, 2001}))));
        if (s->length > 8 && dice.Below(3) == 0) {  // room without text
            s->length = dice.Below(9);
            VrStrText(s)[s->length] = 0;
        }
        for (int step = 0; step < 40 && s->length < 2500 && !HasFailure(); ++step) {
            const Request request = RandomRequest(dice, s);
            SCOPED_TRACE(testing::Message() << "seed " << seed << " step " << step << " at "
                                            << testing::PrintToString(request.numbers));
            VrString copy = StringOfBytes(BytesOf(s));
            s = Apply(s, request);
            SCOPED_TRACE("the copy without a memo");
            copy = Apply(copy, request);
            free_mem(&copy);
        }
        free_mem(&s);
    }
    EXPECT_LE(ControlBlocksOut(), blocksBefore + 16 * 2) << "each pool may keep two free pages";
}

// A memo that is planted one attribute too far shows where a search began.
TEST_F(LibraryTest, TheNearerOfMemoAndStartBeginsTheSearch) {
    std::string text;
    while (text.size() < 360)
        text += Marked("abc^");
    VrString s = StringOfBytes(text);
    VrString element = StrToVrStr("xyz");
    for (int32_t memo = -1; memo < 80; ++memo) {
        for (int32_t target = 1; target < 80; ++target) {
            reinterpret_cast<int32_t*>(s)[-4] = memo;
            reinterpret_cast<int32_t*>(s)[-3] = 4 + 4 * std::max(memo, 1);
            UtilPosition position = {target, 0, 0, kUnwritten};
            UtilInsertReplace(&position, s, element, 1);
            const bool fromStart = memo < 1 || (memo > target && memo >= 2 * target - 2);
            ASSERT_EQ(position.cursor, 4 * (fromStart ? target : target + 1))
                << "memo " << memo << " target " << target;
        }
    }
    free_mem(&element);
    free_mem(&s);
}

void ExpectAndFree(VrString s, const std::string& text) {
    EXPECT_EQ(BytesOf(s), text);
    EXPECT_EQ(s == NullString(), text.empty());
    free_mem(&s);
}

// The walks by level, and as the last one the walk to a marker. All but that one
// take the byte at a cut for a mark, and complain of an element that just fits.
void CheckWalk(Dice& dice, VrString s, size_t kind, Boxes& boxes) {
    using Walk = int32_t (*)(VrString, int32_t, VrString*, uint32_t);
    const Walk walks[] = {UtilGetNextAttribute, UtilGetNextValue, UtilGetNextSubvalue};
    const bool toMarker = kind == std::size(walks);
    const int32_t marker = dice.OneOf({254, 253, 252, 'a', 0, 255});
    const std::string stops = toMarker ? std::string(1, char(marker)) : kMarks.substr(0, kind + 1);
    const std::string text = BytesOf(s);
    const auto size = uint32_t(dice.Below(2) == 0 ? dice.Below(9) : 9 + dice.Below(40));
    const size_t room = size < 9 ? std::string::npos : size - kVrBufferOverhead;
    auto from = size_t(dice.Below(2) == 0 ? 0 : dice.Below(s->length + 1));
    for (int step = 0; step < 20; ++step) {
        const std::string element = text.substr(from, text.find_first_of(stops, from) - from);
        const std::string kept = element.substr(0, room);
        const bool complains = toMarker ? element.size() > room : element.size() >= room;
        const auto cursor = int32_t(from) + kVrFirstCursor;
        from = std::min(from + kept.size() + (toMarker && complains ? 0 : 1), text.size());

        std::vector<unsigned char> buffer(size, 0xAA);
        auto* out = reinterpret_cast<VrString>(buffer.data());
        boxes.shown.clear();
        const int32_t next = toMarker ? UtilGetNextMarkerVal(s, cursor, &out, size, uint8_t(marker))
                                      : walks[kind](s, cursor, &out, size);
        ASSERT_EQ(next, int32_t(from) + kVrFirstCursor);
        ASSERT_EQ(boxes.shown.size(), complains ? 1u : 0u);
        ASSERT_EQ(BytesOf(out), kept);
        ASSERT_EQ(VrStrText(out)[kept.size()], 0);
        if (size >= 9) continue;
        ExpectAndFree(out, kept);
        if (kind < 2) {
            EXPECT_EQ((kind == 0 ? UtilSkipAttribute : UtilSkipValue)(s, cursor), next);
        }
    }
}

// From the end; an empty last value is handed over for ever.
void CheckWalkBack(VrString s) {
    const Elements values = Split(BytesOf(s), kMarks.substr(0, 2));
    int32_t cursor = s->length + kVrFirstCursor;
    for (size_t i = values.size(); i-- > 0;) {
        VrString value = nullptr;
        cursor = UtilGetPrevValue(s, cursor, &value);
        ASSERT_EQ(cursor, StartOf(values, i) + kVrFirstCursor);
        ExpectAndFree(value, values[i]);
        if (values.back().empty()) return;
    }
}

void CheckPick(VrString s, const Numbers& numbers) {
    std::string tail = BytesOf(s);
    std::string element = tail;
    for (size_t level = 0; level < 3 && (level == 0 || numbers[level] != 0); ++level) {
        const Elements elements = Split(element, kMarks.substr(level, 1));
        const size_t index = size_t(std::max(numbers[level], 1)) - 1;
        const bool exists = index < elements.size();
        element = exists ? elements[index] : "";
        tail.erase(0, exists ? size_t(StartOf(elements, index)) : std::string::npos);
    }
    ExpectAndFree(extract_field(numbers[0], numbers[1], numbers[2], s), element);
    ExpectAndFree(extract_tail(numbers[0], numbers[1], numbers[2], s), tail);
}

TEST_F(LibraryTest, RandomWalksAndPicksAgreeWithTheModel) {
    for (uint32_t seed = kSeed; seed < kSeed + 3000 && !HasFailure(); ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        Dice dice(seed);
        VrString s = StringOfBytes(dice.Text(dice.Below(dice.OneOf({2, 9, 300, 2001}))));
        for (size_t kind = 0; kind < 4; ++kind)
            CheckWalk(dice, s, kind, boxes);
        CheckWalkBack(s);
        for (int pick = 0; pick < 4; ++pick)
            CheckPick(s, {dice.Below(20) - 1, dice.Below(5) - 1, dice.Below(5) - 1});
        free_mem(&s);
    }
}

}  // namespace
