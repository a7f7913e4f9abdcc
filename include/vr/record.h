/* Stored records: one record a file, its bytes as they are, changed so that a crash, a full
 * disk or another host never costs the old record.
 *
 * This is a small static library of its own, vrrecord, above vrbase: link vr::record (CMake)
 * or vrrecord (pkg-config). It works after UtilInit, files_init and LockInit.
 *
 * A safe edit takes the record's key, reads the record, changes it, replaces the file and
 * gives the key back:
 *
 *     VrRecordKey key;
 *     VrString record;
 *     int32_t result = VrRecordLock(path, NULL, kVrRecordWait, &key);
 *     if (result == kVrRecordDone) {
 *         result = VrRecordRead(path, 0, &record);
 *         if (result == kVrRecordDone) {
 *             ...                                   edit record
 *             result = VrRecordReplace(path, record, &key);
 *             free_mem(&record);
 *         }
 *         VrRecordUnlock(&key);
 *     }
 *
 * A record is written to a temporary file beside it first. Its name is the record's, a dot, a
 * letter and five digits, and a host that is killed leaves it there. The next replacement under
 * the record's own key deletes it, and listings leave it out.
 *
 * Paths are the platform's (platform/paths.h), and names are found in any case. No argument
 * may be null, except where noted. */
#ifndef VR_RECORD_H
#define VR_RECORD_H

#include "vr/abi.h"
#include "vr/heap.h"
#include "vr/lock.h"
#include "vr/string.h"

/* Results. */
enum {
    kVrRecordDone = 0,            /* done */
    kVrRecordHeldElsewhere = 1,   /* another holder has the key */
    kVrRecordAbsent = 2,          /* there is no such file */
    kVrRecordNotReadable = 3,     /* the file cannot be opened, or not read to its end */
    kVrRecordNotPlain = 4,        /* a device, a pipe, or a file of 2 GiB or more */
    kVrRecordTooLong = 5,         /* the record is longer than the limit */
    kVrRecordNotLockable = 6,     /* the folder cannot be locked in */
    kVrRecordNoTemporaryName = 7, /* every name for the temporary file is taken */
    kVrRecordNotWritten = 8,      /* the new record could not be written: the old one stands */
    kVrRecordPathTooLong = 9      /* the path, or the name in it, is too long */
};

/* How long VrRecordLock tries, in milliseconds, or one of these. */
enum {
    kVrRecordTryOnce = 0, /* not again */
    kVrRecordWait = -1    /* without a limit */
};

VR_BEGIN

/* A key that is held. Its fields belong to the library. */
typedef struct VrRecordKey {
    VrLockHandle file; /* the registration */
    VrString name;     /* the key's text */
    int32_t isRecords; /* 1 when it is the record's own key, which excludes other writers */
} VrRecordKey;

/* Takes a key in the record's folder, whose fields it writes to *held. A null `key` is the
 * record's own: its file's name in upper case, so that all spellings of the path are one key.
 * While another process holds it, the call tries again every 20 milliseconds, for
 * `milliseconds`. Each attempt is logged (vr/log.h). kVrRecordDone, kVrRecordHeldElsewhere,
 * kVrRecordNotLockable or kVrRecordPathTooLong. */
int32_t VrRecordLock(const char* path, const char* key, int32_t milliseconds, VrRecordKey* held);

/* Gives the key back. */
void VrRecordUnlock(VrRecordKey* held);

/* Reads the record into a new string, which the caller frees. `limit` is the most bytes it may
 * have; 0 and anything above kVrLongestString mean kVrLongestString. kVrRecordDone,
 * kVrRecordAbsent, kVrRecordNotReadable, kVrRecordNotPlain or kVrRecordTooLong; *record is null
 * except after kVrRecordDone. */
int32_t VrRecordRead(const char* path, int32_t limit, VrString* record);

/* Replaces the file by the record in one step: a reader finds either the old record or the new one,
 * complete. The bytes are on the disk by then. The new file gets the permissions, owner and group
 * of the old one, as far as the process may set them, and nobody who could not read the old record
 * can read the new one meanwhile. `held` is the key under which the record is changed, or null.
 * With the record's own key, the temporary files of this record that killed hosts left are deleted.
 * kVrRecordDone, kVrRecordNoTemporaryName, kVrRecordNotWritten or kVrRecordPathTooLong; the old
 * record stands after all but the first. */
int32_t VrRecordReplace(const char* path, VrString record, const VrRecordKey* held);

/* A file of a folder. */
typedef struct VrRecordEntry {
    const char* name; /* without the folder */
    int32_t length;   /* bytes; the largest number for a file of 2 GiB or more */
} VrRecordEntry;

/* The records of a folder, ordered by the bytes of their names. */
typedef struct VrRecordList {
    VrRecordEntry* entries; /* `count` of them */
    int32_t count;          /* 0 for an empty folder */
    VrHeap* names;          /* holds the names' texts */
} VrRecordList;

/* Lists the files of a folder, without the lock file and without temporary files whose record
 * lies beside them. The caller gives the list to VrRecordListFree. Null when there is no such
 * folder. */
VrRecordList* VrRecordListFolder(const char* folder);

/* Frees a list; null is ignored. */
void VrRecordListFree(VrRecordList* list);

/* Writes what the result means for the record at `path`, as a zero-terminated text of at most
 * `size` bytes: "too long for a record", for example. For kVrRecordNotLockable the text names
 * the file or folder whose rights are in the way, if it can be seen. */
void VrRecordExplain(int32_t result, const char* path, char* text, int32_t size);

VR_END

#endif
