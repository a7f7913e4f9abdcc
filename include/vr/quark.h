/* Quarks: small numbers that stand for texts, from UtilInit to VrExit. Equal texts,
 * letter case included, have one number. Numbers go up from 1, the empty text, with no
 * gap; 0 is no quark. A text may be as long as a block. */
#ifndef VR_QUARK_H
#define VR_QUARK_H

#include "vr/abi.h"

VR_BEGIN

/* The text's number, a new one for a new text. 0 for null. */
VR_API int32_t Quark(const char* text);

/* The text, which belongs to the library; null for a number never handed out. */
VR_API const char* QuarkToString(int32_t quark);

VR_END

#endif
