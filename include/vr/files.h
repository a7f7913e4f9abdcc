/* Files: numbered handles under a budget, the current directory, listings, and names
 * on disk.
 *
 * Handles are the platform's own, small numbers from 3 on. 0 is never a valid handle, and
 * -1 is none. OsOpen counts the handles that are open. When the count has reached
 * "MaxOpenFiles" of the section "Environment", 120 unless set, it first runs the callbacks
 * of kind kVrTooManyOpenFiles (vr/memory.h), with which the library's pool of idle handles,
 * and hosts, close something. The budget is soft: the open is tried whatever they did.
 *
 * Paths are the platform's: C:\DATA\ABC, with / for \ as well. platform/paths.h describes
 * them, and platform/files.h has the open flags, the permissions and the reasons that a failed
 * call leaves in errno. Text arguments are zero-terminated and must not be null, except where
 * noted; a null VrString counts as empty. */
#ifndef VR_FILES_H
#define VR_FILES_H

#include "vr/abi.h"
#include "vr/string.h"

/* Results of OsOpen. */
enum {
    kVrOpenDone = 0,         /* of OsOpen: the file is open */
    kVrOpenFailed = -1,      /* of OsOpen: not opened, for any reason but the next */
    kVrOpenTooManyFiles = -2 /* of OsOpen: too many files are open, also when tried again */
};

VR_BEGIN

/* Brings the layer up; called once, after UtilInit and before LockInit. Always
 * returns 1. */
VR_API int32_t files_init(void);

/* Opens the file and writes its handle to *handle. Everybody else may open the file too.
 * `flags` are the kOpen... flags of platform/files.h. With 0, or without kOpenBinary, the
 * file is opened in text mode: records need kOpenBinary. `permission` (kPermissionWrite,
 * kPermissionRead) counts only when the open creates the file.
 *
 * Returns kVrOpenDone; kVrOpenFailed; or kVrOpenTooManyFiles when the open failed for too
 * many open files, and failed again after the callbacks. After a failure *handle is -1. */
VR_API int32_t OsOpen(const char* path, int32_t flags, int32_t permission, int32_t* handle);

/* Closes the handle and takes 1 off the count, unless the count is 0. A handle that was not
 * open is counted too. Always returns 1. */
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
 * names one; null on failure. OsFclose closes the stream and the handle, which stays
 * counted until OsFilesDec. It returns 0, or -1 on failure. */
VR_API VrStream* OsFdopen(int32_t handle, const char* mode);
VR_API int32_t OsFclose(VrStream* stream);

/* The next line, its line end included, of at most `size` - 1 bytes. Returns the
 * buffer, or null at the end. */
VR_API char* OsFgets(char* buffer, int32_t size, VrStream* stream);

/* The full path, by the current directory, in upper case: a new string that the
 * caller frees. NullVrStr's string when the path is empty or its full form has more
 * than 254 bytes. */
VR_API VR_OWNED VrString GetFullPath(VrString path);

/* Copies the smaller of `size` and 255 bytes of the current directory's text, with its zero
 * and whatever follows that, and returns the buffer. Fewer bytes than the text and its zero
 * need leave the buffer without a zero. The text is kept from the first call on, and only
 * ChDir renews it; a directory of more than 254 bytes leaves the old text. Null, with the
 * buffer untouched, when there is no text. */
VR_API char* GetCwd(char* buffer, int32_t size);

/* Changes the current directory. 0, or -1. Lock files of relative names follow it
 * (vr/lock.h). */
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
    int32_t searchHandle; /* -1 when the search found nothing */
} DirSearch;

/* Lists a directory, "." and ".." and folders included, in the platform's order.
 * DirFirst makes *search in any case, and returns the first name, or null
 * when the directory is empty, missing, or does not fit 255 bytes with its pattern.
 * DirNext returns the next name, or null at the end or for null. Names are valid until
 * the next call. DirClose frees *search and clears it, and ignores one that is null. It is
 * needed after every DirFirst, also after one that returned null. */
VR_API const char* DirFirst(const char* directory, DirSearch** search);
VR_API const char* DirNext(DirSearch* search);
VR_API void DirClose(DirSearch** search);

/* Turns a free-text name into one for the disk, of up to eight characters and the
 * extension (up to three characters, null for none), in upper case, that nothing in
 * the current directory has yet: where the plain name cannot be used, a hexadecimal
 * number ends it. Without an extension, one dot among the last four characters may
 * stay, and the name may have twelve. A new string that the caller frees, or NullVrStr's
 * string when no name is free; a folder that cannot be searched counts as empty. The
 * extension is upper-cased in the caller's memory. */
VR_API VR_OWNED VrString OsFileName(VrString name, char* extension);

/* The counterpart for long names: up to 260 characters unchanged, except that * becomes ^,
 * then a dot and the extension, as far as they fit 390 bytes. A new string that the caller
 * frees. It does not look at the disk. */
VR_API VR_OWNED VrString OsFileLongName(VrString name, const char* extension);

/* A name of the prefix and six characters that no file has, in the current directory
 * or, for the temporary one, in the directory that VRLTEMP names, if any. A new string
 * that the caller frees; NullVrStr's string when there is no such name, when the prefix has
 * more than 97 characters (96 together with the directory of VRLTEMP), and when VRLTEMP has
 * 8192 bytes or more. Nothing is made on the disk. */
VR_API VR_OWNED VrString GetUniqueFileName(const char* prefix);
VR_API VR_OWNED VrString GetUniqueTempFileName(const char* prefix);

/* What follows the prefix, and white space after it, in a line that begins with
 * the prefix in upper or lower case: a new string that the caller frees, or null when
 * nothing follows, when the line begins otherwise, and for a null or empty prefix. The
 * prefix is upper-cased in the caller's memory. */
VR_API VR_OWNED VrString ExtractBaseName(VrString line, char* prefix);

VR_END

#endif
