/* Quarks: small numbers that stand for texts, from UtilInit to VrExit. Equal texts,
 * letter case included, have one number. Numbers go up from 1, the empty text, without
 * gaps; 0 is no quark. A host's first text of its own gets 2.
 *
 * A quark is never given back: each text stays in memory, twice, until VrExit. So quarks suit names
 * that recur, and not an unlimited set of values. Equal numbers mean equal texts only within one
 * process and one run: a host that stores quarks stores their texts. A lookup costs one access to a
 * hash table of 2048 buckets, and QuarkToString an access to an array. A text of nearly
 * kVrRefusedSize bytes or more ends the run (vr/memory.h). */
#ifndef VR_QUARK_H
#define VR_QUARK_H

#include "vr/abi.h"

VR_BEGIN

/* The number of the zero-terminated text, a new one for a new text. 0 for null. The text is
 * copied and stays the caller's. */
VR_API int32_t Quark(const char* text);

/* The text of that number. It belongs to the library, must not be changed or freed, and is valid
 * until VrExit. Null for 0, for a number below that, and for one that no text has. */
VR_API const char* QuarkToString(int32_t quark);

VR_END

#endif
