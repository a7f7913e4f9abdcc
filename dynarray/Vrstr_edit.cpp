// The one writer of dynamic arrays. An edit locates its element level by level,
// adds the marks that are missing, and then replaces or inserts. Every step opens
// a gap at the cursor, in place where its own test of the capacity allows and
// otherwise in a new string, and fills it. The string that the caller gave is
// left behind, never freed.

#define VR_MODULE "Vrstr"

#include <cstring>

#include "core/Invariant.h"
#include "core/vrmem_check.h"
#include "dynarray/Vrstr.h"
#include "vr/edit.h"

namespace {

struct Edit {
    VrString given;  // the caller's string
    VrString s;      // the string in hand: `given` or one made on the way
    int32_t cursor;
    int32_t count;  // what the last scan left
    bool replace;
};

enum class MemoRule { Drop, Carry };  // what a new string does with the old one's memo

// How much of the text at the cursor goes, how much comes, and whether there.
struct Gap {
    int32_t removed;
    int64_t added;  // 64 bits, since the numbers of a position can ask for 2^32 marks
    bool inPlace;
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

// Makes `s` the string in hand; the one before goes, unless it is the caller's.
void Take(Edit& edit, VrString s) {
    VrString before = edit.s;
    edit.s = s;
    if (before != edit.given) free_mem(&before);
}

// The empty shared string comes here too, with nothing to move, and is not written to.
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
        *vr::At(edit.s, edit.cursor) = mark;  // as mostly, without a call
    } else if (marks != 0) {
        std::memset(vr::At(edit.s, edit.cursor), mark, static_cast<size_t>(marks));
    }
    edit.cursor += marks;
}

void WriteElement(const Edit& edit, VrString element) {
    vr::CopyBytes(vr::At(edit.s, edit.cursor), VrStrText(element),
                  static_cast<size_t>(vr::LengthOf(element)));
}

// An element that had to be made holds nothing that could be replaced.
void AddMarks(Edit& edit, uint8_t mark) {
    const int64_t newLength = int64_t{vr::LengthOf(edit.s)} + edit.count;
    const bool inPlace = vr::LengthOf(edit.s) != 0 && newLength <= vr::CapacityOf(edit.s);
    OpenGap(edit, {0, edit.count, inPlace, MemoRule::Drop});
    WriteMarks(edit, mark, edit.count);
    edit.replace = false;
}

void ReplaceElement(Edit& edit, uint8_t mark, VrString element) {
    const uint8_t* start = vr::At(edit.s, edit.cursor);
    const uint8_t* stop =
        vr::FindStop(start, vr::At(edit.s, vr::EndCursor(edit.s)), {mark, vr::kHighestByte});
    const auto removed = static_cast<int32_t>(stop - start);
    const int64_t newLength = int64_t{vr::LengthOf(edit.s)} - removed + vr::LengthOf(element);
    const bool inPlace = newLength <= vr::LengthOf(edit.s) || newLength < vr::CapacityOf(edit.s);
    OpenGap(edit, {removed, vr::LengthOf(element), inPlace, MemoRule::Carry});
    WriteElement(edit, element);
}

// The new element needs a mark behind it only where it pushes an element of its
// own level back: not at the end of the text, not behind marks that were just
// added, and not where an outer mark follows.
void InsertElement(Edit& edit, uint8_t mark, VrString element) {
    const bool pushesBack = edit.cursor != vr::EndCursor(edit.s) && edit.count == 0 &&
                            *vr::At(edit.s, edit.cursor) <= mark;
    const int64_t added = int64_t{vr::LengthOf(element)} + (pushesBack ? 1 : 0);
    const bool inPlace = vr::LengthOf(edit.s) + added < vr::CapacityOf(edit.s);
    OpenGap(edit, {0, added, inPlace, MemoRule::Carry});
    WriteElement(edit, element);
    if (pushesBack) *vr::At(edit.s, edit.cursor + vr::LengthOf(element)) = mark;
}

