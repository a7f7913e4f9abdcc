// Comparing, classifying and measuring text, independent of the locale. All modules use it.
#ifndef CORE_TEXT_H
#define CORE_TEXT_H

#include <cstddef>
#include <cstring>

namespace vr {

constexpr char kCaseDistance = 'a' - 'A';

inline char Upper(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - kCaseDistance) : c;
}

inline bool IsLetter(char c) {
    return Upper(c) >= 'A' && Upper(c) <= 'Z';
}

// The white space of the standard library's C locale.
inline bool IsSpace(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

// Whether a formatted text fitted with its zero: `length` is what the standard library's
// print function returned, where -1 is a failure and does not fit.
[[nodiscard]] inline bool Fits(int length, size_t size) {
    return static_cast<size_t>(length) < size;
}

// Whether the text begins with the prefix in any case. Stops at the text's zero.
inline bool BeginsWith(const char* text, const char* prefix, size_t prefixLength) {
    for (size_t i = 0; i < prefixLength; ++i) {
        if (Upper(text[i]) != Upper(prefix[i])) return false;
    }
    return true;
}

// The file's name in a path: what follows the last backslash.
inline const char* NameInPath(const char* path) {
    const char* backslash = std::strrchr(path, '\\');
    return backslash == nullptr ? path : backslash + 1;
}

}  // namespace vr

#endif
