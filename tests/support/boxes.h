// Answers message boxes and remembers them.

#include "tests/support/base.h"
#ifndef TESTS_SUPPORT_BOXES_H
#define TESTS_SUPPORT_BOXES_H

struct Boxes {
    void Attach() {
        ControlMessageBoxes(Answer, this);
    }
    // OK, or Cancel where there is one.
    static int32_t Answer(void* boxes, const char* text, const char* caption, uint32_t style) {
        const std::string title = caption == nullptr ? "" : std::string(caption) + ": ";
        static_cast<Boxes*>(boxes)->shown.push_back(std::to_string(style) + " " + title + text);
        return (style & MB_RETRYCANCEL) == MB_RETRYCANCEL ? IDCANCEL : IDOK;
    }

    std::vector<std::string> shown;  // each "STYLE CAPTION: TEXT", or "STYLE TEXT"
};

#endif
