// Text services. They compare bytes and fold the letters A to Z alone, so that a
// name means the same in every locale.

#include "platform/text.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "linux/text.h"

using namespace vrplatform;

int32_t wsprintfA(char* out, const char* format, ...) {
    va_list values;
    va_start(values, format);
    const int wanted = std::vsnprintf(out, kFormattedTextSize, format, values);
    va_end(values);
    if (wanted < 0) {
        *out = '\0';
        return 0;
    }
    return wanted < kFormattedTextSize ? wanted : kFormattedTextSize - 1;
}

int32_t lstrcmpA(const char* a, const char* b) {
    return std::strcmp(a, b);
}

int32_t lstrcmpiA(const char* a, const char* b) {
    while (*a != '\0' && FoldCase(*a) == FoldCase(*b)) {
        ++a;
        ++b;
    }
    return FoldCase(*a) - FoldCase(*b);
}

char* lstrcpyA(char* to, const char* from) {
    return std::strcpy(to, from);
}

int32_t lstrlenA(const char* text) {
    return text == nullptr ? 0 : static_cast<int32_t>(std::strlen(text));
}
