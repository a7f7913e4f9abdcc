// The one writer of dynamic arrays. An edit locates its element level by level,
// adds the marks that are missing, and then replaces or inserts. Every step opens
// a gap at the cursor, in place where its own test of the capacity allows and
// otherwise in a new string, and fills it. The string that the caller gave is never
// freed.

#define VR_MODULE "Vrstr"

#include <cstring>

#include "core/Invariant.h"
#include "core/vrmem_check.h"
#include "dynarray/Vrstr.h"
#include "vr/edit.h"

namespace {

struct Edit {
    VrString given;  // the caller's string
    VrString s;      // the string being edited: `given`, or one made on the way
    int32_t cursor;
};

// What stands at the cursor once an element is located.
struct Found {
    uint8_t mark;  // of the element's level
    bool exists;   // the element was there before
    bool made;     // marks were added, for it or for what encloses it
};

enum class MemoRule { Drop, Carry };  // what a new string does with the old one's memo

// A change of the text at the cursor.
struct Gap {
    int32_t removed;  // bytes
    int64_t added;    // bytes; 64 bits, since the numbers of a position can ask for 2^32 marks
    bool inPlace;     // in the string as it is, or in a new one
    MemoRule memo;
};

void SetMemo(VrString s, vr::Memo memo) {
    if (vr::IsLong(s)) vr::LongHeaderOf(s).memo = memo;
}

// A memo is trusted, but never to lead outside the text.
vr::Memo MemoOf(VrString s) {
    if (!vr::IsLong(s)) return {};
    const vr::Memo memo = vr::LongHeaderOf(s).memo;
    const bool inside = memo.cursor >= kVrFirstCursor && memo.cursor <= vr::EndCursor(s);
    return inside ? memo : vr::Memo{};
}

// Goes on with `s`. Frees the string before, unless it is the caller's.
void Take(Edit& edit, VrString s) {
    VrString before = edit.s;
    edit.s = s;
    if (before != edit.given) free_mem(&before);
}

// The empty shared string has nothing to move, and must not be written to.
void MoveTail(VrString s, int32_t tail, int32_t by) {
    if (vr::IsSharedString(s)) return;
    const int32_t end = vr::EndCursor(s);
    if (by != 0 && tail != end) {
        std::memmove(vr::At(s, tail + by), vr::At(s, tail), static_cast<size_t>(end - tail));
    }
    s->length += by;
    *vr::At(s, end + by) = 0;
}

void OpenGap(Edit& edit, const Gap& gap) {
    VrString s = edit.s;
    const int32_t tail = edit.cursor + gap.removed;
    if (gap.inPlace) {
        MoveTail(s, tail, static_cast<int32_t>(gap.added) - gap.removed);
        return;
    }
    const int64_t length = vr::LengthOf(s) - gap.removed + gap.added;
    VrString grown = alloc_string(vr::Saturated(static_cast<uint64_t>(length)));
    const auto head = static_cast<size_t>(edit.cursor - kVrFirstCursor);
    const auto rest = static_cast<size_t>(vr::EndCursor(s) - tail);
    const int32_t newTail = edit.cursor + static_cast<int32_t>(gap.added);
    std::memcpy(VrStrText(grown), VrStrText(s), head);
    std::memcpy(vr::At(grown, newTail), vr::At(s, tail), rest);
    if (gap.memo == MemoRule::Carry && vr::IsLong(s)) {
        SetMemo(grown, vr::LongHeaderOf(s).memo);
    }
    Take(edit, grown);
}

void WriteMarks(Edit& edit, uint8_t mark, int32_t marks) {
    if (marks == 1) {
        *vr::At(edit.s, edit.cursor) = mark;  // the usual case, without a call
    } else if (marks != 0) {
        std::memset(vr::At(edit.s, edit.cursor), mark, static_cast<size_t>(marks));
    }
    edit.cursor += marks;
}

void WriteElement(const Edit& edit, VrString element) {
    vr::CopyBytes(vr::At(edit.s, edit.cursor), VrStrText(element),
                  static_cast<size_t>(vr::LengthOf(element)));
}

void AddMarks(Edit& edit, uint8_t mark, int32_t marks) {
    const int64_t newLength = int64_t{vr::LengthOf(edit.s)} + marks;
    const bool inPlace = vr::LengthOf(edit.s) != 0 && newLength <= vr::CapacityOf(edit.s);
    OpenGap(edit, {.removed = 0, .added = marks, .inPlace = inPlace, .memo = MemoRule::Drop});
    WriteMarks(edit, mark, marks);
}

void ReplaceElement(Edit& edit, uint8_t mark, VrString element) {
    const uint8_t* start = vr::At(edit.s, edit.cursor);
    const uint8_t* stop =
        vr::FindStop(start, vr::At(edit.s, vr::EndCursor(edit.s)), {mark, vr::kHighestByte});
    const auto removed = static_cast<int32_t>(stop - start);
    const int64_t newLength = int64_t{vr::LengthOf(edit.s)} - removed + vr::LengthOf(element);
    const bool inPlace = newLength <= vr::LengthOf(edit.s) || newLength < vr::CapacityOf(edit.s);
    OpenGap(edit, {.removed = removed,
                   .added = vr::LengthOf(element),
                   .inPlace = inPlace,
                   .memo = MemoRule::Carry});
    WriteElement(edit, element);
}

// The new element needs a mark after it only where an element of its own level
// follows: not at the end of the text, not after marks that were just added for it,
// and not where an outer mark follows.
void InsertElement(Edit& edit, const Found& found, VrString element) {
    const bool pushesBack = edit.cursor != vr::EndCursor(edit.s) && found.exists &&
                            *vr::At(edit.s, edit.cursor) <= found.mark;
    const int64_t added = int64_t{vr::LengthOf(element)} + (pushesBack ? 1 : 0);
    const bool inPlace = vr::LengthOf(edit.s) + added < vr::CapacityOf(edit.s);
    OpenGap(edit, {.removed = 0, .added = added, .inPlace = inPlace, .memo = MemoRule::Carry});
    WriteElement(edit, element);
    if (pushesBack) *vr::At(edit.s, edit.cursor + vr::LengthOf(element)) = found.mark;
}

// Appends an attribute: a lead mark, the marks of the levels below and the element, all
// at the end. An empty array needs no lead mark.
void Append(Edit& edit, const UtilPosition& position, VrString element) {
    const int32_t values = position.value > 0 ? position.value - 1 : 0;
    const int32_t subvalues = position.subvalue > 0 ? position.subvalue - 1 : 0;
    const int32_t leads = vr::LengthOf(edit.s) != 0 ? 1 : 0;
    uint8_t lead = kVrAttributeMark;
    if (position.value < 0) lead = position.subvalue < 0 ? kVrSubvalueMark : kVrValueMark;

    const int64_t added = int64_t{leads} + values + subvalues + vr::LengthOf(element);
    const bool inPlace =
        vr::LengthOf(edit.s) != 0 && vr::LengthOf(edit.s) + added <= vr::CapacityOf(edit.s);
    edit.cursor = vr::EndCursor(edit.s);
    OpenGap(edit, {.removed = 0, .added = added, .inPlace = inPlace, .memo = MemoRule::Drop});
    WriteMarks(edit, lead, leads);
    WriteMarks(edit, kVrValueMark, values);
    WriteMarks(edit, kVrSubvalueMark, subvalues);
    WriteElement(edit, element);
}

// Looks for element number `target` of those that start at the cursor, and leaves the cursor
// at the element, or at the end of what encloses it. Returns the marks that are missing, 0 for
// an element that was found; below 0 as ScanStr has it.
int32_t Scan(Edit& edit, int32_t target, uint8_t mark) {
    int32_t missing = target;
    edit.cursor = ScanStr(edit.s, edit.cursor, vr::LengthOf(edit.s), mark, &missing);
    return missing;
}

// Compares the marks that a scan crosses. A scan back from the remembered attribute crosses
// one mark more than it goes back attributes: the mark before the target is its last.
bool IsNearerToStart(int32_t target, int32_t remembered) {
    if (remembered <= target) return false;
    const int32_t marksFromStart = target - 1;
    const int32_t marksBack = remembered - target + 1;
    return marksFromStart <= marksBack;
}

// Starts from the memo, forward or back, unless there is none or the start is nearer. Returns
// the marks that are missing.
int32_t FindAttribute(Edit& edit, int32_t target) {
    const vr::Memo memo = MemoOf(edit.s);
    if (memo.attribute < 1 || IsNearerToStart(target, memo.attribute)) {
        edit.cursor = kVrFirstCursor;
        return Scan(edit, target, kVrAttributeMark);
    }
    edit.cursor = memo.cursor;
    if (memo.attribute == target) return 0;
    if (memo.attribute < target) {
        return Scan(edit, target - memo.attribute + 1, kVrAttributeMark);
    }
    int32_t missing = memo.attribute - target;
    edit.cursor = SkipBackNAttrs(edit.s, edit.cursor, &missing);
    return missing;
}

Found LocateAttribute(Edit& edit, int32_t target) {
    const int32_t missing = FindAttribute(edit, target);
    if (missing > 0) AddMarks(edit, kVrAttributeMark, missing);
    VR_INVARIANT(edit.cursor >= kVrFirstCursor && edit.cursor <= vr::EndCursor(edit.s));
    SetMemo(edit.s, {target, edit.cursor});
    return {kVrAttributeMark, missing == 0, missing > 0};
}

// The cursor is at the first byte of the enclosing element.
Found LocateInner(Edit& edit, const Found& enclosing, int32_t target, uint8_t mark) {
    const int32_t missing = Scan(edit, target, mark);
    if (missing > 0) AddMarks(edit, mark, missing);
    return {mark, missing == 0, enclosing.made || missing > 0};
}

// Brings the cursor to the element, which is made if it is not there.
Found Locate(Edit& edit, const UtilPosition& position) {
    const Found attribute = LocateAttribute(edit, position.attribute);
    if (position.value == 0) return attribute;
    const Found value = LocateInner(edit, attribute, position.value, kVrValueMark);
    if (position.subvalue == 0) return value;
    return LocateInner(edit, value, position.subvalue, kVrSubvalueMark);
}

// A number below a level that is not addressed addresses that level's first.
void CompleteNumbers(UtilPosition& position) {
    if (position.value == 0 && position.subvalue != 0) position.value = 1;
    if (position.attribute == 0 && position.value != 0) position.attribute = 1;
}

VrString CopyOfText(VrString s) {
    return vr::StringOf(VrStrText(s), static_cast<size_t>(vr::LengthOf(s)), VR_MODULE, __LINE__);
}

// A shared string with text must not be written to; the empty one never is.
VrString OwnString(VrString s) {
    return vr::IsSharedString(s) && s->length != 0 ? CopyOfText(s) : s;
}

// A host's own string has no header, so no memo is read.
VrString CopyOfElement(VrString element) {
    return vr::IsSharedString(element) ? element : CopyOfText(element);
}

bool Appends(const UtilPosition& position) {
    return position.attribute < 0 || position.value < 0 || position.subvalue < 0;
}

}  // namespace

// All that an edit calls is inlined, which halves the time of a short one.
[[gnu::flatten]] VrString UtilInsertReplace(UtilPosition* position, VrString s, VrString element,
                                            uint32_t replace) {
    if constexpr (vr::check::kOn) vr::check::Edited(s);
    CompleteNumbers(*position);
    if (position->attribute == 0) return CopyOfElement(element);

    Edit edit = {s, OwnString(s), kVrFirstCursor};
    if (position->attribute < 0) {
        Append(edit, *position, element);
    } else {
        const Found found = Locate(edit, *position);
        // An element that had to be made holds nothing that could be replaced.
        if (replace != 0 && !found.made && !Appends(*position)) {
            ReplaceElement(edit, found.mark, element);
        } else {
            InsertElement(edit, found, element);
        }
    }
    position->cursor = edit.cursor;
    return edit.s;
}
