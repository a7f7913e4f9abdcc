/* Field records: moving chosen attributes between a record and a compact list; and a
 * splice of text.
 *
 * A field list is a dynamic array of attribute numbers in decimal, one an attribute:
 * 3^1 names attributes 3 and 1, in that order. A text that is no number counts as 0. An
 * empty attribute behind a last mark is no entry. Arguments stay as they were, and
 * results belong to the caller. None may be null. */
#ifndef VR_FIELDS_H
#define VR_FIELDS_H

#include "vr/abi.h"
#include "vr/string.h"

VR_BEGIN

/* A new dynamic array of the attributes of `record` that the list names, in its order;
 * NullVrStr's string for an empty list. A number below 1 means attribute 1, one past
 * the end gives an empty attribute. */
VR_API VrString UtilGetFieldsFromVrString(VrString record, VrString fields);

/* A copy of `record` with the attributes that the list names replaced by those of
 * `values`, one after the other; empty ones when they run out. Numbers mean what they do
 * in UtilInsertReplace: past the end they extend the record, below 0 they append, and 0
 * replaces all of it. An entry of 91 bytes or more shows a message and is cut. */
VR_API VrString UtilPutFieldsInVrString(VrString record, VrString values, VrString fields);

/* `s` with the `oldLength` bytes at data offset `offset`, which counts from 0, replaced.
 * What lies outside the text is clamped to it. *newOffset receives the data offset
 * behind the replacement, from where a caller goes on. */
VR_API VrString UtilReplaceString(VrString s, VrString replacement, int32_t oldLength,
                                  int32_t offset, int32_t* newOffset);

VR_END

#endif
