/* The one ABI of the library: what every other header relies on.
 *
 * Lengths, handles, offsets, data words and addresses are 32 bits wide, so a
 * host is compiled with -m32. All functions have C linkage and the C calling
 * convention; the headers serve C11 and C++20 alike. Calls must not overlap: the
 * library keeps plain process-wide state and belongs to one thread at a time. */
#ifndef VR_ABI_H
#define VR_ABI_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
/* Open and close the declarations of a header: C linkage in C++, nothing in C. */
#define VR_BEGIN extern "C" {
#define VR_END }

/* The language's check at compile time. */
#define VR_STATIC_ASSERT static_assert
#else
#define VR_BEGIN
#define VR_END
#define VR_STATIC_ASSERT _Static_assert
#endif

/* What the library exports. */
#define VR_API __attribute__((visibility("default")))

/* On a function whose result the caller owns: dropping the result is a leak, and warns. */
#define VR_OWNED __attribute__((warn_unused_result))

/* On a function that returns a block that nothing else points into. */
#define VR_FRESH __attribute__((malloc))

VR_STATIC_ASSERT(sizeof(void*) == 4, "vrbase is a 32-bit library: compile with -m32");

/* A 32-bit word that carries either a number or an address. */
typedef uintptr_t VrWord;

/* Functions that take memory are exported with a leading underscore and two last arguments for the
 * source position of the call: a module tag, which is a zero-terminated text that must stay valid
 * during the call, and a line number. Their headers give the plain name as a macro that fills in
 * both. A source that wants its own tag defines VR_MODULE before it includes anything of the
 * library; a source that wants no such macros, for instance because it has methods named NewString
 * or free_mem, defines VR_NO_POSITION_MACROS before the first include. */
#ifndef VR_MODULE
#define VR_MODULE "host"
#endif

#endif
