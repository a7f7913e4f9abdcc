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

/* The sizes of the record, and where its colours stand. */
enum {
    kVrTerminalTextSize = 20,      /* bytes of a text or a control string, the zero included */
    kVrControlStrings = 50,        /* slots for control strings */
    kVrFirstForegroundString = 10, /* the slot of the first of 16 */
    kVrFirstBackgroundString = 26, /* the slot of the first of 16 */
    kVrBoxCharacters = 6           /* line-drawing characters */
};

/* The decoded definition. Numbers are decimal; texts are zero-terminated and cut at 19
 * bytes; what the definition does not have is 0 or empty. In the comments a.v is value v
 * of attribute a.
 *
 * The slots of the control strings come from
 *
 *     0 to 7      3.2, 4.2, 3.1, 4.1, 3.4, 4.4, 3.3, 4.3
 *     8, 9        7.1, 7.2
 *     10 to 25    21.1 to 21.16, the foreground colours
 *     26 to 41    22.1 to 22.16, the background colours
 *     42 to 49    nothing: they are empty
 *
 * The key lists are the values of attribute 11. Each of the three tables, values 1 to 3 of
 * attribute 16, has a subvalue for each list. */
typedef struct __attribute__((packed)) ScreenDefinition {
    int32_t columns;                         /* 5.1 */
    int32_t rows;                            /* 5.2 */
    int32_t option13;                        /* 13.1 */
    int32_t option17Number;                  /* 17.1 */
    char option17Text[kVrTerminalTextSize];  /* 17.2 */
    int32_t option17Yes;                     /* 17.3: 1 when it begins with y or Y, else 0 */
    char option17Char;                       /* 17.4, its first byte */
    char option17Text2[kVrTerminalTextSize]; /* 17.5 */
    int32_t option17Number2;                 /* 17.6 */
    int32_t option17Number3;                 /* 17.7 */
    char option17Text3[kVrTerminalTextSize]; /* 17.10 */
    char option17Text4[kVrTerminalTextSize]; /* 17.11 */
    char option17Text5[kVrTerminalTextSize]; /* 17.12 */
    /* The control strings, by slot. */
    char controlStrings[kVrControlStrings][kVrTerminalTextSize];
    unsigned char boxCharacters[kVrBoxCharacters]; /* 6.1 to 6.6, of code page 437 */
    VrString* keyLists;     /* key bytes; the zero byte of list 0 leads on to list 1 */
    VrString* keyTable1;    /* 16.1: for each list, one byte for each key, less 48 */
    VrString* keyTable2;    /* 16.2: one byte for each key */
    VrString* keyTable3;    /* 16.3: function codes */
    int32_t keyListCount;   /* strings in keyLists */
    int32_t keyTable1Count; /* strings in keyTable1 */
    int32_t keyTable2Count; /* strings in keyTable2 */
    int32_t keyTable3Count; /* strings in keyTable3 */
} ScreenDefinition;
VR_STATIC_ASSERT(offsetof(ScreenDefinition, option17Yes) == 36, "packed");
VR_STATIC_ASSERT(offsetof(ScreenDefinition, option17Number2) == 61, "packed");
VR_STATIC_ASSERT(offsetof(ScreenDefinition, controlStrings) == 129, "packed");
VR_STATIC_ASSERT(offsetof(ScreenDefinition, keyLists) == 1135, "packed");
VR_STATIC_ASSERT(sizeof(ScreenDefinition) == 1167, "packed");

VR_BEGIN

/* The name of the terminal's type, "PCWIN.COL". Builds nothing. */
VR_API const char* EnvironTerminalType(void);

/* The definition, as a dynamic array. It may move when the size is set, so ask again
 * after that. */
VR_API VrString EnvironTerminalDefinition(int32_t ignored);

/* The decoded definition, which stays where it is. */
VR_API const ScreenDefinition* EnvironScreenDefinition(void);

/* Puts the size into the definition and the record. 1, or 0 when nothing is built yet. */
VR_API int32_t EnvironSetTerminal(int32_t columns, int32_t rows);

/* The readers of escape sequences. A sequence is ESC, a command letter, parameters and a dot;
 * `text` begins at the command letter, which is not checked, and is read up to the first byte that
 * does not belong to the sequence. A number is blanks, a minus, a plus, digits and blanks, each of
 * which may be missing; one without digits is 0, one beyond 32 bits wraps around.
 *
 * Each returns 1 for a well-formed sequence and 0 otherwise. *used is set to the bytes of
 * the sequence, or to the offset of the first byte that was not accepted; numbers read
 * before that stay stored. N stands for a number. */

/* Reads the sequence X N , N . */
VR_API int32_t TermEscAt(const char* text, int32_t* used, int32_t* first, int32_t* second);

/* Reads the sequence of a colour, whose letter goes to *plane:
 *
 *     X B N .     the background
 *     X F N .     the foreground
 */
VR_API int32_t TermEscColour(const char* text, int32_t* used, unsigned char* plane,
                             int32_t* colour);

/* Reads the sequence X N . */
VR_API int32_t TermEscVideo(const char* text, int32_t* used, int32_t* mode);

/* Reads the sequences of windows:
 *
 *     X R .                                   p7 = 0, the others stay
 *     X R , N .                               p7
 *     X D N , N , N , N [ , N [ , N ] ] .     p1 to p4, p5, p6; those left out and p7 = 0
 *     X S N , N , N , N [ , N ] .             p1 to p4, p7; those left out, p5 and p6 = 0
 *
 * Any other letter gives 1 with nothing stored, and *used is its offset. */
VR_API int32_t TermEscWindow(const char* text, int32_t* used, int32_t* p1, int32_t* p2, int32_t* p3,
                             int32_t* p4, int32_t* p5, int32_t* p6, int32_t* p7);

VR_END

#endif
