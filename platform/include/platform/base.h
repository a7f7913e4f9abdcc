/* What every header of the platform contract needs: how its names are exported
 * and that they have C linkage. The contract is usable from C11 and C++20. */
#ifndef PLATFORM_BASE_H
#define PLATFORM_BASE_H

#include <stddef.h>
#include <stdint.h>

/* What the platform library exports. */
#define PLATFORM_API __attribute__((visibility("default")))

/* A service's symbol differs from its name in the source, so that a host may have a FileOpen or a
 * Sleep of its own and neither replaces the other. */
#define PLATFORM_SYMBOL(name) __asm__("vrplatform_" #name)

#ifdef __cplusplus
/* Open and close the declarations of a header: C linkage in C++, nothing in C. */
#define PLATFORM_BEGIN extern "C" {
#define PLATFORM_END }
#else
#define PLATFORM_BEGIN
#define PLATFORM_END
#endif

#endif
