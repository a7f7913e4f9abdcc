/* The registry, read-only: keys that hold named values.
 *
 * Its contents are the text export of a registry editor, in the file that the
 * environment variable VRPLATFORM_REGISTRY names by a platform path. Each opening of
 * a key looks at the file and reads it when it has changed, so a change is seen by the
 * next one; a key that is open keeps what it read. An export of up to 1 MB that has not
 * changed for two seconds is kept in memory. Without the variable, without a readable file, with
 * one of more than 64 MB or one that does not begin with a line named here, no key exists.
 *
 *     REGEDIT4                                bytes, handed out as they stand
 *     Windows Registry Editor Version 5.00    UTF-16LE with its mark, or UTF-8
 *
 *     [HKEY_LOCAL_MACHINE\Software\Maker]     a key: what follows are its values
 *     @="text"                                the default value, whose name is empty
 *     "name"="C:\\x \"y\""                    text, on one line
 *     "name"=dword:0000000a                   a number: 4 bytes, low byte first
 *     "name"=hex:01,02,\                      bytes; a line that begins with a hex
 *       03                                    digit goes on after the backslash
 *     "name"=hex(2):61,00,00,00               bytes of the type in the brackets
 *     "name"=-                                no such value any more
 *     [-HKEY_LOCAL_MACHINE\Software\Maker]    no such key any more, nor one beneath
 *     ; comment                               also after a value
 *
 * Roots are written with their long names. A key that occurs twice has the values of both places,
 * and of two values of one name the later one counts; it keeps the first one's place in the order.
 * A key also exists when only keys beneath it are written down. In a quoted text a backslash that
 * no backslash or quote follows stands for itself. A line that is none of the above is ignored;
 * values after a damaged key line belong to no key.
 *
 * Text is returned as Latin-1, with a question mark for every other character. In version 5.00 this
 * applies to the types REG_SZ, REG_EXPAND_SZ and REG_MULTI_SZ in hex too, which hold UTF-16 there;
 * a byte that is not UTF-8 stays as it is. Data of REG_SZ and REG_EXPAND_SZ always ends with a
 * zero, which counts in its size.
 *
 * Names of keys and values compare without regard to case, the letters A to Z alone.
 * Callers keep to one thread. */
#ifndef PLATFORM_REGISTRY_H
#define PLATFORM_REGISTRY_H

#include "platform/base.h"

/* A root, or the number of a key that was opened. */
typedef struct RegistryKeyHandle* HKEY;

/* The roots: the settings of the user, and those of the machine. */
#define HKEY_CURRENT_USER ((HKEY)(uintptr_t)0x80000001u)
#define HKEY_LOCAL_MACHINE ((HKEY)(uintptr_t)0x80000002u)

/* The access that readers ask for. */
enum { KEY_READ = 0x20019 };

/* Types of values; a hex(N) line may give any other number. */
enum {
    REG_SZ = 1,        /* text */
    REG_EXPAND_SZ = 2, /* text with variables in it, which are not expanded here */
    REG_BINARY = 3,    /* bytes */
    REG_DWORD = 4,     /* a number of 4 bytes, low byte first */
    REG_MULTI_SZ = 7   /* texts, each with its zero, and a zero after the last */
};

/* Results. */
enum {
    ERROR_SUCCESS = 0,            /* done */
    ERROR_FILE_NOT_FOUND = 2,     /* no such key or value */
    ERROR_INVALID_HANDLE = 6,     /* not a key that is open */
    ERROR_OUTOFMEMORY = 14,       /* no memory to read it */
    ERROR_INVALID_PARAMETER = 87, /* a null argument that must not be null */
    ERROR_MORE_DATA = 234,        /* a buffer is too small */
    ERROR_NO_MORE_ITEMS = 259     /* no value of that number */
};

PLATFORM_BEGIN

/* Opens the key of that path beneath `root`, which is a root or an open key; a null or empty path
 * opens that key itself. One backslash at the path's end is ignored; an empty part in its middle is
 * a name like any other. `options` and `access` are ignored: every key can be read and none
 * written.
 *
 * ERROR_SUCCESS and the key in *key, which the caller closes with RegCloseKey; otherwise
 * ERROR_FILE_NOT_FOUND, ERROR_OUTOFMEMORY, ERROR_INVALID_HANDLE for a bad `root` or
 * ERROR_INVALID_PARAMETER for a null `key`, and null in *key. */
PLATFORM_API int32_t RegOpenKeyExA(HKEY root, const char* path, uint32_t options, uint32_t access,
                                   HKEY* key) PLATFORM_SYMBOL(RegOpenKeyExA);

/* Reads the value of that name; null is the default value. `reserved` is ignored, `type` may be
 * null. *size is the size of `data` on entry and the value's on return, also with ERROR_MORE_DATA,
 * which means that the value does not fit and nothing was stored. With null `data` only size and
 * type are stored, and `size` may be null too.
 *
 * ERROR_FILE_NOT_FOUND, ERROR_INVALID_HANDLE, and ERROR_INVALID_PARAMETER for data
 * without a size leave everything as it was. */
PLATFORM_API int32_t RegQueryValueExA(HKEY key, const char* name, uint32_t* reserved,
                                      uint32_t* type, unsigned char* data, uint32_t* size)
    PLATFORM_SYMBOL(RegQueryValueExA);

/* Reads value number `index`, from 0 in the order of the file. *nameSize is the size of `name` on
 * entry, the zero counted, and the name's length without it on return. Type, data and size are as
 * of RegQueryValueExA, and `dataSize` may be null with null `data`. ERROR_MORE_DATA when the name
 * or the data does not fit: sizes and type are stored, and neither buffer is written.
 *
 * ERROR_NO_MORE_ITEMS after the last value, ERROR_INVALID_HANDLE, and ERROR_INVALID_PARAMETER for a
 * null `name` or `nameSize` or for data without a size leave everything as it was. */
PLATFORM_API int32_t RegEnumValueA(HKEY key, uint32_t index, char* name, uint32_t* nameSize,
                                   uint32_t* reserved, uint32_t* type, unsigned char* data,
                                   uint32_t* dataSize) PLATFORM_SYMBOL(RegEnumValueA);

/* Closes an open key. ERROR_INVALID_HANDLE for one that is not open, and for a root. */
PLATFORM_API int32_t RegCloseKey(HKEY key) PLATFORM_SYMBOL(RegCloseKey);

PLATFORM_END

#endif
