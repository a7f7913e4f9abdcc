/* Private profiles: files of settings.
 *
 * A profile is a text of sections [NAME] and, in them, lines KEY=VALUE. Case does not matter in
 * sections and keys, and the first one of a name counts. Blanks around names and values are
 * dropped, and then one pair of quotes around a value; lines that begin with ; are ignored. A file
 * named without a directory is looked for in the Windows directory; one that cannot be read is
 * empty. */
#ifndef PLATFORM_PROFILE_H
#define PLATFORM_PROFILE_H

#include "platform/base.h"

PLATFORM_BEGIN

/* Copies the key's value, or `defaultValue`, cut to `size` bytes with its zero, and returns
 * its length. A null key lists the section's keys, a null section the sections: each name
 * with its zero, and one more zero at the end; the length is without that. */
PLATFORM_API uint32_t GetPrivateProfileStringA(const char* section, const char* key,
                                               const char* defaultValue, char* buffer,
                                               uint32_t size, const char* file)
    PLATFORM_SYMBOL(GetPrivateProfileStringA);

PLATFORM_END

#endif
