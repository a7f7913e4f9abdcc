// The message box. A registered presenter answers it; otherwise the person at
// the controlling terminal does, by typing a button's first letter; otherwise
// the text goes to standard error and the safe answer is taken, so that an
// unattended process never hangs in a box.

#include "platform/messagebox.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <utility>

#include "linux/insist.h"
#include "linux/owned.h"
#include "linux/write.h"
#include "platform/control.h"
#include "platform/text.h"

namespace vrplatform {

namespace {

constexpr uint32_t kButtonBits = 0x0F;

struct Button {
    char letter;  // what a person types; 0 for the answer to a plain Enter
    int32_t result;
};

struct ButtonSet {
    const char* prompt;
    Button buttons[2];
    int32_t safeAnswer;
};

constexpr ButtonSet kOkSet = {"[Enter] ", {{0, IDOK}, {'o', IDOK}}, IDOK};
constexpr ButtonSet kRetryCancelSet = {
    "[r]etry or [c]ancel? ", {{'r', IDRETRY}, {'c', IDCANCEL}}, IDCANCEL};

MessageBoxPresenter presenter = nullptr;
void* presenterContext = nullptr;

const ButtonSet& ButtonsOf(uint32_t style) {
    return (style & kButtonBits) == MB_RETRYCANCEL ? kRetryCancelSet : kOkSet;
}

// A record's bytes may be shown here, so bytes that would control a terminal are masked. A failure
// to write to the terminal cannot be reported anywhere.
void WriteText(int descriptor, const char* text) {
    char chunk[512];
    for (size_t left = std::strlen(text); left != 0;) {
        const size_t taken = std::min(left, sizeof chunk);
        std::memcpy(chunk, text, taken);
        MaskControls(chunk, static_cast<uint32_t>(taken), "\n\t");
        if (WriteHolding(descriptor, chunk, taken, true) < 0) return;
        text += taken;
        left -= taken;
    }
}

void Show(int descriptor, const char* text, const char* caption) {
    if (caption != nullptr && *caption != '\0') {
        WriteText(descriptor, caption);
        WriteText(descriptor, ": ");
    }
    WriteText(descriptor, text);
    WriteText(descriptor, "\n");
}

// The first letter of the next line typed, 0 for an empty line, -1 at the end.
int ReadAnswer(int terminal) {
    char line[80];
    const ssize_t got = Insist([&] { return read(terminal, line, sizeof line); });
    if (got <= 0) return -1;
    return line[0] == '\n' || line[0] == '\r' ? 0 : line[0] | 0x20;
}

// None also in the background, where reading would stop the process.
Descriptor OpenTerminal() {
    Descriptor terminal(open("/dev/tty", O_RDWR | O_CLOEXEC));
    const bool inFront = terminal.IsOpen() && tcgetpgrp(terminal.Get()) == getpgrp();
    return inFront ? std::move(terminal) : Descriptor();
}

int32_t AskAtTerminal(int terminal, const ButtonSet& set) {
    for (;;) {
        WriteText(terminal, set.prompt);
        const int answer = ReadAnswer(terminal);
        if (answer < 0) return set.safeAnswer;
        for (const Button& button : set.buttons) {
            if (answer == button.letter) return button.result;
        }
    }
}

}  // namespace

}  // namespace vrplatform

using namespace vrplatform;

int32_t MessageBoxA(void*, const char* text, const char* caption, uint32_t style) {
    if (text == nullptr) text = "";
    if (presenter != nullptr) return presenter(presenterContext, text, caption, style);

    const ButtonSet& set = ButtonsOf(style);
    const Descriptor terminal = OpenTerminal();
    if (!terminal.IsOpen()) {
        Show(STDERR_FILENO, text, caption);
        return set.safeAnswer;
    }
    Show(terminal.Get(), text, caption);
    return AskAtTerminal(terminal.Get(), set);
}

void ControlMessageBoxes(MessageBoxPresenter newPresenter, void* context) {
    presenter = newPresenter;
    presenterContext = context;
}
