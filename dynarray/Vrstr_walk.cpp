// Walking a dynamic array by cursor. The forward walks differ in the bytes that stop
// them, in the message for an element that is too long, and in how they cut such an
// element for a caller's buffer.

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
};

constexpr char kAttributeTooBig[] = "Attribute too big (%s) size %d";
constexpr Walk kAttributeWalk = {kAttributeStops, kAttributeTooBig};
constexpr Walk kValueWalk = {kValueStops, "Value too big (%s) size %d"};
constexpr Walk kSubvalueWalk = {kSubvalueStops, "SubValue too big (%s) size %d"};

// In a caller's buffer the string follows a zeroed word, which makes it look like a
// short string of the allocator.
constexpr int32_t kBufferHeader = 4;

// The message takes the text as C text: the marks do not end it, only its zero.
[[gnu::noinline]] void ReportTooBig(const Walk& walk, const uint8_t* text, uint32_t size) {
    wsprintfA(MemBuf1, walk.tooBig, reinterpret_cast<const char*>(text), size);
    MessageBoxA(nullptr, MemBuf1, nullptr, MB_OK);
}

int32_t CursorOf(VrString s, const uint8_t* p) {
    return static_cast<int32_t>(p - vr::At(s, 0));
}

// The cursor after a stop byte, or the end of the text.
int32_t After(VrString s, const uint8_t* stop) {
    const int32_t cursor = CursorOf(s, stop);
    return cursor == vr::EndCursor(s) ? cursor : cursor + 1;
}

int32_t Skip(VrString s, int32_t cursor, vr::StopBytes stops) {
    const int32_t end = vr::EndCursor(s);
    return After(s, vr::FindStop(vr::At(s, vr::ClampCursor(cursor, end)), vr::At(s, end), stops));
}

int32_t NextAllocated(VrString s, int32_t cursor, VrString* out, const Walk& walk) {
    const uint8_t* from = vr::At(s, cursor);
    const uint8_t* stop = vr::FindStop(from, vr::At(s, vr::EndCursor(s)), walk.stops);
    *out = vr::StringOf(from, static_cast<size_t>(stop - from), VR_MODULE, __LINE__);
    return After(s, stop);
}

// What a caller's buffer got of an element.
struct Copy {
    VrString element;
    const uint8_t* start;
    const uint8_t* stop;  // in the text, after the last byte copied

    uint32_t Size() const {
        return static_cast<uint32_t>(stop - start);
    }
};

// Copies the element up to its end or to the end of the room, and sets *out to the string in
// the buffer, which is not closed yet.
Copy CopyToBuffer(VrString s, int32_t cursor, VrString* out, uint32_t room, const Walk& walk) {
    const uint8_t* start = vr::At(s, cursor);
    const uint8_t* end = vr::At(s, vr::EndCursor(s));
    const uint8_t* window = start + std::min(static_cast<uint32_t>(end - start), room);
    auto* buffer = reinterpret_cast<uint8_t*>(*out);
    std::memset(buffer, 0, kBufferHeader);
    auto element = reinterpret_cast<VrString>(buffer + kBufferHeader);
    *out = element;
    return {element, start, vr::CopyToStop(VrStrText(element), start, window, walk.stops)};
}

// Writes length and zero. This comes after the message, which is formatted in MemBuf1 and
// overwrites a buffer that is there too.
void Close(const Copy& copy) {
    VrStrText(copy.element)[copy.Size()] = 0;
    copy.element->length = static_cast<int32_t>(copy.Size());
}

// An element that fills the room exactly counts as too big.
int32_t NextOfLevel(VrString s, int32_t cursor, VrString* out, uint32_t size, const Walk& walk) {
    const uint32_t room = size - kVrBufferOverhead;
    const Copy copy = CopyToBuffer(s, cursor, out, room, walk);
    if (copy.Size() >= room) [[unlikely]]
        ReportTooBig(walk, copy.start, room);
    Close(copy);
    return After(s, copy.stop);
}

// Looks for the element's true end, and returns the cursor of the cut when there is one.
int32_t NextByMarker(VrString s, int32_t cursor, VrString* out, uint32_t size, const Walk& walk) {
    const Copy copy = CopyToBuffer(s, cursor, out, size - kVrBufferOverhead, walk);
    const bool isCut =
        vr::FindStop(copy.stop, vr::At(s, vr::EndCursor(s)), walk.stops) != copy.stop;
    if (isCut) [[unlikely]]
        ReportTooBig(walk, copy.start, size);
    Close(copy);
    return isCut ? CursorOf(s, copy.stop) : After(s, copy.stop);
}

int32_t Next(VrString s, int32_t cursor, VrString* out, uint32_t size, const Walk& walk) {
    cursor = vr::ClampCursor(cursor, vr::EndCursor(s));
    return size < kVrBufferOverhead ? NextAllocated(s, cursor, out, walk)
                                    : NextOfLevel(s, cursor, out, size, walk);
}

// All that a walk calls is inlined in it, so that its stop bytes are constants.
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
    const Walk walk = {{marker, marker}, kAttributeTooBig};
    cursor = vr::ClampCursor(cursor, vr::EndCursor(s));
    return size < kVrBufferOverhead ? NextAllocated(s, cursor, out, walk)
                                    : NextByMarker(s, cursor, out, size, walk);
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
    const int32_t last = cursor == end ? cursor - 1 : cursor - 2;  // not the mark before it
    const uint8_t* valueEnd = vr::At(s, last + 1);
    const uint8_t* begin = std::min<const uint8_t*>(vr::At(s, kVrFirstCursor), valueEnd);
    const uint8_t* start = vr::FindStopBack(valueEnd, begin, kValueStops);
    *out = vr::StringOf(start, static_cast<size_t>(valueEnd - start), VR_MODULE, __LINE__);
    return CursorOf(s, start);
}

int32_t UtilGetRestOfVrStr(VrString s, int32_t cursor, VrString* out) {
    const int32_t end = vr::EndCursor(s);
    cursor = vr::ClampCursor(cursor, end);
    *out = vr::StringOf(vr::At(s, cursor), static_cast<size_t>(end - cursor), VR_MODULE, __LINE__);
    return vr::EndCursor(*out);
}

void UtilSwapChar(VrString s, unsigned char from, unsigned char to) {
    if (s == nullptr || s->length <= 0 || vr::IsSharedString(s)) return;
    // Every byte is stored, so that the compiler handles sixteen in a step.
    std::transform(VrStrText(s), VrStrText(s) + s->length, VrStrText(s),
                   [from, to](uint8_t byte) { return byte == from ? to : byte; });
}
