/* The terminal: its definition, and the escape sequences that it is driven by.
 *
 * The library knows one terminal. Its definition is a dynamic array of 22 attributes, of
 * which 3 to 7, 11, 13, 16, 17, 21 and 22 are decoded into the record below. Both are
 * built at the first call that needs them and stay until VrExit. They belong to the
 * library: hosts read them and neither free nor write them. */
#ifndef VR_TERMINAL_H
#define VR_TERMINAL_H

#include "vr/abi.h"
#include "vr/string.h"

enum {
    kVrTerminalTextSize = 20, /* bytes of a text or a control string, the zero included */
    kVrControlStrings = 50,
    kVrFirstForegroundString = 10, /* of 16 */
    kVrFirstBackgroundString = 26, /* of 16 */
    kVrBoxCharacters = 6
};

/* Numbers are decimal; texts are zero-terminated and cut at 19 bytes; what the definition
 * does not have is 0 or empty. */
typedef struct __attribute__((packed)) ScreenDefinition {
    int32_t columns;
    int32_t rows;
    int32_t option13;
    int32_t option17Number;
    char option17Text[kVrTerminalTextSize];
    int32_t option17Yes; /* 1 or 0 */
    char option17Char;
    char option17Text2[kVrTerminalTextSize];
    int32_t option17Number2;
    int32_t option17Number3;
    char option17Text3[kVrTerminalTextSize];
    char option17Text4[kVrTerminalTextSize];
    char option17Text5[kVrTerminalTextSize];
    char controlStrings[kVrControlStrings][kVrTerminalTextSize];
    unsigned char boxCharacters[kVrBoxCharacters]; /* of code page 437 */
    VrString* keyLists;  /* key bytes; the zero byte of list 0 leads on to list 1 */
    VrString* keyTable1; /* for each list, one byte for each key */
    VrString* keyTable2;
    VrString* keyTable3; /* function codes */
    int32_t keyListCount;
    int32_t keyTable1Count;
    int32_t keyTable2Count;
    int32_t keyTable3Count;
} ScreenDefinition;
VR_STATIC_ASSERT(offsetof(ScreenDefinition, option17Yes) == 36, "packed");
VR_STATIC_ASSERT(offsetof(ScreenDefinition, option17Number2) == 61, "packed");
VR_STATIC_ASSERT(offsetof(ScreenDefinition, controlStrings) == 129, "packed");
VR_STATIC_ASSERT(offsetof(ScreenDefinition, keyLists) == 1135, "packed");
VR_STATIC_ASSERT(sizeof(ScreenDefinition) == 1167, "packed");

VR_BEGIN

/* "PCWIN.COL". Builds nothing. */
VR_API const char* EnvironTerminalType(void);

/* The definition. It may move when the size is set, so ask again after that. */
VR_API VrString EnvironTerminalDefinition(int32_t ignored);

/* The record, which stays where it is. */
VR_API const ScreenDefinition* EnvironScreenDefinition(void);

/* Puts the size into the definition and the record. 1, or 0 when nothing is built yet. */
VR_API int32_t EnvironSetTerminal(int32_t columns, int32_t rows);

/* The readers of escape sequences. A sequence is ESC, a command letter, parameters and a
 * dot; `text` begins at the command letter, which is not looked at, and needs no end but a
 * byte that does not belong. A number is blanks, a minus, a plus, digits and blanks, each
 * of which may be missing; one without digits is 0, one beyond 32 bits wraps round.
 *
 * Each returns 1 for a well-formed sequence and 0 otherwise. *used is set to the bytes of
 * the sequence, or to the offset of the first byte that was not accepted; numbers read
 * before that stay stored. N stands for a number. */

/* X N , N . */
VR_API int32_t TermEscAt(const char* text, int32_t* used, int32_t* first, int32_t* second);

/* X B N . for the background or X F N . for the foreground; the letter goes to *plane. */
VR_API int32_t TermEscColour(const char* text, int32_t* used, unsigned char* plane,
                             int32_t* colour);

/* X N . */
VR_API int32_t TermEscVideo(const char* text, int32_t* used, int32_t* mode);

/* X R .                                   p7 = 0, the others stay
 * X R , N .                               p7
 * X D N , N , N , N [ , N [ , N ] ] .     p1 to p4, p5, p6; those left out and p7 = 0
 * X S N , N , N , N [ , N ] .             p1 to p4, p7; those left out, p5 and p6 = 0
 * Any other letter gives 1 with nothing stored, and *used is its offset. */
VR_API int32_t TermEscWindow(const char* text, int32_t* used, int32_t* p1, int32_t* p2, int32_t* p3,
                             int32_t* p4, int32_t* p5, int32_t* p6, int32_t* p7);

VR_END

#endif
