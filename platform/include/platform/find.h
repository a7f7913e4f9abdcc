/* Searching a directory for names. */
#ifndef PLATFORM_FIND_H
#define PLATFORM_FIND_H

#include "platform/base.h"

/* Attributes of a name. */
enum {
    kFindReadOnly = 0x01, /* it may not be written */
    kFindDirectory = 0x10 /* it is a directory */
};

/* What a search returns for one name. Times are seconds since 1970. */
typedef struct FindData {
    uint32_t attributes;  /* of the kFind... bits */
    int32_t creationTime; /* of the last change of its content or status */
    int32_t accessTime;   /* of the last reading */
    int32_t writeTime;    /* of the last writing */
    uint32_t size;        /* bytes; the largest number for a file that has more */
    char name[260];       /* without directory, zero-terminated */
} FindData;

/* The names of a folder at one moment. Opaque to callers. */
typedef struct PlatformFolderNames PlatformFolderNames;

PLATFORM_BEGIN

/* Searches a directory for names that match the last part of `pattern`, where * stands for any
 * bytes and ? for one, and *.* matches every name. "." and ".." are names too. Stores the first
 * name and returns the handle of the search, or -1 when there is none. The order is the directory's
 * own; names that hold a backslash are left out. */
PLATFORM_API int32_t FindFirst(const char* pattern, FindData* data) PLATFORM_SYMBOL(FindFirst);

/* Stores the next name: 0, or -1 at the end. */
PLATFORM_API int32_t FindNext(int32_t search, FindData* data) PLATFORM_SYMBOL(FindNext);

/* Ends the search: 0, or -1 for a bad handle. */
PLATFORM_API int32_t FindClose(int32_t search) PLATFORM_SYMBOL(FindClose);

/* Reads at once all names that match the last part of `pattern`, as FindFirst takes it, so that a
 * caller who looks for many names reads the folder once. Null when the folder cannot be read or
 * memory is short. The caller frees them with FolderNamesFree, which ignores null. */
PLATFORM_API PlatformFolderNames* FolderNamesRead(const char* pattern)
    PLATFORM_SYMBOL(FolderNamesRead);
PLATFORM_API void FolderNamesFree(PlatformFolderNames* names) PLATFORM_SYMBOL(FolderNamesFree);

/* 1 when the name, in any case, is among them, else 0. */
PLATFORM_API int32_t FolderNamesHas(const PlatformFolderNames* names, const char* name)
    PLATFORM_SYMBOL(FolderNamesHas);

PLATFORM_END

#endif
