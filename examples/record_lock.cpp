// A record's key is locked under its file's name in upper case, so that hosts which spell
// the file's path in other ways still meet in one key: the lock file of a directory is
// one, whatever the directory is called.

#include "record_lock.h"

#include <chrono>
#include <cstdio>
#include <string>
#include <thread>

#include "platform/files.h"
#include "record_arguments.h"
#include "record_place.h"
#include "shown_text.h"
#include "vr/environ.h"
#include "vr/files.h"
#include "vr/log.h"
#include "vr/memory.h"
#include "vr/text.h"

namespace {

const char* TextOf(VrString s) {
    return reinterpret_cast<const char*>(VrStrText(s));
}

// The library's own waiting tries without a pause, which costs a processor.
int TakeKey(const RecordLock& lock, bool wait) {
    int32_t taken = LockLockKey(lock.file, lock.key, 0, 0);
    while (taken == 1 && wait) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        taken = LockLockKey(lock.file, lock.key, 0, 0);
    }
    VrdbLogMesLock(TextOf(lock.key), taken);
    if (taken == 0) return kExitOk;
    const std::string key = Shown(TextOf(lock.key), stderr);
    if (taken == 1) {
        std::fprintf(stderr, "record_host: another process holds the key %s\n", key.c_str());
        return kExitHeldElsewhere;
    }
    std::fprintf(stderr, "record_host: the key %s cannot be locked\n", key.c_str());
    return kExitBadRequest;
}

// A refusal comes from the rights of the lock file, or of the folder where one cannot be made.
std::string WhyRefused(const std::string& folder) {
    char ownership[100];
    if (FileOwnership((folder + "__locks").c_str(), ownership, sizeof ownership) == 0) {
        return std::string(": __locks belongs to ") + ownership;
    }
    if (FileOwnership(folder.c_str(), ownership, sizeof ownership) == 0) {
        return std::string(": the folder belongs to ") + ownership;
    }
    return "";
}

}  // namespace

VrString MapFileName(const char* name) {
    VrString given = StrToVrStr(name);
    VrString expanded = EnvironFileName(given);
    VrString mapped = OsFileLongName(expanded, nullptr);
    const bool whole = mapped->length == expanded->length;
    free_mem(&given);
    free_mem(&expanded);
    if (whole) return mapped;
    free_mem(&mapped);
    std::fprintf(stderr, "record_host: %s: the name is too long\n", Shown(name, stderr).c_str());
    return nullptr;
}

int LockRecord(VrString path, const char* key, bool wait, RecordLock& lock) {
    std::string name = NameIn(TextOf(path));
    ToUpper(name.data());
    const std::string folder = FolderOf(TextOf(path));
    const int32_t registered = LockRegister((folder + name).c_str(), &lock.file);
    if (registered != 0) {
        std::fprintf(stderr, "record_host: %s: its folder cannot be locked in%s\n",
                     Shown(TextOf(path), stderr).c_str(),
                     registered == -1 ? WhyRefused(folder).c_str() : "");
        return kExitBadRequest;
    }
    lock.key = StrToVrStr(key != nullptr ? key : name.c_str());
    const int result = TakeKey(lock, wait);
    if (result != kExitOk) {
        free_mem(&lock.key);
        LockDeregister(lock.file);
    }
    return result;
}

void UnlockRecord(RecordLock& lock) {
    VrdbLogMesUnlock(TextOf(lock.key), LockUnlockKey(lock.file, lock.key));
    LockDeregister(lock.file);
    free_mem(&lock.key);
}
