// Dynamic arrays against a plain model, which looks for one mark after the other in a
// std::string: edits, walks, scans, picks and field records on one string in turn. The model
// states the bytes of an edit, whether it is in place, its capacity and its memo; the same
// edit of a copy without a memo must come out alike. Byte 255 ends every search for a place,
// so the model edits the text in front of the first one and appends the rest again; to walks
// and picks it is data.

#include "fuzz/fuzz.h"

namespace {

using namespace std::string_literals;
using Numbers = std::array<int32_t, 3>;  // attribute, value, subvalue

constexpr int32_t kUnwritten = -77;

int32_t CursorOf(size_t offset) {
    return int32_t(offset) + kVrFirstCursor;
}

// An element, or the last one and how many are missing after it.
struct Place {
    size_t start;
    size_t end;
    int32_t missing;
};

Place Find(const std::string& text, char mark, int32_t number) {
    size_t start = 0;
    size_t end = text.find(mark);
    int32_t reached = 1;
    for (; reached != number && end != text.npos; ++reached) {
        start = end + 1;
        end = text.find(mark, start);
    }
    return {start, std::min(end, text.size()), std::max(number, 1) - reached};
}

// Both are empty if the element is missing.
struct Picked {
    std::string element;
    std::string tail;  // from the element's first byte on
};

Picked Pick(const std::string& text, const Numbers& numbers) {
    Picked picked = {text, text};
    for (size_t level = 0; level < 3 && (level == 0 || numbers[level] != 0); ++level) {
        const Place place = Find(picked.element, kMarks[level], std::max(numbers[level], 1));
        if (place.missing > 0) return {};
        picked.element = picked.element.substr(place.start, place.end - place.start);
        picked.tail = picked.tail.substr(place.start);
    }
    return picked;
}

struct Request {
    Numbers given;
    Numbers numbers;  // with the levels above the lowest one completed
    std::string element;
    uint32_t replace;
};

// The steps of an edit, each with the bytes that the text grows by; a locating one has the
// cursor that the memo takes.
enum class Step { Marks, Locate, Insert, Replace, Append };

struct Edited {
    std::string text;
    int32_t cursor = kVrFirstCursor;
    std::vector<std::pair<Step, int32_t>> steps = {};
};

bool Appends(const Numbers& numbers) {
    return std::ranges::any_of(numbers, [](int32_t number) { return number < 0; });
}

// An element is written over its place or in front of it; an empty last place is
// filled in either case.
Edited Put(std::string text, size_t level, const Request& request, bool isMade = false) {
    const int32_t number = request.numbers[level];
    Place place = Find(text, kMarks[level], number);
    const int32_t made = number > 0 ? place.missing : int32_t{!text.empty()};
    Edited result = {request.element};
    if (made > 0) {
        text.append(size_t(made), kMarks[level]);
        place.start = place.end = text.size();
        result.steps.emplace_back(Step::Marks, made);
    }
    isMade |= made > 0;
    if (level == 0) result.steps.emplace_back(Step::Locate, CursorOf(place.start));
    const std::string old = text.substr(place.start, place.end - place.start);
    const bool replaces = request.replace && !isMade && !Appends(request.numbers);
    if (level < 2 && request.numbers[level + 1] != 0) {
        const Edited inner = Put(old, level + 1, request, isMade);
        result.text = inner.text;
        result.cursor = inner.cursor;
        result.steps.insert(result.steps.end(), inner.steps.begin(), inner.steps.end());
    } else {
        if (!request.replace && (!old.empty() || place.end < text.size()))
            result.text += kMarks[level] + old;
        result.steps.emplace_back(replaces ? Step::Replace : Step::Insert,
                                  std::ssize(result.text) - std::ssize(old));
    }
    result.cursor += int32_t(place.start);
    result.text = text.replace(place.start, old.size(), result.text);
    return result;
}

// After the whole text, a run of negative numbers opens one element of the run's last level,
// and the numbers after the run count in that new element.
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
    if (!text.empty()) {
        result.text = text + kMarks[level] + result.text;
        result.cursor += std::ssize(text) + 1;
    }
    result.steps = {{Step::Append, std::ssize(result.text) - std::ssize(text)}};
    return result;
}