// The append path writes a lead mark, the marks of the levels below and the
// element, all at the end. An empty array needs no lead mark.
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
    OpenGap(edit, {0, added, inPlace, MemoRule::Drop});
    WriteMarks(edit, lead, leads);
    WriteMarks(edit, kVrValueMark, values);
    WriteMarks(edit, kVrSubvalueMark, subvalues);
    WriteElement(edit, element);
}

void Scan(Edit& edit, uint8_t mark) {
    edit.cursor = ScanStr(edit.s, edit.cursor, vr::LengthOf(edit.s), mark, &edit.count);
}

// Starts from the memo, forward or back, or from the first attribute when that is
// nearer, counted in attributes. The tie goes to the scan from the start.
void FindAttribute(Edit& edit, int32_t target) {
    const vr::Memo memo = MemoOf(edit.s);
    const bool nearerStart = memo.attribute > target && memo.attribute >= 2 * int64_t{target} - 2;
    if (memo.attribute < 1 || nearerStart) {
        edit.cursor = kVrFirstCursor;
        edit.count = target;
        Scan(edit, kVrAttributeMark);
        return;
    }
    edit.cursor = memo.cursor;
    edit.count = 0;
    if (memo.attribute == target) return;
    if (memo.attribute < target) {
        edit.count = target - memo.attribute + 1;
        Scan(edit, kVrAttributeMark);
    } else {
        edit.count = memo.attribute - target;
        edit.cursor = SkipBackNAttrs(edit.s, edit.cursor, &edit.count);
    }
}

void LocateAttribute(Edit& edit, int32_t target) {
    FindAttribute(edit, target);
    if (edit.count > 0) AddMarks(edit, kVrAttributeMark);
    VR_INVARIANT(edit.cursor >= kVrFirstCursor && edit.cursor <= vr::EndCursor(edit.s));
    SetMemo(edit.s, {target, edit.cursor});
}

void LocateInner(Edit& edit, int32_t target, uint8_t mark) {
    edit.count = target;
    Scan(edit, mark);
    if (edit.count > 0) AddMarks(edit, mark);
}

// Brings the cursor to the element and returns the mark of its level.
uint8_t Locate(Edit& edit, const UtilPosition& position) {
    LocateAttribute(edit, position.attribute);
    if (position.value == 0) return kVrAttributeMark;
    LocateInner(edit, position.value, kVrValueMark);
    if (position.subvalue == 0) return kVrValueMark;
    LocateInner(edit, position.subvalue, kVrSubvalueMark);
    return kVrSubvalueMark;
}

// A number below a level that is not addressed addresses that level's first.
void CompleteNumbers(UtilPosition& position) {
    if (position.value == 0 && position.subvalue != 0) position.value = 1;
    if (position.attribute == 0 && position.value != 0) position.attribute = 1;
}

VrString CopyOfText(VrString s) {
    return vr::StringOf(VrStrText(s), static_cast<size_t>(vr::LengthOf(s)), VR_MODULE, __LINE__);
}

// A shared string with a text must not be written to; the empty one never is.
VrString OwnString(VrString s) {
    return vr::IsSharedString(s) && s->length != 0 ? CopyOfText(s) : s;
}

// A host's own string has no header, so no memo is looked for.
VrString CopyOfElement(VrString element) {
    return vr::IsSharedString(element) ? element : CopyOfText(element);
}

bool Appends(const UtilPosition& position) {
    return position.attribute < 0 || position.value < 0 || position.subvalue < 0;
}

}  // namespace

// All that an edit calls is put in line, which halves the time of a short one.
[[gnu::flatten]] VrString UtilInsertReplace(UtilPosition* position, VrString s, VrString element,
                                            uint32_t replace) {
    if constexpr (vr::check::kOn) vr::check::Edited(s);
    CompleteNumbers(*position);
    if (position->attribute == 0) return CopyOfElement(element);

    VrString own = OwnString(s);
    Edit edit = {s, own, kVrFirstCursor, 0, replace != 0 && !Appends(*position)};
    if (position->attribute < 0) {
        Append(edit, *position, element);
    } else {
        const uint8_t mark = Locate(edit, *position);
        if (edit.replace) {
            ReplaceElement(edit, mark, element);
        } else {
            InsertElement(edit, mark, element);
        }
    }
    position->cursor = edit.cursor;
    return edit.s;
}
