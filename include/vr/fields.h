/* Field records: moving chosen attributes between a record and a compact list; and a
 * splice of text.
 *
 * A field list is a dynamic array of attribute numbers in decimal, one per attribute:
 * 3^1 names attributes 3 and 1, in that order. White space and a sign in front of a number
 * are read, the number ends at the first character that is no digit, and a text without
 * one counts as 0. An empty attribute after a last mark is no entry. Arguments stay
 * unchanged, and results belong to the caller. No argument may be null.
 *
 * A list of exactly 991 bytes without a mark shows the message of vr/walk.h for an element
 * that is too long, though nothing is cut. */
#ifndef VR_FIELDS_H
#define VR_FIELDS_H

#include "vr/abi.h"
#include "vr/string.h"

VR_BEGIN

/* A new dynamic array of the attributes of `record` that the list names, in its order;
 * NullVrStr's string for an empty list. A number below 1 means attribute 1, one past
 * the end gives an empty attribute. */
VR_API VR_OWNED VrString UtilGetFieldsFromVrString(VrString record, VrString fields);

/* A copy of `record` with the attributes that the list names replaced by those of
 * `values`, in their order; with empty ones once those run out. Numbers mean the same as
 * in UtilInsertReplace: past the end they extend the record, below 0 they append, and 0
 * replaces all of it. Byte 255 in `record` misleads it (vr/edit.h).
 *
 * An entry of 91 bytes or more shows a message. One of exactly 91 bytes is used whole. Of a
 * longer one the first 91 bytes are the entry, the 92nd is lost, and the rest counts as a
 * further entry unless the list ends there. That entry uses up a value too, and its number
 * is 0 unless digits stand at its start: it then replaces the whole record. */
VR_API VR_OWNED VrString UtilPutFieldsInVrString(VrString record, VrString values, VrString fields);

/* `s` with `oldLength` bytes, from data offset `offset` on, replaced. Data offsets count
 * from 0. What lies outside the text is clamped to it. *newOffset, which must not be null,
 * receives the data offset after the replacement, from where a caller can continue. */
VR_API VR_OWNED VrString UtilReplaceString(VrString s, VrString replacement, int32_t oldLength,
                                           int32_t offset, int32_t* newOffset);

VR_END

#endif
