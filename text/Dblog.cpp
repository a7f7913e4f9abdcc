// The database log. A line belongs to a group, and is formatted and written only when the
// group's bit is on, so a call with the log off costs one test.

#define VR_MODULE "Dblog"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <iterator>

#include "core/Text.h"
#include "core/vrmem_check.h"
#include "platform/files.h"
#include "vr/files.h"
#include "vr/log.h"
#include "vr/settings.h"

namespace {

enum Group : int32_t { kCalls = 1, kDetails = 2, kTimes = 4, kBtrvErrors = 16, kLocks = 32 };

constexpr int32_t kLargestLevel = 63;
constexpr uint32_t kLineSize = 1024;
constexpr size_t kPathSize = 256;
constexpr char kLogName[] = "$$VRDB.LOG";
constexpr int32_t kLogFlags = kOpenReadWrite | kOpenCreate | kOpenText;
constexpr int32_t kNotOpened = -1;  // the handle of a log without a file
constexpr int32_t kHarmlessStatuses[] = {0, 4, 9, 22, 59};

constexpr char kFileFormat[] = "\n%s File: %s";
constexpr char kBtrvFormat[] = "\n***BTRV Op: %3d Stat: %3d";

int32_t level = 0;
int32_t logHandle = 0;  // 0 until the file is opened, below 0 after a failure
char* line = nullptr;

const char* TextOf(const char* text) {
    return text == nullptr ? "" : text;
}

const char* TextOf(VrString s) {
    return vr::CharsOf(vr::OrNullString(s));
}

void Write(const char* format, va_list values) {
    const int wanted = std::vsnprintf(line, kLineSize, format, values);
    if (wanted < 0) return;  // nothing was formatted
    OsWrite(logHandle, line, std::min(static_cast<uint32_t>(wanted), kLineSize - 1));
}

__attribute__((format(printf, 1, 2))) void WriteLine(const char* format, ...) {
    va_list values;
    va_start(values, format);
    Write(format, values);
    va_end(values);
}

// A line of a group.
__attribute__((format(printf, 2, 3))) void Log(Group group, const char* format, ...) {
    if ((level & group) == 0) return;
    va_list values;
    va_start(values, format);
    Write(format, values);
    va_end(values);
}

bool MakePath(char (&path)[kPathSize]) {
    const char* directory = DLLGetEnv("VRLTEMP");
    if (directory != nullptr && *directory == '\0') return false;  // too long to be read
    const int wanted = directory == nullptr
                           ? std::snprintf(path, sizeof path, "%s", kLogName)
                           : std::snprintf(path, sizeof path, "%s/%s", directory, kLogName);
    return vr::Fits(wanted, sizeof path);
}

// With the details on, the open writes its own two lines into the file that it opens.
bool OpenLog() {
    char path[kPathSize];
    if (!MakePath(path)) {
        logHandle = kNotOpened;
    } else {
        OsOpen(path, kLogFlags, 0, &logHandle);
    }
    return logHandle >= 0;
}

bool IsError(int32_t status) {
    return std::ranges::find(kHarmlessStatuses, status) == std::end(kHarmlessStatuses);
}

}  // namespace

int32_t VrdbLogInit(const char* section, const char* title) {
    if (logHandle != 0) return 0;
    const int32_t wanted = IniGetInt(section, "LOG", 0);
    if (wanted < 1 || wanted > kLargestLevel) return 0;
    line = static_cast<char*>(alloc_memory(kLineSize));
    if constexpr (vr::check::kOn) vr::check::StaysOut(line);
    level = wanted;
    if (!OpenLog()) {
        level = 0;
        return -1;
    }
    WriteLine("\n---------%s----------", title == nullptr ? "Database Log file V2.00" : title);
    return 0;
}

void VrdbLogFlush() {}

void VrdbLogStartMes(const char* name) {
    Log(kCalls, "\n%s", TextOf(name));
}

void VrdbLogEndMes(const char* name, int32_t ret) {
    Log(kCalls, "\n%s Ret: %d", TextOf(name), ret);
}

void VrdbLogStartMesCreate(const char* name, VrString file) {
    Log(kCalls, kFileFormat, TextOf(name), TextOf(file));
}

void VrdbLogEndMesCreate(const char* name, int32_t ret, VrString file) {
    Log(kCalls, "\n%s Ret: %d File: %s", TextOf(name), ret, TextOf(file));
}

void VrdbLogStartMesOpen(const char* name, VrString file) {
    Log(kCalls, kFileFormat, TextOf(name), TextOf(file));
}

void VrdbLogEndMesOpen(const char* name, int32_t ret, int32_t handle) {
    Log(kCalls, "\n%s Ret: %d Handle: %d", TextOf(name), ret, handle);
}

void VrdbLogStartMes1(const char* name, int32_t handle) {
    Log(kCalls, "\n%s Handle: %d", TextOf(name), handle);
}

void VrdbLogStartMes2(const char* name, int32_t handle, VrString key) {
    Log(kCalls, "\n%s Handle: %d Key: %s", TextOf(name), handle, TextOf(key));
}

void VrdbLogStartMesClose(int32_t handle) {
    Log(kCalls, "\nCLOSE Handle: %d", handle);
}

void VrdbLogOutInt(const char* name, int32_t value) {
    Log(kDetails, "\n%s %d", TextOf(name), value);
}

void VrdbLogOutChar(const char* name, const char* value) {
    Log(kDetails, "\n%s %s", TextOf(name), TextOf(value));
}

// Formatted from whole numbers, since the standard format would take the decimal point from the
// locale.
void VrdbLogTimeMes1(const char* name, int32_t milliseconds) {
    const int64_t size = std::abs(int64_t{milliseconds});
    Log(kTimes, "\n%s time: %s%d.%03d000", TextOf(name), milliseconds < 0 ? "-" : "",
        static_cast<int32_t>(size / 1000), static_cast<int32_t>(size % 1000));
}

void VrdbLogBTRVMes(int32_t operation, int32_t status) {
    if ((level & (kDetails | kBtrvErrors)) == 0) return;
    Log(kDetails, kBtrvFormat, operation, status);
    if (IsError(status)) Log(kBtrvErrors, kBtrvFormat, operation, status);
}

void VrdbLogMesLock(const char* key, int32_t ret) {
    Log(kLocks, "\nLOCK Key %s Ret: %d", TextOf(key), ret);
}

void VrdbLogMesUnlock(const char* key, int32_t ret) {
    VrdbLogMesLock(key, ret);
}
