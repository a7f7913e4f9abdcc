/* Version resources: named texts that describe a module.
 *
 * The resource of the module C:\a\host.exe is the text file C:\a\host.exe.version,
 * one NAME=VALUE a line:
 *
 *     ProductName=ORDERS
 *     ProductVersion=4.2
 *
 * Blanks around a name are dropped; the value is the rest of the line as it stands, less its LF or
 * CR LF. A line without a = or a name, and one whose first character is ; or #, is ignored. The
 * first line of a name counts. Names compare without regard to case, the letters A to Z alone. A
 * file of more than 64 MB is none.
 *
 * A reader asks for the size, gets the resource into a block of its own and queries
 * that; the texts lie inside the block. */
#ifndef PLATFORM_VERSION_H
#define PLATFORM_VERSION_H

#include "platform/base.h"

PLATFORM_BEGIN

/* The size in bytes of the block that the module's resource needs; 0 when it has
 * none. Stores 0 in *ignored unless that is null. */
PLATFORM_API uint32_t GetFileVersionInfoSizeA(const char* module, uint32_t* ignored)
    PLATFORM_SYMBOL(GetFileVersionInfoSizeA);

/* Fills the block of `size` bytes with the module's resource, which is read anew. If the block is
 * too small, texts are left out from the first one that does not fit. 1, or 0 when the module has
 * no resource or the block has no room for any text, and then the block is zeroed. `ignored` is the
 * number stored above. */
PLATFORM_API int32_t GetFileVersionInfoA(const char* module, uint32_t ignored, uint32_t size,
                                         void* block) PLATFORM_SYMBOL(GetFileVersionInfoA);

/* Finds a text in a block that GetFileVersionInfoA was given, filled or not, or in a zeroed block.
 * The query is "\StringFileInfo\040904b0\NAME", with any 8 hex digits for the language. 1, the
 * address of the text with its zero in *text and its size, the zero counted, in *length (which may
 * be null); otherwise 0, and null and 0 there. */
PLATFORM_API int32_t VerQueryValueA(const void* block, const char* query, void** text,
                                    uint32_t* length) PLATFORM_SYMBOL(VerQueryValueA);

PLATFORM_END

#endif
