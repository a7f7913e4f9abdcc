// The DLL table's start routine.
#ifndef PROCESS_DLL_H
#define PROCESS_DLL_H

#include "vr/frame.h"

namespace vr {

void StartDllTable(const UtilInitRecord& record);

}  // namespace vr

#endif
