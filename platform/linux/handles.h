// Handles of processes, and of the objects of the platform's further libraries.
#ifndef LINUX_HANDLES_H
#define LINUX_HANDLES_H

#include "platform/base.h"

namespace vrplatform {

struct HandleKind {
    void (*close)(void* object);
};

}  // namespace vrplatform

PLATFORM_BEGIN

// A handle for an object, which its kind's close gets when CloseHandle is called. Null when memory
// is short, and then close has been called for the object; null for a null object, too.
PLATFORM_API void* PlatformNewHandle(const vrplatform::HandleKind* kind, void* object)
    PLATFORM_SYMBOL(PlatformNewHandle);

// The object of the handle; null when it is bad or of another kind.
PLATFORM_API void* PlatformHandleObject(const vrplatform::HandleKind* kind, void* handle)
    PLATFORM_SYMBOL(PlatformHandleObject);

// The number of a process that OpenProcess or CreateProcessA gave; 0 for a bad handle.
PLATFORM_API uint32_t PlatformProcessNumber(void* handle) PLATFORM_SYMBOL(PlatformProcessNumber);

PLATFORM_END

#endif
