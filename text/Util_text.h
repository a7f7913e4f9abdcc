// Comparing, classing and measuring text without regard to case or locale.
#ifndef TEXT_UTIL_TEXT_H
#define TEXT_UTIL_TEXT_H

#include <cstddef>
#include <cstring>

namespace vr {

inline char Upper(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - ('a' - 'A')) : c;
}

inline bool IsLetter(char c) {
    return Upper(c) >= 'A' && Upper(c) <= 'Z';
}

// The white space of the standard library's C locale.
inline bool IsSpace(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

// Whether a formatted text of that length, as the standard library tells it, fitted with
// its zero. A failure, which is told by -1, did not.
inline bool Fits(int length, size_t size) {
    return static_cast<size_t>(length) < size;
}

// Whether the text begins with the prefix, case aside. Stops at the text's zero.
inline bool BeginsWith(const char* text, const char* prefix, size_t prefixLength) {
    for (size_t i = 0; i < prefixLength; ++i) {
        if (Upper(text[i]) != Upper(prefix[i])) return false;
    }
    return true;
}

// The file's name in a path: what stands behind the last backslash.
inline const char* NameInPath(const char* path) {
    const char* backslash = std::strrchr(path, '\\');
    return backslash == nullptr ? path : backslash + 1;
}

}  // namespace vr

#endif
