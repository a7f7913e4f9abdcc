// Answers message boxes and remembers them.
#ifndef TESTS_SUPPORT_BOXES_H
#define TESTS_SUPPORT_BOXES_H

#include <ostream>
#include <string>
#include <vector>

#include "platform/control.h"
#include "platform/messagebox.h"

struct Box {
    std::string text;
    bool hasCaption;
    std::string caption;
    uint32_t style;

    bool operator==(const Box&) const = default;
    friend std::ostream& operator<<(std::ostream& out, const Box& box) {
        return out << box.style << (box.hasCaption ? " " + box.caption + ": " : " ") << box.text;
    }
};

class Boxes {
public:
    void Attach() {
        ControlMessageBoxes(Answer, this);
    }

    std::vector<Box> shown;

private:
    // OK, or Cancel where there is one.
    static int32_t Answer(void* context, const char* text, const char* caption, uint32_t style) {
        auto& shown = static_cast<Boxes*>(context)->shown;
        shown.push_back({text, caption != nullptr, caption != nullptr ? caption : "", style});
        return (style & MB_RETRYCANCEL) == MB_RETRYCANCEL ? IDCANCEL : IDOK;
    }
};

#endif