bool IsLong(VrString s) {
    return (ClassByteOf(s) & 0x0F) != 0;
}

// Where a text lies. A short string has as much room as text; a long one half as much again,
// and a memo.
struct Room {
    explicit Room(int32_t bytes) : length(bytes), isLong(bytes > 128) {
        if (isLong) header.capacity = length + length / 2;
    }
    explicit Room(VrString s) : length(s->length), isLong(IsLong(s)) {
        if (isLong) header = HeaderOf(s);
    }
    bool IsThatOf(VrString s) const {
        if (length == 0 && isNew) return s == NullString();
        const unsigned char shortClass = length <= 57 ? 0xF0 : 0;
        if (!isLong) return s->length == length && (!isNew || ClassByteOf(s) == shortClass);
        return s->length == length && std::memcmp(&HeaderOf(s), &header, sizeof header) == 0;
    }
    // Grows where it is or in a new string, which a memo follows while it is true.
    void Take(Step step, int32_t value, int32_t attribute) {
        if (step == Step::Locate) {
            header.memoAttribute = attribute;
            header.memoCursor = value;
            return;
        }
        const int32_t grown = length + value, room = isLong ? header.capacity : length;
        const bool fits = step == Step::Replace  ? grown <= length || grown < room
                          : step == Step::Insert ? grown < room
                                                 : length != 0 && grown <= room;
        if (fits) {
            length = grown;
            return;
        }
        const LongHeader before = isLong ? header : LongHeader{};
        *this = Room(grown);
        isNew = true;
        if (!isLong || step == Step::Marks || step == Step::Append) return;
        header.memoAttribute = before.memoAttribute;
        header.memoCursor = before.memoCursor;
    }

    int32_t length;
    bool isLong, isNew = false;
    LongHeader header = {0, 0, 0, 0x0F000000};
};

// The bytes of a new string, which is closed by a zero; frees it.
std::string TakeNew(VrString s) {
    Room room(s->length);
    room.isNew = true;
    HOLDS(room.IsThatOf(s));
    return TakeBytes(s);
}

const std::string kAlphabets[] = {Marked("abcdefghijklmnopqrstuvwxyz0123456789^]\\"),
                                  Marked("abc^"),
                                  Marked(std::string("\0\x7F\x80\xFB", 4) + "a]\\^")};

struct Dice : Input {
    explicit Dice(const Input& in) : Input(in) {}
    std::string Text(int32_t length) {
        std::string text(size_t(length), 0);
        for (char& c : text)
            c = alphabet[size_t(Below(int32_t(alphabet.size())))];
        if (has255 && length > 0 && Below(3) == 0) text[size_t(Below(length))] = '\xFF';
        return text;
    }

    const std::string& alphabet = kAlphabets[Below(std::ssize(kAlphabets))];
    const bool has255 = Below(4) == 0;
};

// Attributes around the memo, well before it, at the end and past it, also so far
// that the missing marks just fill the capacity; elements likewise.
Request AnyRequest(Dice& dice, VrString s) {
    const int32_t capacity = IsLong(s) ? HeaderOf(s).capacity : s->length;
    const int32_t m = IsLong(s) ? std::max(HeaderOf(s).memoAttribute, 0) : 0;
    const int32_t count = field_count(VrStrText(s), s->length);
    const int32_t full = count + std::min(capacity - s->length, 1000);
    const auto inner = {0, 0, 0, 0, 1, 2, 3, 1 + dice.Below(30), -1, INT_MIN};
    Request request = {};
    request.given = {dice.OneOf({0, -1, INT_MIN, 1 + dice.Below(9), 1 + dice.Below(count + 1),
                                 m - 1, m, m + 1, m / 2 + 1, m / 2 + 2, m - m / 3,
                                 count + dice.Below(4), full + dice.Below(3) - 1}),
                     dice.OneOf(inner), dice.OneOf(inner)};
    auto& [attribute, value, subvalue] = request.numbers = request.given;
    if (value == 0 && subvalue != 0) value = 1;
    if (attribute == 0 && value != 0) attribute = 1;
    request.replace = uint32_t(dice.OneOf({0, 1, 0x100}));
    int32_t length = dice.Below(dice.OneOf({1, 2, 5, 20, 20, 200}));
    if (IsLong(s) && dice.Below(3) == 0) {
        const int32_t bare = std::ssize(Edit(BytesOf(s), request).text);
        length = std::clamp(capacity - bare + dice.Below(4) - 2, 0, 800);
    }
    request.element = dice.Text(length);
    return request;
}

