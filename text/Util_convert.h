// The character conversion's start routine.
#ifndef TEXT_UTIL_CONVERT_H
#define TEXT_UTIL_CONVERT_H

#include "vr/frame.h"

namespace vr {

void StartConversion(const UtilInitRecord& record);

}  // namespace vr

#endif
