/* Files: numbered handles under a budget, the current directory, listings, and names
 * on disk.
 *
 * Handles are the platform's own, small numbers above 0; -1 is none. OsOpen counts
 * the handles that are open. When the count has reached "MaxOpenFiles" of the section
 * "Environment", 120 unless set, it first runs the callbacks of kind
 * kVrTooManyOpenFiles, by which the library's pool of idle handles, and hosts, close
 * something. The budget is soft: the open goes ahead whatever came of that.
 *
 * Paths are the platform's: C:\DATA\ABC, with / for \ as well. Why a call failed is
 * in errno. Text arguments are zero-terminated and must not be null, unless said; a null
 * VrString counts as empty. */
#ifndef VR_FILES_H
#define VR_FILES_H

#include "vr/abi.h"
#include "vr/string.h"

VR_BEGIN

/* Brings the layer up; called once, after UtilInit and before LockInit. Always
 * returns 1. */
VR_API int32_t files_init(void);

/* Opens the file with the platform's open flags, shared with everybody, into
 * *handle. `permission` is of use when the flags create the file. Returns 0; -1 when
 * the open failed; -2 when it failed for too many open files, and once more after
 * the callbacks. After a failure *handle is -1. */
VR_API int32_t OsOpen(const char* path, int32_t flags, int32_t permission, int32_t* handle);

/* Closes the handle and takes 1 off the count, unless that is 0, whether or not the
 * handle was open. Always returns 1. */
VR_API int32_t OsClose(int32_t handle);

/* Count a handle that the host opened or closed by other means. OsFilesInc runs the
 * callbacks as OsOpen does; OsFilesDec has no floor. */
VR_API void OsFilesInc(void);
VR_API void OsFilesDec(void);

/* Bytes read, 0 at the end, or -1; bytes written, or -1. In text mode a line end is
 * CR LF on disk and LF here. */
VR_API int32_t OsRead(int32_t handle, void* buffer, uint32_t count);
VR_API int32_t OsWrite(int32_t handle, const void* buffer, uint32_t count);

/* The length in bytes, or -1. */
VR_API int32_t OsFileLength(int32_t handle);

/* Cuts or extends the file. 0, or -1. */
VR_API int32_t OsChsize(int32_t handle, int32_t size);

/* Moves to `offset` from the start (0), the current place (1) or the end (2).
 * Returns the new place, or -1. */
VR_API int32_t OsLseek(int32_t handle, int32_t offset, int32_t origin);

/* A stream of OsFdopen. Opaque to hosts. */
typedef struct PlatformStream VrStream;

/* A buffered stream over a handle, in the handle's text or binary mode unless `mode`
 * names one; null on failure. OsFclose closes the handle with it, which stays counted
 * until OsFilesDec. It returns 0, or -1 on failure. */
VR_API VrStream* OsFdopen(int32_t handle, const char* mode);
VR_API int32_t OsFclose(VrStream* stream);

/* The next line, its line end included, of at most `size` - 1 bytes. Returns the
 * buffer, or null at the end. */
VR_API char* OsFgets(char* buffer, int32_t size, VrStream* stream);

/* The path made full, by the current directory, and upper case: a new string that the
 * caller frees. NullVrStr's string when the path is empty or its full form has more
 * than 254 bytes. */
VR_API VrString GetFullPath(VrString path);

/* Copies the smaller of `size` and 255 bytes of the current directory's text, zero
 * terminator and left-overs behind it included, and returns the buffer. The text is
 * kept from the first call on and renewed by ChDir alone; one of more than 254 bytes
 * leaves the old text. Null, with the buffer untouched, when there is none. */
VR_API char* GetCwd(char* buffer, int32_t size);

/* Changes the current directory. 0, or -1. */
VR_API int32_t ChDir(const char* path);

/* Does nothing. Always returns 1. */
VR_API int32_t WriteLockFile(VrWord a, VrWord b);

/* A listing in progress. Names are without their directory. Times are seconds since
 * 1970. */
typedef struct DirSearch {
    uint32_t attributes;  /* 0x01 may not be written, 0x10 a directory */
    int32_t creationTime; /* of the last change of its content or status */
    int32_t accessTime;   /* of the last reading */
    int32_t writeTime;    /* of the last writing */
    uint32_t size;        /* bytes */
    char name[260];       /* zero-terminated */
    int32_t searchHandle; /* -1 when nothing was found */
} DirSearch;

/* Lists a directory, "." and ".." and folders included, in the platform's order.
 * DirFirst makes *search, whatever comes of it, and returns the first name, or null
 * when the directory is empty, missing, or does not fit 255 bytes with its pattern.
 * DirNext returns the next name, or null at the end or for null. Names are good until
 * the next call. DirClose, owed after every DirFirst, frees *search and clears it; a
 * cleared one is passed over. */
VR_API const char* DirFirst(const char* directory, DirSearch** search);
VR_API const char* DirNext(DirSearch* search);
VR_API void DirClose(DirSearch** search);

/* Turns a free-text name into one for the disk, of up to eight characters and the
 * extension (up to three characters, null for none), in upper case, which nothing in
 * the current directory bears yet: where the plain name will not do, a hexadecimal
 * number ends it. Without an extension, one dot among the last four characters may
 * stay, and the name have twelve. A new string that the caller frees, or NullVrStr's
 * string when no name is free; a folder that cannot be looked into counts as empty. The
 * extension is upper-cased in the caller's memory. */
VR_API VrString OsFileName(VrString name, char* extension);

/* The counterpart for long names: up to 260 characters as they are but for * made ^,
 * then a dot and the extension as far as the string's capacity of 390 goes. A new
 * string that the caller frees. No disk is asked. */
VR_API VrString OsFileLongName(VrString name, const char* extension);

/* A name of the prefix and six characters that nothing bears, in the current directory
 * or, for the temporary one, in the directory that VRLTEMP names, if any. A new string
 * that the caller frees; NullVrStr's string when no name can be had, a prefix (with its
 * directory) of more than 97 (96) characters included, and a VRLTEMP of 8192 bytes or
 * more. */
VR_API VrString GetUniqueFileName(const char* prefix);
VR_API VrString GetUniqueTempFileName(const char* prefix);

/* What follows the prefix and the white space behind it in a line that begins with
 * the prefix, in any case: a new string that the caller frees, or null when there is
 * nothing. The prefix is upper-cased in the caller's memory. */
VR_API VrString ExtractBaseName(VrString line, char* prefix);

VR_END

#endif