VrString Apply(VrString s, const Request& request) {
    const Edited expected = Edit(BytesOf(s), request);
    const auto [attribute, value, subvalue] = request.given;
    Room room(s);
    for (const auto& [step, by] : expected.steps)
        room.Take(step, by, request.numbers[0]);
    const Array element(StringOfBytes(request.element));
    UtilPosition position = {attribute, value, subvalue, kUnwritten};
    VrString result = UtilInsertReplace(&position, s, element, request.replace);
    if (expected.steps.empty()) room = Room(std::ssize(request.element)), room.isNew = true;
    HOLDS(BytesOf(result) == expected.text);
    HOLDS(VrStrText(result)[result->length] == 0);
    HOLDS((Numbers{position.attribute, position.value, position.subvalue}) == request.numbers);
    HOLDS(position.cursor == expected.cursor);
    const bool isCopied = s == VR_SHARED_STRING(TrueVrStr);  // which is never written to
    const bool isEmpty = s == NullString() && room.length == 0;
    HOLDS((result == s) == (isEmpty || (!room.isNew && !isCopied)));
    HOLDS(room.IsThatOf(result));
    if (result != s) free_mem(&s);
    return result;
}

// A cursor in the text, at its end, or outside it, where the nearest one in it stands.
int32_t AnyCursor(Dice& dice, VrString s, int32_t& inside) {
    const int32_t cursor =
        dice.OneOf({INT_MIN, 3, dice.Below(s->length + 9), dice.Below(s->length + 9), INT_MAX});
    inside = std::clamp(cursor, int32_t{kVrFirstCursor}, CursorOf(size_t(s->length)));
    return cursor;
}

// The walks by level, and as the last one the walk to a marker. All but that one
// take the byte at a cut for a mark, and complain of an element that just fits.
void CheckWalk(Dice& dice, VrString s, const std::string& text) {
    using Walk = int32_t (*)(VrString, int32_t, VrString*, uint32_t);
    constexpr Walk kWalks[] = {UtilGetNextAttribute, UtilGetNextValue, UtilGetNextSubvalue};
    constexpr const char* kNames[] = {"Attribute", "Value", "SubValue", "Attribute"};
    const auto kind = size_t(dice.Below(4));
    const bool toMarker = kind == std::size(kWalks);
    const int32_t marker = dice.OneOf({254, 253, 252, 'a', 0, 255});
    const std::string stops(toMarker ? std::string(1, char(marker)) : kMarks.substr(0, kind + 1));
    const auto size = uint32_t(dice.Below(50));
    const size_t room = size < 9 ? std::string::npos : size - kVrBufferOverhead;
    int32_t inside = 0;
    const int32_t cursor = AnyCursor(dice, s, inside);
    const auto from = size_t(inside - kVrFirstCursor);
    const std::string element = text.substr(from, text.find_first_of(stops, from) - from);
    const std::string kept = element.substr(0, room);
    const std::string message = "0 "s + kNames[kind] + " too big (" + text.substr(from).c_str() +
                                ") size " + std::to_string(toMarker ? size : room);
    const bool complains = toMarker ? element.size() > room : element.size() >= room;
    const size_t behind = from + kept.size() + (toMarker && complains ? 0 : 1);
    std::vector<unsigned char> buffer(1 + size, 0xAA);
    auto* out = reinterpret_cast<VrString>(&buffer[1]);  // a string may stand anywhere
    boxesShown.shown.clear();
    const int32_t next = toMarker ? UtilGetNextMarkerVal(s, cursor, &out, size, uint8_t(marker))
                                  : kWalks[kind](s, cursor, &out, size);
    HOLDS(next == CursorOf(std::min(behind, text.size())));
    HOLDS(boxesShown.shown == std::vector(complains ? 1 : 0, message.substr(0, 2 + 1023)));
    if (size >= 9) HOLDS(VrStrText(out) == &buffer[9]);
    if (size >= 9) HOLDS(std::count(&buffer[1], &buffer[5], 0) == 4);
    HOLDS(VrStrText(out)[kept.size()] == 0);
    HOLDS((size < 9 ? TakeNew(out) : BytesOf(out)) == kept);
    if (complains || kind > 1) return;
    HOLDS((kind == 0 ? UtilSkipAttribute : UtilSkipValue)(s, cursor) == next);
}

