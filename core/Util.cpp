// The frame: it starts the modules through one table. It alone knows all of them, and no
// module calls it. A module that starts adds its routine to the table.

#include "core/Util.h"

#include "config/Ini.h"
#include "core/vrmem.h"
#include "lookup/Quark.h"
#include "lookup/Tbl.h"
#include "process/Dll.h"
#include "text/Util_convert.h"

namespace {

using StartRoutine = void (*)(const UtilInitRecord& record);

// In this order: each may use those before it.
constexpr StartRoutine kStartRoutines[] = {
    vr::StartSettings, vr::StartMemory,     vr::StartTables,
    vr::StartQuarks,   vr::StartConversion, vr::StartDllTable,
};

bool started = false;

}  // namespace

int32_t UtilInit(const UtilInitRecord* record) {
    if (started) return 1;
    started = true;
    const UtilInitRecord given = record == nullptr ? UtilInitRecord{} : *record;
    vr::KeepInstances(given);
    vr::ClearExitChain();
    for (StartRoutine start : kStartRoutines)
        start(given);
    return 1;
}
