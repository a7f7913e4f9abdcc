// The handle tables' start routine.
#ifndef LOOKUP_TBL_H
#define LOOKUP_TBL_H

#include "vr/frame.h"

namespace vr {

void StartTables(const UtilInitRecord& record);

}  // namespace vr

#endif
