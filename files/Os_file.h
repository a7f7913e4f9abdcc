// The handle pool: files that stay known while their handles come and go.
//
// A pool handle that is outside the table or free makes a call fail or do nothing.
#ifndef FILES_OS_FILE_H
#define FILES_OS_FILE_H

#include <cstdint>

namespace vr {

using OsPoolHandle = int32_t;  // index into the table, plus 1

// As OsOpen numbers its results.
enum class OsResult : int32_t { Done = 0, Failed = -1, TooManyOpenFiles = -2 };

// Called by files_init.
void StartPool();

// Opens a file and keeps it, without users.
[[nodiscard]] OsResult OsPoolOpen(const char* path, int32_t flags, int32_t permission,
                                  OsPoolHandle* pooled);

// Pins the file and gives its platform handle, reopening it if it was parked. The handle is valid
// until the last release.
[[nodiscard]] OsResult OsPoolAcquire(OsPoolHandle pooled, int32_t* handle);

// Removes a pin.
void OsPoolRelease(OsPoolHandle pooled);

// Whether the file is open and has no name any more.
[[nodiscard]] bool OsPoolIsDeleted(OsPoolHandle pooled);

// Closes an idle file and opens, with these flags, the file that has its name now. The file stays
// parked when that fails.
[[nodiscard]] OsResult OsPoolRenew(OsPoolHandle pooled, int32_t flags, int32_t permission);

// Deletes a file that was made by its open and that nobody else has open. It stays pooled.
void OsPoolDiscard(OsPoolHandle pooled);

// The path as it was given; it belongs to the pool. Null for a bad handle.
[[nodiscard]] const char* OsPoolName(OsPoolHandle pooled);

// Closes the file, pinned or not, and forgets it.
void OsPoolClose(OsPoolHandle pooled);

}  // namespace vr

#endif
