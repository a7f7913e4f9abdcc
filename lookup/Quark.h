// The quarks' start routine.
#ifndef LOOKUP_QUARK_H
#define LOOKUP_QUARK_H

#include "vr/frame.h"

namespace vr {

void StartQuarks(const UtilInitRecord& record);

}  // namespace vr

#endif
