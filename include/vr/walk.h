/* Dynamic arrays by cursor.
 *
 * A dynamic array is a VrString divided by three marks. Marks separate: n marks
 * give n + 1 elements, any of which may be empty.
 *
 *     attribute mark 254    divides the text into attributes
 *     value mark     253    divides an attribute into values
 *     subvalue mark  252    divides a value into subvalues
 *
 * A cursor is an offset from the VrString itself: the first text byte is cursor
 * 4, and the end is length + 4. A walk begins at cursor 4 and is over when the
 * cursor that came back is the end; an empty element behind a last mark is had by
 * one more call. Cursors outside 4 to the end are taken for the nearer of the
 * two. A walk costs one pass over the text. No string given here may be null,
 * where nothing else is said, and none may change while it is walked.
 *
 * The forward walks hand over an element through `out`, in one of two modes:
 *
 *   size 0 to 8    *out becomes a new string, which the caller frees, or
 *                  NullVrStr's string for an empty element.
 *   size 9 or more *out is the address of the caller's buffer of `size` bytes.
 *                  It moves on by 4, to a string inside that buffer, which is
 *                  read in place and never freed. A caller that keeps one buffer
 *                  sets *out back before each call. The room for text is size - 9.
 *
 * An element too long for the buffer is cut, after a message box that says so. */
#ifndef VR_WALK_H
#define VR_WALK_H

#include "vr/abi.h"
#include "vr/string.h"

/* The marks, and the sizes that the text names. */
enum {
    kVrAttributeMark = 254, /* ends an attribute */
    kVrValueMark = 253,     /* ends a value within an attribute */
    kVrSubvalueMark = 252,  /* ends a subvalue within a value */
    kVrFirstCursor = 4,     /* the cursor of the first text byte */
    kVrBufferOverhead = 9   /* bytes of a result buffer that hold no text */
};

VR_BEGIN

/* Each hands over the element at `cursor` and returns the cursor behind the mark
 * that ended it, or the end cursor. A walk by values goes on across attribute
 * marks, and a walk by subvalues across both, without a sign: to stay within one
 * attribute, take the attribute first and walk that.
 *
 * In a buffer, an element of size - 9 bytes or more shows the message. Behind a
 * longer one the byte at the cut is stepped over as if it were the mark, and is
 * lost to the walk. */
VR_API int32_t UtilGetNextAttribute(VrString s, int32_t cursor, VrString* out, uint32_t size);
VR_API int32_t UtilGetNextValue(VrString s, int32_t cursor, VrString* out, uint32_t size);
VR_API int32_t UtilGetNextSubvalue(VrString s, int32_t cursor, VrString* out, uint32_t size);

/* The same up to the byte `marker` alone, whatever it is. An element that fits
 * exactly shows no message, and after a cut the cursor stands at the first byte
 * that was not kept. */
VR_API int32_t UtilGetNextMarkerVal(VrString s, int32_t cursor, VrString* out, uint32_t size,
                                    unsigned char marker);

/* The cursor behind the next attribute mark, or behind the next value or
 * attribute mark; the end cursor when there is none. */
VR_API int32_t UtilSkipAttribute(VrString s, int32_t cursor);
VR_API int32_t UtilSkipValue(VrString s, int32_t cursor);

/* The value in front of `cursor`, which is the end cursor or stands behind a
 * mark: *out becomes a new string, and the result is the cursor of its first
 * byte, from which the next call gives the value before. The caller stops at 4, the
 * first value; a call there gives an empty string and 3. Where the text ends in a
 * mark, the call at the end gives the empty value behind it and the end again, and
 * the caller takes 1 off to go on. */
VR_API int32_t UtilGetPrevValue(VrString s, int32_t cursor, VrString* out);

/* Everything from `cursor` to the end, marks included: *out becomes a new
 * string, and the result is that string's end cursor. */
VR_API int32_t UtilGetRestOfVrStr(VrString s, int32_t cursor, VrString* out);

/* Turns every byte `from` of the text into `to`, in place. Null, empty and
 * shared strings are passed over. A long string keeps its memo, so marks must not be
 * made or unmade in a string that is edited by attribute number afterwards. */
VR_API void UtilSwapChar(VrString s, unsigned char from, unsigned char to);

VR_END

#endif
