// Answers message boxes and remembers them.
#ifndef TESTS_SUPPORT_BOXES_H
#define TESTS_SUPPORT_BOXES_H

#include <string>
#include <vector>

#include "platform/control.h"
#include "platform/messagebox.h"

struct Box {
    std::string text;
    bool hasCaption;
    std::string caption;
    uint32_t style;
};

class Boxes {
public:
    void Attach() {
        ControlMessageBoxes(Answer, this);
    }

    // The answers to come, first to last; when they are used up, OK or Cancel.
    std::vector<int32_t> answers;
    std::vector<Box> shown;

private:
    static int32_t Answer(void* context, const char* text, const char* caption, uint32_t style) {
        auto& self = *static_cast<Boxes*>(context);
        const size_t number = self.shown.size();
        self.shown.push_back({text, caption != nullptr, caption ? caption : "", style});
        if (number < self.answers.size()) return self.answers[number];
        return (style & MB_RETRYCANCEL) == MB_RETRYCANCEL ? IDCANCEL : IDOK;
    }
};

#endif
