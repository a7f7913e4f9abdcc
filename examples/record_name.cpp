#include "record_name.h"

#include "vr/environ.h"
#include "vr/files.h"
#include "vr/memory.h"

VrString MapFileName(const char* name) {
    VrString given = StrToVrStr(name);
    VrString expanded = EnvironFileName(given);
    VrString mapped = OsFileLongName(expanded, nullptr);
    const bool isWhole = mapped->length == expanded->length;
    free_mem(&given);
    free_mem(&expanded);
    if (!isWhole) free_mem(&mapped);
    return mapped;
}
