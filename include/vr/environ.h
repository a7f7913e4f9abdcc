/* The product's identity and paths.
 *
 * Name and release come from the version resource of the host's module, the
 * installation path from VRLPATH. They are worked out once, at the first call of
 * EnvironVrPath, EnvironProduct, EnvironRelease, EnvironPrintAttributesPath or
 * EnvironPrintJobNumPath, which as a rule happens inside UtilInit, and stay for the
 * life of the process. Their texts belong to the library; after VrExit they are null, as
 * they are when there was no memory for them. Name and release are cut at 255
 * characters. */
#ifndef VR_ENVIRON_H
#define VR_ENVIRON_H

#include "vr/abi.h"
#include "vr/string.h"

/* What GetEnvironLauncher returns. */
enum {
    kVrLauncherUnknown = 0, /* the identity has not been worked out */
    kVrLauncherExe = 300,   /* an executable, exe */
    kVrLauncherDll = 301,   /* a library, dll */
    kVrLauncherOther = 302  /* anything else */
};

VR_BEGIN

/* The installation path: VRLPATH as it was then, or \VRLINK. */
VR_API const char* EnvironVrPath(void);

/* The product's name and release; empty when the module has none. The name is the title of the
 * library's message boxes. */
VR_API const char* EnvironProduct(void);
VR_API const char* EnvironRelease(void);

/* How the host was launched, by the three bytes after the first dot of its module's full path: exe,
 * dll or anything else. Does not work the identity out. */
VR_API int32_t GetEnvironLauncher(void);

/* VRLPRINTPATH, or PRINT, as a new string that the caller frees. All three are the
 * same. */
VR_API VR_OWNED VrString EnvironPrintPath(void);
VR_API VR_OWNED VrString EnvironPrintDataPath(void);
VR_API VR_OWNED VrString EnvironPrintQueuePath(void);

/* The print path followed by \PRINTCFG, or by \NEXTJOB: a static string of at most 251 bytes that
 * the next call overwrites and nobody frees. */
VR_API VrString EnvironPrintAttributesPath(void);
VR_API VrString EnvironPrintJobNumPath(void);

/* Always 1. */
VR_API int32_t EnvironShowErrorCode(void);

/* 0 for American dates, 1 for international ones. VRLDATE decides: AMERICAN, in upper or lower
 * case, means American dates, any other text international ones. When it is not set or empty, the
 * user's country in the registry decides ("1", or no key for it, is American), and VRLDATE is set
 * to the result. */
VR_API int32_t EnvironInternationalDate(void);

/* The name with a leading $VARIABLE replaced by that variable's value, without one trailing
 * separator, up to ten times in a row, and with every / changed to \. A variable that is not set,
 * or whose name has 256 bytes or more, is replaced by nothing. A new string that the caller frees;
 * NullVrStr's string for a null or empty name. */
VR_API VR_OWNED VrString EnvironFileName(VrString name);

VR_END

#endif
