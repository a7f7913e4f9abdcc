// A record's key is locked under its file's name in upper case, so that hosts which spell the
// file's path in other ways still use one key: a directory has one lock file, however its path is
// spelled.

#define VR_MODULE "Record"
#include <cstdint>

#include "names.h"
#include "platform/programs.h"
#include "vr/log.h"
#include "vr/memory.h"
#include "vr/owned.hpp"
#include "vr/record.h"
#include "vr/text.h"

namespace {

constexpr int32_t kPause = 20;  // milliseconds; the library's own waiting makes none

int32_t TakeOnce(const VrRecordKey& key) {
    const int32_t taken = LockLockKey(key.file, key.name, 0, 0);
    VrdbLogMesLock(vr::View(key.name).data(), taken);
    return taken;
}

int32_t Take(const VrRecordKey& key, int32_t milliseconds) {
    int64_t left = milliseconds < 0 ? INT64_MAX : milliseconds;
    int32_t taken = TakeOnce(key);
    for (; taken == kVrLockHeldElsewhere && left > 0; left -= kPause) {
        Sleep(kPause);
        taken = TakeOnce(key);
    }
    if (taken == kVrLockDone) return kVrRecordDone;
    return taken == kVrLockHeldElsewhere ? kVrRecordHeldElsewhere : kVrRecordNotLockable;
}

void GiveUp(VrRecordKey& key) {
    free_mem(&key.name);
    LockDeregister(key.file);
    key = {};
}

}  // namespace

int32_t VrRecordLock(const char* path, const char* key, int32_t milliseconds, VrRecordKey* held) {
    *held = {};
    record::FileName file;
    char upper[record::kPathSize];
    if (!record::Split(path, file)) return kVrRecordPathTooLong;
    ToUpper(file.name);
    if (!record::Join(file, "", upper)) return kVrRecordPathTooLong;
    if (LockRegister(upper, &held->file) != kVrLockDone) return kVrRecordNotLockable;
    held->name = StrToVrStr(key != nullptr ? key : file.name);
    held->isRecords = key == nullptr ? 1 : 0;
    const int32_t result = Take(*held, milliseconds);
    if (result != kVrRecordDone) GiveUp(*held);
    return result;
}

void VrRecordUnlock(VrRecordKey* held) {
    const int32_t result = LockUnlockKey(held->file, held->name);
    VrdbLogMesUnlock(vr::View(held->name).data(), result);
    GiveUp(*held);
}
