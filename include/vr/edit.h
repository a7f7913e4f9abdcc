/* Dynamic arrays by position: inserting, replacing and appending elements, and
 * the two scans that find an element.
 *
 * A position names an element by attribute, value and subvalue number:
 *
 *     1 or more   the element of that number
 *     0           the level is not addressed: the whole element above is meant
 *     below 0     after the last element of this level, whatever the number
 *
 * An element past the end of what exists is made, with the marks that are
 * missing. A string is rewritten in place where its capacity allows. Marks and cursors are
 * those of vr/walk.h.
 *
 * Byte 255 must not occur in a record that is edited: an edit takes it for the end of the
 * element, of its attribute and of the whole text, while a walk (vr/walk.h) or a read by
 * number (vr/extract.h) takes it for data. So a record that holds it can be read, edited and
 * written, and is silently damaged: replacing attribute 1 of a 255 b leaves 255 b in place,
 * and an attribute that stands after the byte is made a second time before it.
 *
 * A long string keeps a memo of the attribute found last, so that work on neighbouring
 * attributes does not scan from the start. The memo is trusted. After a caller has made or
 * unmade marks in a long string by other means, the caller copies the text into a new
 * string and edits the copy: with UtilGetRestOfVrStr from cursor 4, or with alloc_string.
 * NewString does not help, since it takes the memo along. */
#ifndef VR_EDIT_H
#define VR_EDIT_H

#include "vr/abi.h"
#include "vr/string.h"

VR_BEGIN

/* A position, and where it was found. */
typedef struct UtilPosition {
    int32_t attribute; /* these three: 1 or more, 0 or below 0, as above */
    int32_t value;     /* within the attribute */
    int32_t subvalue;  /* within the value */
    int32_t cursor;    /* out: where the element written begins in the result */
} UtilPosition;
VR_STATIC_ASSERT(sizeof(UtilPosition) == 16, "four words");

/* Writes `element` at `position` and returns the resulting array. With `replace`
 * not 0 it replaces the element there, together with the marks inside that element; with 0
 * it inserts the new element in front of it. A negative number anywhere, or an
 * element that had to be made, always inserts.
 *
 * The position's numbers are completed first: a subvalue without a value belongs to
 * value 1, a value without an attribute to attribute 1. With all three 0 the result is
 * a copy of `element`, or a shared string itself; `s` and the cursor field are
 * untouched.
 *
 * The result is `s`, rewritten in place, or another string. In the second case
 * the caller owns both and frees `s`, whose text is no longer reliable. `s` may be a
 * shared string, which is never written to; `element` is only read and must not be `s`.
 * Neither may be null. A number that needs more marks than a string can hold ends the run
 * like every request for too much memory (vr/memory.h). */
VR_API VR_OWNED VrString UtilInsertReplace(UtilPosition* position, VrString s, VrString element,
                                           uint32_t replace);

/* Looks for the element number *count from the element that begins at `cursor`,
 * in the text of `length` bytes. Elements are divided by `mark`, and any higher byte, 255
 * included, ends the search. Returns the cursor reached, and in *count:
 *
 *     0          found: the cursor is its first byte
 *     above 0    not there: so many marks are missing, the cursor is the end of
 *                the enclosing element
 *     below 0    not there and no mark needed: the enclosing element is empty
 *
 * A *count of 0 or less asks for the end of the enclosing element. */
VR_API int32_t ScanStr(VrString s, int32_t cursor, int32_t length, unsigned char mark,
                       int32_t* count);

/* Goes back *count attributes from the attribute that begins at `cursor`,
 * returns the cursor of that attribute's first byte and sets *count to 0. When
 * there are fewer, it returns 4 and sets *count to the number that is missing. A cursor
 * of 4 or less, or a count of 0 or less, is left unchanged and the cursor returned. */
VR_API int32_t SkipBackNAttrs(VrString s, int32_t cursor, int32_t* count);

VR_END

#endif
