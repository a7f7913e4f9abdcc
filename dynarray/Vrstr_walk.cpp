// Walking a dynamic array by cursor. The four forward walks are one walk: they
// differ in the bytes that stop them, in the message for an element that is too
// long, and in whether they look behind a cut, which is a row of a table.

#define VR_MODULE "Vrstr"

#include <algorithm>
#include <cstring>

#include "dynarray/Vrstr.h"
#include "platform/messagebox.h"
#include "platform/text.h"
#include "vr/memory.h"
#include "vr/walk.h"

namespace {

constexpr vr::StopBytes kAttributeStops = {kVrAttributeMark, kVrAttributeMark};
constexpr vr::StopBytes kValueStops = {kVrValueMark, kVrAttributeMark};
constexpr vr::StopBytes kSubvalueStops = {kVrSubvalueMark, kVrAttributeMark};

struct Walk {
    vr::StopBytes stops;
    const char* tooBig;
    bool looksBehindCut;  // measures the whole element, and steps over no cut
};

constexpr char kAttributeTooBig[] = "Attribute too big (%s) size %d";
constexpr Walk kAttributeWalk = {kAttributeStops, kAttributeTooBig, false};
constexpr Walk kValueWalk = {kValueStops, "Value too big (%s) size %d", false};
constexpr Walk kSubvalueWalk = {kSubvalueStops, "SubValue too big (%s) size %d", false};

// In a caller's buffer the string stands behind a zeroed word, which makes it look
// like a short string of the allocator.
constexpr int32_t kBufferHeader = 4;

// The message takes the text as C text, through all marks to the zero behind it.
[[gnu::noinline]] void ReportTooBig(const Walk& walk, const uint8_t* text, uint32_t size) {
    wsprintfA(MemBuf1, walk.tooBig, reinterpret_cast<const char*>(text), size);
    MessageBoxA(nullptr, MemBuf1, nullptr, MB_OK);
}

int32_t Behind(VrString s, const uint8_t* stop) {
    const auto cursor = static_cast<int32_t>(stop - vr::At(s, 0));
    return cursor == vr::EndCursor(s) ? cursor : cursor + 1;
}

int32_t Skip(VrString s, int32_t cursor, vr::StopBytes stops) {
    const int32_t end = vr::EndCursor(s);
    return Behind(s, vr::FindStop(vr::At(s, vr::ClampCursor(cursor, end)), vr::At(s, end), stops));
}

int32_t NextAllocated(VrString s, int32_t cursor, VrString* out, const Walk& walk) {
    const uint8_t* from = vr::At(s, cursor);
    const uint8_t* stop = vr::FindStop(from, vr::At(s, vr::EndCursor(s)), walk.stops);
    *out = vr::StringOf(from, static_cast<size_t>(stop - from), VR_MODULE, __LINE__);
    return Behind(s, stop);
}

VrString OpenBuffer(VrString* out) {
    auto* buffer = reinterpret_cast<uint8_t*>(*out);
    std::memset(buffer, 0, kBufferHeader);
    *out = reinterpret_cast<VrString>(buffer + kBufferHeader);
    return *out;
}

void CloseBuffer(VrString element, uint32_t length) {
    VrStrText(element)[length] = 0;
    element->length = static_cast<int32_t>(length);
}

// Copies the element, as far as there is room, on the way to its end.
int32_t NextInBuffer(VrString s, int32_t cursor, VrString* out, uint32_t size, const Walk& walk) {
    const uint8_t* from = vr::At(s, cursor);
    const uint8_t* end = vr::At(s, vr::EndCursor(s));
    const uint32_t room = size - kVrBufferOverhead;
    const uint8_t* window = from + std::min(static_cast<uint32_t>(end - from), room);
    VrString element = OpenBuffer(out);
    const uint8_t* stop = vr::CopyToStop(VrStrText(element), from, window, walk.stops);
    const auto kept = static_cast<uint32_t>(stop - from);
    if (walk.looksBehindCut) stop = vr::FindStop(stop, end, walk.stops);

    // A window that is full cannot tell an element that fits from one that was cut. The
    // string is closed after the message, which a buffer in its area would not survive.
    const bool tooBig = walk.looksBehindCut ? stop != from + kept : kept >= room;
    if (tooBig) [[unlikely]]
        ReportTooBig(walk, from, walk.looksBehindCut ? size : room);
    CloseBuffer(element, kept);
    return walk.looksBehindCut && tooBig ? cursor + static_cast<int32_t>(kept) : Behind(s, stop);
}

int32_t Next(VrString s, int32_t cursor, VrString* out, uint32_t size, const Walk& walk) {
    cursor = vr::ClampCursor(cursor, vr::EndCursor(s));
    return size < kVrBufferOverhead ? NextAllocated(s, cursor, out, walk)
                                    : NextInBuffer(s, cursor, out, size, walk);
}

// All that a walk calls is put in line in it, so that each has its own stop bytes at hand.
#define VR_WALK [[gnu::flatten]]

}  // namespace

VR_WALK int32_t UtilGetNextAttribute(VrString s, int32_t cursor, VrString* out, uint32_t size) {
    return Next(s, cursor, out, size, kAttributeWalk);
}

VR_WALK int32_t UtilGetNextValue(VrString s, int32_t cursor, VrString* out, uint32_t size) {
    return Next(s, cursor, out, size, kValueWalk);
}

VR_WALK int32_t UtilGetNextSubvalue(VrString s, int32_t cursor, VrString* out, uint32_t size) {
    return Next(s, cursor, out, size, kSubvalueWalk);
}

VR_WALK int32_t UtilGetNextMarkerVal(VrString s, int32_t cursor, VrString* out, uint32_t size,
                                     unsigned char marker) {
    return Next(s, cursor, out, size, {{marker, marker}, kAttributeTooBig, true});
}

int32_t UtilSkipAttribute(VrString s, int32_t cursor) {
    return Skip(s, cursor, kAttributeStops);
}

int32_t UtilSkipValue(VrString s, int32_t cursor) {
    return Skip(s, cursor, kValueStops);
}

int32_t UtilGetPrevValue(VrString s, int32_t cursor, VrString* out) {
    const int32_t end = vr::EndCursor(s);
    cursor = vr::ClampCursor(cursor, end);
    const int32_t last = cursor == end ? cursor - 1 : cursor - 2;  // over the mark in front
    const uint8_t* valueEnd = vr::At(s, last + 1);
    const uint8_t* begin = std::min<const uint8_t*>(vr::At(s, kVrFirstCursor), valueEnd);
    const uint8_t* start = vr::FindStopBack(valueEnd, begin, kValueStops);
    *out = vr::StringOf(start, static_cast<size_t>(valueEnd - start), VR_MODULE, __LINE__);
    return static_cast<int32_t>(start - vr::At(s, 0));
}

int32_t UtilGetRestOfVrStr(VrString s, int32_t cursor, VrString* out) {
    const int32_t end = vr::EndCursor(s);
    cursor = vr::ClampCursor(cursor, end);
    *out = vr::StringOf(vr::At(s, cursor), static_cast<size_t>(end - cursor), VR_MODULE, __LINE__);
    return vr::EndCursor(*out);
}

void UtilSwapChar(VrString s, unsigned char from, unsigned char to) {
    if (s == nullptr || s->length <= 0 || vr::IsSharedString(s)) return;
    // Stores every byte, so that the compiler takes sixteen at a step.
    std::transform(VrStrText(s), VrStrText(s) + s->length, VrStrText(s),
                   [from, to](uint8_t byte) { return byte == from ? to : byte; });
}