void CheckWalkBack(Dice& dice, VrString s, const std::string& text) {
    int32_t inside = 0;
    const int32_t cursor = AnyCursor(dice, s, inside);
    const int32_t from = inside - kVrFirstCursor;
    const int32_t stop = from == s->length ? from : from - 1;
    const int32_t start =
        stop <= 0 ? stop : int32_t(text.find_last_of(kMarks.substr(0, 2), size_t(stop) - 1) + 1);
    VrString out = nullptr;
    HOLDS(UtilGetPrevValue(s, cursor, &out) == start + kVrFirstCursor);
    HOLDS(TakeNew(out) == text.substr(size_t(std::max(start, 0)), size_t(stop - start)));
    HOLDS(UtilGetRestOfVrStr(s, cursor, &out) == CursorOf(size_t(s->length - from)));
    HOLDS(TakeNew(out) == text.substr(size_t(from)));

    const int32_t asked = 1 + dice.Below(9);
    const int32_t left = asked - int32_t(std::count(text.begin(), text.begin() + from, kMarks[0]));
    const size_t reached = left > 0 ? 0 : Find(text, kMarks[0], 1 - left).start;
    int32_t count = asked;
    const bool isInFront = cursor <= kVrFirstCursor;
    HOLDS(SkipBackNAttrs(s, cursor, &count) == (isInFront ? cursor : CursorOf(reached)));
    HOLDS(count == (isInFront ? asked : std::max(left, 0)));
}

// A place that is wanted after the last element needs a mark unless nothing stands there.
void CheckScan(Dice& dice, VrString s, const std::string& text) {
    const auto mark = uint8_t(dice.OneOf({254, 253, 252, 'b'}));
    const auto higher = [mark](char c) { return uint8_t(c) > mark; };
    int32_t inside = 0;
    const int32_t cursor = AnyCursor(dice, s, inside);
    const int32_t from = inside - kVrFirstCursor;
    const auto end = std::find_if(text.begin() + from, text.end(), higher);
    const std::string element(text.begin() + from, end);
    const int32_t asked = dice.OneOf({INT_MIN, -1, 0, 1, 2, 3, 1 + dice.Below(99)});
    const Place place = Find(element, char(mark), asked);
    const bool found = asked > 0 && place.missing == 0;
    const size_t reached = size_t(from) + (found ? place.start : element.size());
    const bool needsMark = reached > 0 && !higher(text[reached - 1]);
    int32_t count = asked;
    HOLDS(ScanStr(s, cursor, s->length, mark, &count) == CursorOf(reached));
    HOLDS(asked > 0 ? count == std::max(place.missing, 0) : needsMark ? count == 1 : count < 0);
}

