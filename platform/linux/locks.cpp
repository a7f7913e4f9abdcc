// Byte locks over open file description locks, which belong to one open of a file
// and go with it. The system lets an owner lock a range twice and unlock what it does
// not hold, so the handle keeps a list of what it holds, by position and without overlaps.

#include "platform/locks.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <vector>

#include "linux/failures.h"
#include "linux/files.h"
#include "linux/shortage.h"
#include "platform/control.h"
#include "platform/files.h"

namespace vrplatform {

namespace {

FailurePlan lockFailures = {};

int64_t Join(uint32_t low, uint32_t high) {
    return static_cast<int64_t>(uint64_t{high} << 32 | low);
}

bool IsRange(const LockedRange& range) {
    return range.position >= 0 && range.length > 0 &&
           range.length - 1 <= INT64_MAX - range.position;
}

bool Overlap(const LockedRange& a, const LockedRange& b) {
    return a.position <= b.position + (b.length - 1) && b.position <= a.position + (a.length - 1);
}

// Where a range of that position is among those held, or would be.
std::vector<LockedRange>::iterator PlaceOf(std::vector<LockedRange>& held, int64_t position) {
    return std::ranges::lower_bound(held, position, {}, &LockedRange::position);
}

OpenFile* FileOfHandle(void* file) {
    return FindFile(static_cast<int32_t>(reinterpret_cast<intptr_t>(file)));
}

bool SetLock(const OpenFile& file, int type, const LockedRange& range) {
    struct flock lock = {};
    lock.l_type = static_cast<short>(type);
    lock.l_whence = SEEK_SET;
    lock.l_start = range.position;
    lock.l_len = range.length;
    return fcntl(file.descriptor.Get(), F_OFD_SETLK, &lock) == 0;
}

int32_t Refuse(int error) {
    errno = error;
    return 0;
}

int ContractError(int error) {
    switch (error) {
        case EAGAIN:
            return kErrorAccessDenied;
        case EOPNOTSUPP:
        case ENOSYS:
            return kErrorInvalid;
        default:
            return error;
    }
}

}  // namespace

}  // namespace vrplatform

using namespace vrplatform;

int32_t LockFile(void* file, uint32_t positionLow, uint32_t positionHigh, uint32_t lengthLow,
                 uint32_t lengthHigh) {
    if (lockFailures.MustFail()) return Refuse(lockFailures.error);
    OpenFile* open = FileOfHandle(file);
    if (open == nullptr) return 0;
    const LockedRange range = {Join(positionLow, positionHigh), Join(lengthLow, lengthHigh)};
    if (!IsRange(range)) return Refuse(ERANGE);
    const auto place = PlaceOf(open->locks, range.position);
    const bool overlaps = (place != open->locks.end() && Overlap(*place, range)) ||
                          (place != open->locks.begin() && Overlap(*std::prev(place), range));
    if (overlaps) return Refuse(kErrorAccessDenied);
    return UnlessShort(0, [=] {
        const auto taken = open->locks.insert(place, range);  // first: what is locked must be known
        if (SetLock(*open, F_WRLCK, range)) return 1;
        open->locks.erase(taken);
        return Refuse(ContractError(errno));
    });
}

int32_t UnlockFile(void* file, uint32_t positionLow, uint32_t positionHigh, uint32_t lengthLow,
                   uint32_t lengthHigh) {
    OpenFile* open = FileOfHandle(file);
    if (open == nullptr) return 0;
    const LockedRange range = {Join(positionLow, positionHigh), Join(lengthLow, lengthHigh)};
    const auto held = PlaceOf(open->locks, range.position);
    const bool isHeld = held != open->locks.end() && held->position == range.position &&
                        held->length == range.length;
    if (!isHeld) return Refuse(kErrorAccessDenied);
    if (!SetLock(*open, F_UNLCK, range)) return 0;
    open->locks.erase(held);
    return 1;
}

void ControlFailLocks(uint32_t nth, uint32_t count, int32_t error) {
    lockFailures = {nth, count, error};
}
