// The handle pool: files that stay known while their handles come and go.
//
// Unless noted, calls return 0, or -1 for a pool handle that is outside the table or free.
#ifndef FILES_OS_FILE_H
#define FILES_OS_FILE_H

#include <cstdint>

namespace vr {

using OsPoolHandle = int32_t;  // index into the table, plus 1

// Called by files_init.
void StartPool();

// Opens a file and keeps it, without users. After a failure the code of OsOpen.
int32_t OsPoolOpen(const char* path, int32_t flags, int32_t permission, OsPoolHandle* pooled);

// Pins the file and gives its platform handle, reopening it if it was parked; the code of OsOpen
// when that fails. The handle is valid until the last release.
int32_t OsPoolAcquire(OsPoolHandle pooled, int32_t* handle);

// Removes a pin; -2 when there is none.
int32_t OsPoolRelease(OsPoolHandle pooled);

// Whether the file is open and has no name any more.
bool OsPoolIsDeleted(OsPoolHandle pooled);

// Closes an idle file and opens, with these flags, the file that has its name now. The code of
// OsOpen; the file stays parked when that fails.
int32_t OsPoolRenew(OsPoolHandle pooled, int32_t flags, int32_t permission);

// Deletes a file that was made by its open and that nobody else has open. It stays pooled.
void OsPoolDiscard(OsPoolHandle pooled);

// The path as it was given; it belongs to the pool.
int32_t OsPoolName(OsPoolHandle pooled, const char** name);

// Closes the file, pinned or not, and forgets it.
int32_t OsPoolClose(OsPoolHandle pooled);

// Parks up to `count` files that have been idle longest, and stores their number in *closed unless
// that is null.
void OsPoolReclaim(int32_t count, int32_t* closed);

}  // namespace vr

#endif