void CheckPicks(Dice& dice, VrString s, const std::string& text) {
    const Numbers numbers = {dice.Below(20) - 1, dice.Below(5) - 1, dice.Below(5) - 1};
    const auto [attribute, value, subvalue] = numbers;
    const Picked picked = Pick(text, numbers);
    HOLDS(TakeNew(extract_field(attribute, value, subvalue, s)) == picked.element);
    HOLDS(TakeNew(extract_tail(attribute, value, subvalue, s)) == picked.tail);
    const Picked whole = Pick(text, {attribute, 0, 0});
    HOLDS(TakeNew(get_field(attribute, s)) == whole.element);
    HOLDS(TakeCText(get_field_string(attribute, s)) == whole.element.c_str());
    HOLDS(TakeCText(get_tail_string(attribute, s)) == whole.tail.c_str());
    const int32_t offset = dice.Below(s->length + 3) - 1;
    const std::string rest = offset < 0 || offset > s->length ? "" : text.substr(size_t(offset));
    HOLDS(TakeNew(get_field_at_pos(offset, s)) == Pick(rest, {1, 0, 0}).element);
    const auto items = [&](char c) {
        return text.empty() ? 0 : 1 + int32_t(std::count(text.begin(), text.end(), c));
    };
    HOLDS(field_count(VrStrText(s), s->length) == items(kMarks[0]));
    HOLDS(value_count(VrStrText(s), s->length) == items(kMarks[1]));
    HOLDS(item_count(s, 'a') == items('a'));
    const Array copy(StringOfBytes(text));
    UtilSwapChar(copy, uint8_t(kMarks[0]), 'a');
    HOLDS(BytesOf(copy) == Swapped(text, kMarks.substr(0, 1), "a"));
}

void CheckFields(Dice& dice, VrString s, const std::string& text) {
    const std::string values = dice.Text(dice.Below(40));
    std::string list;
    std::string gathered;
    std::string put = text;
    const int32_t count = dice.Below(5);
    for (int32_t i = 0; i < count; ++i) {
        const Numbers numbers = {dice.Below(30) - 1, 0, 0};
        const std::string mark(i == 0 ? "" : kMarks.substr(0, 1));
        list += mark + std::to_string(numbers[0]);
        gathered += mark + Pick(text, numbers).element;
        put = Edit(put, {numbers, numbers, Pick(values, {i + 1, 0, 0}).element, 1}).text;
    }
    const Array fields(StringOfBytes(list));
    HOLDS(TakeNew(UtilGetFieldsFromVrString(s, fields)) == gathered);
    // Edits in place, and so may leave an empty string of its own.
    const Array result(UtilPutFieldsInVrString(s, Array(StringOfBytes(values)), fields));
    HOLDS(BytesOf(result) == put);
}

void CheckSplice(Dice& dice, VrString s, const std::string& text) {
    const Array with(StringOfBytes(dice.Text(dice.Below(20))));
    const int32_t length = dice.OneOf({INT_MIN, INT_MAX, dice.Below(s->length + 1)});
    const int32_t offset = dice.OneOf({INT_MIN, INT_MAX, dice.Below(s->length + 1)});
    const auto at = size_t(std::clamp(offset, 0, s->length));
    const std::string head = text.substr(0, at) + BytesOf(with);
    const std::string tail = text.substr(std::min(at + size_t(std::max(length, 0)), text.size()));
    int32_t behind = kUnwritten;
    HOLDS(TakeNew(UtilReplaceString(s, with, length, offset, &behind)) == head + tail);
    HOLDS(behind == std::ssize(head));
}

constexpr void (*kChecks[])(Dice&, VrString, const std::string&) = {
    CheckWalk, CheckWalkBack, CheckScan, CheckPicks, CheckFields, CheckSplice};

VrString AnyString(Dice& dice) {
    if (dice.Below(10) == 0) return VR_SHARED_STRING(TrueVrStr);
    return StringOfBytes(dice.Text(dice.Below(dice.OneOf({9, 300, 2001}))));
}

}  // namespace

void TryInput(Input& in) {
    Dice dice(in);
    VrString s = AnyString(dice);
    while (!dice.rest.empty() && s->length < 2500) {
        const auto check = size_t(dice.Below(2 * std::ssize(kChecks)));
        if (check < std::size(kChecks)) {
            kChecks[check](dice, s, BytesOf(s));
        } else {
            const Request request = AnyRequest(dice, s);
            const Array copy(Apply(StringOfBytes(BytesOf(s)), request));
            s = Apply(s, request);
        }
    }
    free_mem(&s);
    HOLDS(BytesOf(VR_SHARED_STRING(TrueVrStr)) == "1");
}
