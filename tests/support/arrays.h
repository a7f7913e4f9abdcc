// Dynamic arrays as the tests write them: ^ ] \ stand for the three marks.
#ifndef TESTS_SUPPORT_ARRAYS_H
#define TESTS_SUPPORT_ARRAYS_H

#include "vr/owned.hpp"
#include "vr/vr.h"

#include "tests/support/base.h"

constexpr std::string_view kNotation = "^]\\";
constexpr std::string_view kMarks = "\xFE\xFD\xFC";  // one a level

inline std::string Swapped(std::string text, std::string_view from, std::string_view to) {
    for (char& c : text) {
        const size_t at = from.find(c);
        if (at != from.npos) c = to[at];
    }
    return text;
}

inline std::string Marked(std::string_view text) {
    return Swapped(std::string(text), kNotation, kMarks);
}

// A new string of the bytes, as they are.
inline VrString StringOfBytes(std::string_view bytes) {
    VrString s = alloc_string(uint32_t(bytes.size()));
    if (!bytes.empty()) std::memcpy(VrStrText(s), bytes.data(), bytes.size());
    return s;
}

inline std::string BytesOf(VrString s) {
    return std::string(reinterpret_cast<const char*>(VrStrText(s)), size_t(s->length));
}

inline VrString NullString() {
    return VR_SHARED_STRING(NullVrStr);
}

// The string's bytes, or its text in the notation; frees the string. Without a text it
// must be the shared one, and a zero must follow the text.
inline std::string TakeBytes(VrString s) {
    const bool isOwn = s->length == 0 && s != NullString();
    const bool isOpen = VrStrText(s)[s->length] != 0;
    const std::string bytes = BytesOf(s);
    free_mem(&s);
    if (isOwn) return "an empty string of its own";
    return isOpen ? "a string without a zero" : bytes;
}

inline std::string TakeText(VrString s) {
    return Swapped(TakeBytes(s), kMarks, kNotation);
}

inline std::string CText(const char* text) {
    return text == nullptr ? "(null)" : text;
}

inline std::string TakeCText(char* text) {
    const std::string taken = CText(text);
    free_mem(&text);
    return taken;
}

// A string that goes with its scope: a new one of a text in the notation, or the given.
struct Array : vr::String {
    explicit Array(std::string_view text) : Array(StringOfBytes(Marked(text))) {}
    explicit Array(VrString s) : String(s) {}
    operator VrString() const {
        return get();
    }
};

inline unsigned char ClassByteOf(const void* payload) {
    asm("" : "+r"(payload));  // or the compiler takes for granted that nothing is in front of it
    return static_cast<const unsigned char*>(payload)[-1];
}

// What stands in front of a long string.
struct LongHeader {
    int32_t memoAttribute;
    int32_t memoCursor;
    int32_t capacity;
    uint32_t classWord;
};

inline LongHeader& HeaderOf(VrString s) {
    return reinterpret_cast<LongHeader*>(s)[-1];
}

#endif
