/* Dynamic arrays and plain text by number: picking elements, counting them,
 * splitting text at blanks or at a delimiter.
 *
 * Every call scans from the start of what it is given, so it suits a few picks; to read all of an
 * array, walk it (vr/walk.h). Inputs are never changed. Numbers count from 1, and a number below 1
 * means 1: unlike in vr/edit.h a negative number is not the end. An element that does not exist
 * gives the same empty result as an empty one. No string given here may be null, except where
 * noted.
 *
 * All results belong to the caller, who frees them with free_mem. */
#ifndef VR_EXTRACT_H
#define VR_EXTRACT_H

#include "vr/abi.h"
#include "vr/string.h"

VR_BEGIN

/* The element as a new string, inner marks included, or NullVrStr's string. A
 * `value` of 0 takes the whole attribute, whatever the subvalue; a `subvalue` of
 * 0 the whole value. */
VR_API VR_OWNED VrString extract_field(int32_t attribute, int32_t value, int32_t subvalue,
                                       VrString s);

/* From the first byte of that element to the end of the whole text. */
VR_API VR_OWNED VrString extract_tail(int32_t attribute, int32_t value, int32_t subvalue,
                                      VrString s);

/* The whole attribute. */
VR_API VR_OWNED VrString get_field(int32_t attribute, VrString s);

/* get_field, and the tail of the attribute, as zero-terminated text in place of a
 * string: the text stands at the address itself, without a length, and ends for
 * its reader at the first zero byte it holds. An empty one is NullVrStr's string
 * itself, and must not be written to. */
VR_API VR_OWNED char* get_field_string(int32_t attribute, VrString s);
VR_API VR_OWNED char* get_tail_string(int32_t attribute, VrString s);

/* From the data offset, which counts from 0 at the first text byte, to the next
 * attribute mark or the end. NullVrStr's string for an offset outside the text. */
VR_API VR_OWNED VrString get_field_at_pos(int32_t offset, VrString s);

/* The next word from the data offset *offset on, as a zero-terminated block.
 * Words are divided by blanks (byte 32). *offset moves to the end of the word. An
 * empty block when there is none; a null or empty text, or an offset outside the
 * text, leaves *offset as it was. */
VR_API VR_OWNED char* get_text_word(int32_t* offset, const char* text);

/* Field number `number` of the zero-terminated `text`, which must not be null, as
 * a zero-terminated block; empty beyond the last field. There is no quoting. */
VR_API VR_OWNED char* get_text_field(const char* text, unsigned char delimiter, int32_t number);

/* 1 + the number of value marks, or of attribute marks, in the `length` bytes at
 * `data`; 0 for a length of 0 or less. Marks of other levels do not matter, so
 * over a whole array value_count counts across attributes. */
VR_API int32_t value_count(const unsigned char* data, int32_t length);
VR_API int32_t field_count(const unsigned char* data, int32_t length);

/* 1 + the number of bytes `delimiter` in the text; 0 for an empty string. */
VR_API int32_t item_count(VrString s, unsigned char delimiter);

VR_END

#endif
