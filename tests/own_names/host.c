/* A day's work of a host: something of each family that asks the platform for anything. */
#include <stdio.h>
#include <string.h>

#include "platform/modules.h"
#include "vr/vr.h"

/* The address of a service, which makes its name one of the host's own. */
void* (*volatile load)(const char*) = LoadLibraryA;

static int failures;

static void Check(int holds, const char* what) {
    if (holds) return;
    fprintf(stderr, "%s\n", what);
    ++failures;
}

static void Record(void) {
    VrLockHandle file = 0;
    VrString key = StrToVrStr("RECORD");
    int32_t handle = 0;
    char bytes[6] = "";
    Check(LockRegister(".\\RECORD", &file) == 0, "register");
    Check(LockLockKey(file, key, 0, 0) == 0, "lock");
    Check(OsOpen("RECORD", 0x8102, 0x180, &handle) == 0, "open");
    Check(OsWrite(handle, "A\376B\r\n", 5) == 5, "write");
    Check(OsLseek(handle, 0, 0) == 0 && OsRead(handle, bytes, 5) == 5, "read");
    Check(OsChsize(handle, 2) == 0 && OsFileLength(handle) == 2, "length");
    OsClose(handle);
    Check(LockUnlockKey(file, key) == 0 && LockDeregister(file) == 0, "unlock");
    free_mem(&key);
}

static void Folder(void) {
    DirSearch* search = NULL;
    int found = 0;
    for (const char* name = DirFirst(".", &search); name != NULL; name = DirNext(search))
        found += strcmp(name, "RECORD") == 0;
    DirClose(&search);
    VrString unique = GetUniqueFileName("AB");
    VrString full = GetFullPath(unique);
    Check(found == 1 && full->length > unique->length, "listing");
    free_mem(&full), free_mem(&unique);
}

static void Programs(void) {
    Check(load("no library") == NULL, "no library");
    char* list = VrProcessList();
    Check(System("exit 3", NULL) == 3, "command");
    Check(*list != '\0', "processes");
    free_mem(&list);
    GoToSleep(0);
}

static void Words(void) {
    int32_t days = 0;
    char* setting = IniGetString("Section", "Key", "");
    Check(strcmp(setting, "value") == 0, "setting");
    Check(MoDaYrToDaysSince67(10, 25, 2026, &days) == 1 && DaysSince67() > 20000, "dates");
    Check(VrdbLogInit("Log", NULL) == 0, "log");
    VrdbLogOutInt("@@@", days);
    free_mem(&setting);
}

int main(void) {
    const UtilInitRecord record = {0, 0, "day.ini"};
    UtilInit(&record);
    files_init();
    LockInit();
    Record();
    Folder();
    Words();
    Check(ChDir("C:\\") == 0, "directory");
    Programs();
    VrExit(0);
    return failures;
}
