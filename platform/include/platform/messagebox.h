/* The message box: a text that a person answers before the call returns. */
#ifndef PLATFORM_MESSAGEBOX_H
#define PLATFORM_MESSAGEBOX_H

#include "platform/base.h"

/* The style of a box: its buttons, and an icon. */
enum {
    MB_OK = 0,              /* one button */
    MB_RETRYCANCEL = 5,     /* two buttons */
    MB_ICONSTOP = 16,       /* added to the buttons */
    MB_ICONEXCLAMATION = 48 /* added to the buttons */
};

/* The buttons, as a box returns them. */
enum {
    IDOK = 1,     /* OK */
    IDCANCEL = 2, /* Cancel */
    IDRETRY = 4   /* Retry */
};

PLATFORM_BEGIN

/* Shows `text` under `caption` (null: none) and returns the button pressed.
 * `owner` is ignored.
 *
 * Who answers: the presenter of the control panel (platform/control.h); without one the person at
 * the process's controlling terminal; without a terminal nobody, and then the text goes to standard
 * error and the safe answer is returned, IDCANCEL where there is a Cancel button and IDOK
 * otherwise. The end of the terminal's input gives the safe answer too. */
PLATFORM_API int32_t MessageBoxA(void* owner, const char* text, const char* caption, uint32_t style)
    PLATFORM_SYMBOL(MessageBoxA);

PLATFORM_END

#endif
