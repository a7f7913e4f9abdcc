// Folding the case of text in place. It knows the letters A to Z alone, so that its results
// do not depend on a locale. Both are of vr/text.h, and stand here because the modules below
// the text module use them.

#include "core/Text.h"

#include "vr/text.h"

void ToLower(char* text) {
    if (text == nullptr) return;
    for (; *text != '\0'; ++text) {
        if (*text >= 'A' && *text <= 'Z') *text = static_cast<char>(*text + vr::kCaseDistance);
    }
}

void ToUpper(char* text) {
    if (text == nullptr) return;
    for (; *text != '\0'; ++text)
        *text = vr::Upper(*text);
}
