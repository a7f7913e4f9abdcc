/* Dynamic arrays by position: inserting, replacing and appending elements, and
 * the two scans by which an element is found.
 *
 * A position names an element by attribute, value and subvalue number:
 *
 *     1 or more   the element of that number
 *     0           the level is not addressed: the whole element above is meant
 *     below 0     behind the last element of this level; all such numbers are one
 *
 * An element past the end of what exists is made, with the marks that are
 * missing. A string is rewritten in place where its capacity allows; a long
 * string keeps a memo of the attribute found last, so that work on neighbouring
 * attributes does not scan from the start. The memo is trusted: a long string whose
 * marks were changed by other means is copied (alloc_string) before it is edited. Marks
 * and cursors are those of vr/walk.h. */
#ifndef VR_EDIT_H
#define VR_EDIT_H

#include "vr/abi.h"
#include "vr/string.h"

VR_BEGIN

/* A position, and where it was found. */
typedef struct UtilPosition {
    int32_t attribute; /* these three: 1 or more, 0 or below 0, as told above */
    int32_t value;     /* within the attribute */
    int32_t subvalue;  /* within the value */
    int32_t cursor;    /* out: where the element written begins in the result */
} UtilPosition;
VR_STATIC_ASSERT(sizeof(UtilPosition) == 16, "four words");

/* Writes `element` at `position` and returns the resulting array. With `replace`
 * not 0 the element there is replaced, together with the marks inside it; with 0
 * the new element is inserted in front of it. A negative number anywhere, or an
 * element that had to be made, always inserts.
 *
 * The position's numbers are completed first: a subvalue without a value belongs to
 * value 1, a value without an attribute to attribute 1. With all three 0 the result is
 * a copy of `element`, or a shared string itself; `s` and the cursor field are
 * untouched.
 *
 * The result is `s`, rewritten in place, or another string. In the second case
 * the caller owns both and frees `s`, whose text is then no longer to be relied
 * on. `s` may be a shared string, which is never written to; `element` is only read
 * and must not be `s`. Neither may be null. A number whose marks no string can hold goes
 * the way of every request for too much memory. */
VR_API VrString UtilInsertReplace(UtilPosition* position, VrString s, VrString element,
                                  uint32_t replace);

/* Looks for the element number *count from the element that begins at `cursor`,
 * in the text of `length` bytes, elements being divided by `mark` and the search
 * ending at any higher byte. Returns the cursor reached, and in *count:
 *
 *     0          found: the cursor is its first byte
 *     above 0    not there: so many marks are missing, the cursor is the end of
 *                the enclosing element
 *     below 0    not there and no mark needed: the enclosing element is empty
 *
 * A *count of 0 or less asks for the end of the enclosing element. */
VR_API int32_t ScanStr(VrString s, int32_t cursor, int32_t length, unsigned char mark,
                       int32_t* count);

/* Goes back *count attributes from the attribute that begins at `cursor` and
 * returns the cursor of that attribute's first byte, with *count set to 0. When
 * there are fewer, the result is 4 and *count tells how many were short. A cursor
 * of 4 or less, or a count of 0 or less, comes back unchanged. */
VR_API int32_t SkipBackNAttrs(VrString s, int32_t cursor, int32_t* count);

VR_END

#endif
