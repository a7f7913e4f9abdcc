/* Dynamic libraries, loaded once for each name and freed by VrExit at the latest.
 *
 * A report on what was loaded is kept in the handle table "DLL Table" (vr/table.h); a library's
 * record stays there when it is unloaded. */
#ifndef VR_DLL_H
#define VR_DLL_H

#include "vr/abi.h"

VR_BEGIN

/* The module of that name, loaded if it is not: from the folder of the host's module
 * (SetHInstance), then from the folder BIN of `basePath`, or of EnvironVrPath when that is null,
 * then by the name alone, as the platform finds it. A name that begins with a backslash or a drive
 * is tried only as it is. Names are case-sensitive. 0 when there is no such library, for a null
 * name, and for one that makes paths of 1024 bytes or more; a host whose own path has 255 bytes or
 * more counts as having no folder. */
VR_API VrWord DllLoad(const char* name, const char* basePath);

/* Unloads the library loaded under that name, if it is `module` or that is 0; a null name is
 * ignored. Loads are not counted: a host leaves "psapi" and "kernel32" to the process queries
 * (vr/process.h). */
VR_API void DllUnload(const char* name, VrWord module);

VR_END

#endif
