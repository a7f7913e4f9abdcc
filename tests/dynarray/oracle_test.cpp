// Random edits, walks and picks against a plain model, which looks for one mark after
// the other in a std::string. An edit must come out as the model says to the byte, with
// the capacity and the memo that follow from it, and so must the same edit of a copy
// without a memo. Byte 255 ends every search for a place, so the model edits the text
// in front of the first one and hangs the rest on again; to walks and picks it is data.
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

using Numbers = std::array<int32_t, 3>;  // attribute, value, subvalue

constexpr uint32_t kSeed = 31121967;
constexpr int32_t kUnwritten = -77;

// An element of a level, or the last one and how many are missing behind it.
struct Place {
    size_t start;
    size_t end;
    int32_t missing;
};

Place Find(const std::string& text, size_t level, int32_t number) {
    size_t start = 0;
    size_t end = text.find(kMarks[level]);
    int32_t reached = 1;
    for (; reached != number && end != text.npos; ++reached) {
        start = end + 1;
        end = text.find(kMarks[level], start);
    }
    return {start, std::min(end, text.size()), std::max(number, 1) - reached};
}

struct Request {
    Numbers given;
    Numbers numbers;  // with the levels above the lowest one completed
    std::string element;
    uint32_t replace;
};

struct Edited {
    std::string text;
    int32_t cursor = kVrFirstCursor;
    Numbers made = {};  // marks that were missing, by level
};

// An element is written over its place or in front of it; an empty last place is
// filled in either case.
Edited Put(std::string text, size_t level, const Request& request) {
    const int32_t number = request.numbers[level];
    Place place = Find(text, level, number);
    const int32_t made = number > 0 ? place.missing : int32_t{!text.empty()};
    if (made > 0) {
        text.append(size_t(made), kMarks[level]);
        place.start = place.end = text.size();
    }
    const std::string old = text.substr(place.start, place.end - place.start);
    Edited result = {request.element};
    if (level < 2 && request.numbers[level + 1] != 0) {
        result = Put(old, level + 1, request);
    } else if (!request.replace && (!old.empty() || place.end < text.size())) {
        result.text += kMarks[level] + old;
    }
    result.made[level] = made;
    result.cursor += int32_t(place.start);
    result.text = text.replace(place.start, old.size(), result.text);
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
    const bool isLong = (ClassByteOf(s) & 0x0F) != 0;
    if (isLong) return {true, true, HeaderOf(s).capacity, HeaderOf(s).memoAttribute};
    return {s != VR_SHARED_STRING(TrueVrStr), false, s->length};
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
    request.given = {
        dice.OneOf({0, 0, -1, INT_MIN, 1 + dice.Below(9), 1 + dice.Below(count + 1), m - 1, m,
                    m + 1, m + dice.Below(4), m / 2 + 1, m / 2 + 2, m - m / 3, count,
                    count + dice.Below(4), full + dice.Below(3) - 1}),
        dice.OneOf(inner), dice.OneOf(inner)};
    request.numbers = request.given;
    for (const size_t level : {1, 0}) {
        int32_t& above = request.numbers[level];
        if (above == 0 && request.numbers[level + 1] != 0) above = 1;
    }
    request.replace = uint32_t(dice.OneOf({0, 1, 0x100}));
    int32_t length = dice.Below(dice.OneOf({1, 2, 5, 20, 20, 200}));
    if (room.isLong && dice.Below(3) == 0) {
        const int32_t bare = std::ssize(Edit(BytesOf(s), request).text);
        length = std::clamp(room.capacity - bare + dice.Below(4) - 2, 0, 800);
    }
    request.element = dice.Text(length);
    return request;
}

VrString Apply(VrString s, const Request& request, const Edited& expected) {
    const Room room = RoomAfter(s, request, expected);
    const auto [attribute, value, subvalue] = request.given;
    const Array element(StringOfBytes(request.element));
    UtilPosition position = {attribute, value, subvalue, kUnwritten};
    VrString result = UtilInsertReplace(&position, s, element, request.replace);
    EXPECT_EQ(BytesOf(result), expected.text);
    EXPECT_EQ(VrStrText(result)[result->length], 0);
    EXPECT_EQ((Numbers{position.attribute, position.value, position.subvalue}), request.numbers);
    EXPECT_EQ(position.cursor, expected.cursor);
    EXPECT_EQ(BytesOf(element), request.element);
    EXPECT_EQ(result == s, room.inPlace || (s == NullString() && expected.text.empty()));
    const Room found = RoomOf(result);
    EXPECT_EQ(found.isLong, room.isLong);
    EXPECT_EQ(found.capacity, room.isLong ? room.capacity : result->length);
    EXPECT_EQ(found.memo, room.memo);
    if (found.memo > 0) {
        const size_t start = Find(expected.text, 0, found.memo).start;
        EXPECT_EQ(HeaderOf(result).memoCursor, int32_t(start) + kVrFirstCursor);
    }
    if (result != s) free_mem(&s);
    return result;
}

