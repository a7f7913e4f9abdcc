// Where a record's file is, and the key under which it is changed.
#ifndef EXAMPLES_RECORD_LOCK_H
#define EXAMPLES_RECORD_LOCK_H

#include "vr/lock.h"
#include "vr/string.h"

// The file that a name given by a person stands for: variables expanded, separators
// made \, what cannot stand in a name replaced. A new string, or null after a message.
VrString MapFileName(const char* name);

struct RecordLock {
    VrLockHandle file;
    VrString key;
};

// Registers the file and takes the key; a null key is the file's base name. Returns
// an exit code: kExitOk with the lock filled in, or another after a message.
int LockRecord(VrString path, const char* key, bool wait, RecordLock& lock);

// Gives key and registration back.
void UnlockRecord(RecordLock& lock);

#endif
