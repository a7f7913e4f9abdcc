/* Dynamic arrays by cursor.
 *
 * A dynamic array is a VrString divided by three marks. Marks separate: n marks
 * give n + 1 elements, any of which may be empty.
 *
 *     attribute mark 254    divides the text into attributes
 *     value mark     253    divides an attribute into values
 *     subvalue mark  252    divides a value into subvalues
 *
 * Every other byte is data, 255 included. Editing (vr/edit.h) ends an element at byte 255.
 *
 * A cursor is an offset from the VrString itself: the first text byte is cursor
 * 4, and the end is length + 4. A walk begins at cursor 4 and is over when the
 * result is the end cursor. An empty element after a last mark takes one more call.
 * A cursor outside 4 to the end counts as the nearer of the two. A walk costs one
 * pass over the text. No string given here may be null, except where noted, and none
 * may change during a walk.
 *
 * The forward walks return an element through `out`, in one of two modes:
 *
 *   size 0 to 8    *out becomes a new string, which the caller frees, or
 *                  NullVrStr's string for an empty element.
 *   size 9 or more *out is the address of the caller's buffer of `size` bytes.
 *                  It moves on by 4, to a string inside that buffer, which is
 *                  read in place and never freed. A caller that keeps one buffer
 *                  sets *out back before each call. The room for text is size - 9.
 *
 * An element that is too long for the buffer is cut, after a message box that says so. */
#ifndef VR_WALK_H
#define VR_WALK_H

#include "vr/abi.h"
#include "vr/string.h"

/* The marks, and the sizes that the comments name. */
enum {
    kVrAttributeMark = 254, /* ends an attribute */
    kVrValueMark = 253,     /* ends a value within an attribute */
    kVrSubvalueMark = 252,  /* ends a subvalue within a value */
    kVrFirstCursor = 4,     /* the cursor of the first text byte */
    kVrBufferOverhead = 9   /* bytes of a result buffer that hold no text */
};

VR_BEGIN

/* Each returns the element at `cursor` through *out, and as its result the cursor after the
 * mark that ended it, or the end cursor. A walk by values continues across attribute
 * marks, and a walk by subvalues across both, and the result does not show it: to stay
 * within one attribute, take the attribute first and walk that string.
 *
 * In a buffer, an element of size - 9 bytes or more shows the message. Of a longer one,
 * the byte at the cut is skipped as if it were the mark, and the walk loses it. */
VR_API int32_t UtilGetNextAttribute(VrString s, int32_t cursor, VrString* out, uint32_t size);
VR_API int32_t UtilGetNextValue(VrString s, int32_t cursor, VrString* out, uint32_t size);
VR_API int32_t UtilGetNextSubvalue(VrString s, int32_t cursor, VrString* out, uint32_t size);

/* The same with the byte `marker`, whatever it is, as the only one that ends an element. An
 * element that fits exactly shows no message, and after a cut the result is the cursor of
 * the first byte that was not kept. */
VR_API int32_t UtilGetNextMarkerVal(VrString s, int32_t cursor, VrString* out, uint32_t size,
                                    unsigned char marker);

/* The cursor after the next attribute mark, or after the next value or
 * attribute mark; the end cursor when there is none. */
VR_API int32_t UtilSkipAttribute(VrString s, int32_t cursor);
VR_API int32_t UtilSkipValue(VrString s, int32_t cursor);

/* The value before `cursor`, which is the end cursor or the cursor after a mark. *out
 * becomes a new string, and the result is the cursor of its first byte, with which the
 * next call gives the value before. The caller stops when the result is 4, the first
 * value; a call with 4 gives an empty string and 3 (4 where the text is empty).
 *
 * Where the text ends in a mark, the call with the end cursor gives the empty value after
 * that mark, and the end cursor again. The walk continues only after the mark is dropped:
 * shorten the string by one byte and call with the new end cursor. A text that ends in
 * several marks needs that once for each. To call with end - 1 instead loses a byte: of
 * ab] it gives a. Do it on a copy, unless the string is the caller's to change:
 *
 *     VrString copy = NewString(s);
 *     int32_t cursor = copy->length + kVrFirstCursor;
 *     for (;;) {
 *         VrString value;
 *         int32_t start = UtilGetPrevValue(copy, cursor, &value);
 *         ...                                     use the value
 *         free_mem(&value);
 *         if (start <= kVrFirstCursor) break;
 *         if (start == cursor) {                  after the trailing mark
 *             VrStrText(copy)[--copy->length] = 0;
 *             --start;                            the new end cursor
 *         }
 *         cursor = start;
 *     }
 *     free_mem(&copy); */
VR_API int32_t UtilGetPrevValue(VrString s, int32_t cursor, VrString* out);

/* Everything from `cursor` to the end, marks included: *out becomes a new
 * string, and the result is that string's end cursor. From cursor 4 this copies the text
 * without the memo that NewString takes along. */
VR_API int32_t UtilGetRestOfVrStr(VrString s, int32_t cursor, VrString* out);

/* Turns every byte `from` of the text into `to`, in place. Null, empty and
 * shared strings are ignored. A long string keeps its memo: once marks were made or
 * unmade in it, it must not be edited (vr/edit.h). */
VR_API void UtilSwapChar(VrString s, unsigned char from, unsigned char to);

VR_END

#endif