// What is left of a string cut by hand stands behind its text until it is edited.
VrString RandomString(Dice& dice) {
    if (dice.Below(10) == 0) return VR_SHARED_STRING(TrueVrStr);
    VrString s = StringOfBytes(dice.Text(dice.Below(dice.OneOf({9, 300, 2001}))));
    if (s->length > 8 && dice.Below(3) == 0) s->length = dice.Below(9);
    return s;
}

TEST_F(LibraryTest, RandomEditsAgreeWithTheModel) {
    const uint32_t blocksBefore = ControlBlocksOut();
    for (uint32_t seed = kSeed; seed < kSeed + 1000; ++seed) {
        Dice dice(seed);
        VrString s = RandomString(dice);
        for (int step = 0; step < 40 && s->length < 2500; ++step) {
            const Request request = RandomRequest(dice, s);
            const Edited expected = Edit(BytesOf(s), request);
            const Array copy(Apply(StringOfBytes(BytesOf(s)), request, expected));
            s = Apply(s, request, expected);
            if (HasFailure()) FAIL() << "seed " << seed << " step " << step;
        }
        free_mem(&s);
    }
    EXPECT_EQ(BytesOf(VR_SHARED_STRING(TrueVrStr)), "1");
    EXPECT_LE(ControlBlocksOut(), blocksBefore + 16 * 2) << "each pool may keep two free pages";
}

// A memo that is planted one attribute too far shows where a search began.
TEST_F(LibraryTest, TheNearerOfMemoAndStartBeginsTheSearch) {
    const Array s(std::string(200, '^'));
    for (int32_t memo = -1; memo < 80; ++memo) {
        for (int32_t target = 1; target < 80; ++target) {
            HeaderOf(s).memoAttribute = memo;
            HeaderOf(s).memoCursor = 4 + std::max(memo, 1);
            UtilPosition position = {target, 0, 0, kUnwritten};
            UtilInsertReplace(&position, s, NullString(), 1);
            const bool fromStart = memo < 1 || (memo > target && memo >= 2 * target - 2);
            ASSERT_EQ(position.cursor, fromStart ? 3 + target : 4 + target)
                << memo << ' ' << target;
        }
    }
}

// The walks by level, and as the last one the walk to a marker. All but that one
// take the byte at a cut for a mark, and complain of an element that just fits.
void CheckWalk(Dice& dice, VrString s, size_t kind, Boxes& boxes) {
    using Walk = int32_t (*)(VrString, int32_t, VrString*, uint32_t);
    const Walk walks[] = {UtilGetNextAttribute, UtilGetNextValue, UtilGetNextSubvalue};
    const bool toMarker = kind == std::size(walks);
    const int32_t marker = dice.OneOf({254, 253, 252, 'a', 0, 255});
    const std::string stops(toMarker ? std::string(1, char(marker)) : kMarks.substr(0, kind + 1));
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
        ASSERT_EQ(VrStrText(out)[kept.size()], 0);
        ASSERT_EQ(size < 9 ? TakeBytes(out) : BytesOf(out), kept);
    }
}

void CheckPick(VrString s, const Numbers& numbers) {
    std::string tail = BytesOf(s);
    std::string element = tail;
    for (size_t level = 0; level < 3 && (level == 0 || numbers[level] != 0); ++level) {
        const Place place = Find(element, level, std::max(numbers[level], 1));
        const bool exists = place.missing <= 0;
        element = exists ? element.substr(place.start, place.end - place.start) : "";
        tail = exists ? tail.substr(place.start) : "";
    }
    EXPECT_EQ(TakeBytes(extract_field(numbers[0], numbers[1], numbers[2], s)), element);
    EXPECT_EQ(TakeBytes(extract_tail(numbers[0], numbers[1], numbers[2], s)), tail);
}

TEST_F(LibraryTest, RandomWalksAndPicksAgreeWithTheModel) {
    for (uint32_t seed = kSeed; seed < kSeed + 3000; ++seed) {
        Dice dice(seed);
        const Array s(StringOfBytes(dice.Text(dice.Below(dice.OneOf({2, 9, 300, 2001})))));
        for (size_t kind = 0; kind < 4; ++kind)
            CheckWalk(dice, s, kind, boxes);
        for (int pick = 0; pick < 4; ++pick)
            CheckPick(s, {dice.Below(20) - 1, dice.Below(5) - 1, dice.Below(5) - 1});
        if (HasFailure()) FAIL() << "seed " << seed;
    }
}

}  // namespace
