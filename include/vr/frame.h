/* Start and stop of the library, and the few words that a host keeps in it.
 *
 * A host fills a UtilInitRecord and calls UtilInit once, before anything else of
 * the library, and VrExit once, at the end. Loading the library does nothing.
 * Between the two, modules and hosts add routines to the exit chain, which
 * VrExit runs from the one added last to the one added first, so that a user
 * of a service is taken down before the service. */
#ifndef VR_FRAME_H
#define VR_FRAME_H

#include "vr/abi.h"

VR_BEGIN

/* What a host gives to UtilInit, which reads it only during the call. */
typedef struct UtilInitRecord {
    VrWord EngineInstance; /* any value; GetEngineInstance returns it */
    VrWord VrlinkInstance; /* module handle of the host; 0 is the executable */
    const char* IniPath;   /* settings file to try first (ini_path); may be null */
} UtilInitRecord;
VR_STATIC_ASSERT(sizeof(UtilInitRecord) == 12, "three words");

/* A routine of the exit chain. */
typedef void (*VrExitRoutine)(void);

/* A host's routine for a break, kept for the host and never called here. */
typedef void (*VrBreakRoutine)(VrWord data);

/* The number of routines that the exit chain holds. */
enum { kVrExitChainSlots = 100 };

/* Brings the library up: clears the exit chain, then starts the modules in their
 * fixed order. Routines added before are lost, though their slots stay counted.
 * A null `record` counts as one of zeroes. A second call does nothing. Always
 * returns 1. */
VR_API int32_t UtilInit(const UtilInitRecord* record);

/* Adds `routine` to the exit chain. A null routine is ignored, and so is every
 * routine once all kVrExitChainSlots slots are taken. One added while VrExit runs does
 * not run. */
VR_API void VrExitAdd(VrExitRoutine routine);

/* Takes the library down: sets the in-exit flag, runs the exit chain, and then,
 * by the kind of the host's module (see GetEnvironLauncher):
 *   300, an executable: ends the process with `code`, unless that is 0;
 *   301, a library:     ends the calling thread with `code`, 0 included;
 *   any other:          returns.
 * With code 0 in an executable it returns too, for the host's own exit. After
 * that no call of the library is valid but VrExitInExit and the accessors below.
 *
 * Each routine runs exactly once. A VrExit inside an exit routine, for example after a shortage of
 * memory there, runs the rest of the chain itself and then ends the process or thread by its own
 * code and the rules above; the routine that it interrupts is then not continued. A call after the
 * chain has run only applies those rules. */
VR_API void VrExit(int32_t code);

/* 1 once VrExit has been entered, before that 0. */
VR_API int32_t VrExitInExit(void);

/* The instance values of the start-up record; 0 before UtilInit. */
VR_API VrWord GetEngineInstance(void);
VR_API VrWord GetVrlinkInstance(void);

/* The module handle through which the library finds the host's own folder, to load
 * libraries and run commands; 0, the executable, unless set. */
VR_API VrWord GetHInstance(void);
VR_API void SetHInstance(VrWord module);

/* A word that the modules of a host share. The library gives it no meaning. */
VR_API int32_t GetRunStatus(void);
VR_API void SetRunStatus(int32_t status);

/* A nesting count of breaks. SetBreakState(0) adds 1; SetBreakState with any other value subtracts
 * 1, down to 0. */
VR_API int32_t GetBreakState(void);
VR_API void SetBreakState(int32_t state);

/* Stores the pair, replacing the one before. Nothing in the library calls it. */
VR_API void SetBreakCallback(VrBreakRoutine routine, VrWord data);

/* Shows a message box with an OK button, titled with the product's name, and returns what the box
 * returned. `format` and its values are those of printf; null shows an empty text. The text is cut
 * at 255 characters. */
VR_API int32_t VrErrorMessage(const char* format, ...) __attribute__((format(printf, 1, 2)));

VR_END

#endif
