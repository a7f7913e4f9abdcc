// Dynamic arrays as the tests write them: ^ ] \ stand for the three marks.
#ifndef TESTS_SUPPORT_ARRAYS_H
#define TESTS_SUPPORT_ARRAYS_H

#include <cstring>
#include <string>
#include <string_view>

#include "vr/vr.h"

inline std::string Marked(std::string_view text) {
    std::string bytes(text);
    for (char& c : bytes) {
        if (c == '^') c = static_cast<char>(kVrAttributeMark);
        if (c == ']') c = static_cast<char>(kVrValueMark);
        if (c == '\\') c = static_cast<char>(kVrSubvalueMark);
    }
    return bytes;
}

// A new string of the bytes, as they are.
inline VrString StringOfBytes(std::string_view bytes) {
    VrString s = alloc_string(static_cast<uint32_t>(bytes.size()));
    if (!bytes.empty()) std::memcpy(VrStrText(s), bytes.data(), bytes.size());
    return s;
}

// A new string of a text in the notation.
inline VrString Array(std::string_view text) {
    return StringOfBytes(Marked(text));
}

inline std::string BytesOf(VrString s) {
    return std::string(reinterpret_cast<const char*>(VrStrText(s)), static_cast<size_t>(s->length));
}

// The string's text in the notation; frees the string.
inline std::string TakeText(VrString s) {
    std::string text = BytesOf(s);
    for (char& c : text) {
        if (static_cast<unsigned char>(c) == kVrAttributeMark) c = '^';
        if (static_cast<unsigned char>(c) == kVrValueMark) c = ']';
        if (static_cast<unsigned char>(c) == kVrSubvalueMark) c = '\\';
    }
    free_mem(&s);
    return text;
}

inline VrString NullString() {
    return VR_SHARED_STRING(NullVrStr);
}

inline unsigned char ClassByteOf(const void* payload) {
    return static_cast<const unsigned char*>(payload)[-1];
}

// Words in front of a long string.
inline int32_t MemoAttributeOf(VrString s) {
    return reinterpret_cast<const int32_t*>(s)[-4];
}

inline int32_t MemoCursorOf(VrString s) {
    return reinterpret_cast<const int32_t*>(s)[-3];
}

inline uint32_t CapacityOf(VrString s) {
    return reinterpret_cast<const uint32_t*>(s)[-2];
}

#endif
