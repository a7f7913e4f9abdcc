// The C heap's first, second, third allocation fails, operator new's included, and then all
// from there on, inside each call that opens, locks, finds, reads or starts something. The
// call then fails as documented and leaves nothing behind, or does without.

#include <sys/wait.h>

#include <cerrno>

#include "platform/environment.h"
#include "platform/files.h"
#include "platform/locks.h"
#include "platform/process.h"
#include "platform/programs.h"
#include "platform/registry.h"
#include "platform/version.h"
#include "tests/support/library_test.h"

namespace {

uint32_t callsUntilFailure = 0;  // 0 when none is to fail
bool failsFromThereOn = false;
bool met = false;

bool MustFail() {
    if (callsUntilFailure == 0 || --callsUntilFailure != 0) return false;
    if (failsFromThereOn) callsUntilFailure = 1;
    met = true;
    errno = ENOMEM;
    return true;
}

}  // namespace

extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);

void* malloc(size_t size) {
    return MustFail() ? nullptr : __libc_malloc(size);
}
void* calloc(size_t count, size_t size) {
    return MustFail() ? nullptr : __libc_calloc(count, size);
}
void* realloc(void* block, size_t size) {
    return MustFail() ? nullptr : __libc_realloc(block, size);
}
}

namespace {

int32_t handle = 0;
void* process = nullptr;
void* module = nullptr;
VrLockHandle lock = 0;

bool Opens(const char* name) {
    handle = FileOpen(name, kOpenReadWrite, kShareDenyNone, 0);
    return handle != -1;
}

bool Starts(const char* program) {
    char line[100];
    std::snprintf(line, sizeof line, "%s", program);
    ProcessInformation started = {};
    if (CreateProcessA(nullptr, line, nullptr, nullptr, 0, 0, nullptr, nullptr, nullptr,
                       &started) == 0) {
        callsUntilFailure = 0;
        EXPECT_EQ(GetLastError(), 8u);
        EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "it has run";
        return false;
    }
    process = started.process;
    CloseHandle(started.thread);
    return true;
}

bool ReadsRegistry() {
    HKEY key = nullptr;
    if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, "Key", 0, KEY_READ, &key) != ERROR_SUCCESS) return false;
    RegCloseKey(key);
    return true;
}

struct Case {
    const char* name;
    bool (*run)();  // whether it did what it is for
    void (*undo)() = [] {};
};

void PrintTo(const Case& each, std::ostream* out) {
    *out << each.name;
}

void CloseFile() {
    FileClose(handle);
}

void CloseProcess() {
    WaitForSingleObject(process, INFINITE);
    CloseHandle(process);
}

const Case kServices[] = {
    {"Open", [] { return Opens("RECORD"); }, CloseFile},
    {"OpenInOtherCase", [] { return Opens("record"); }, CloseFile},
    {"Create",
     [] {
         handle = FileOpen("new", kOpenWriteOnly | kOpenCreate, kShareDenyNone, 0);
         return handle != -1;
     },
     [] { FileClose(handle), FileDelete("new"); }},
    {"Status", [] { return FileStatus("RECORD") == 0; }},
    {"StatusOfNothing", [] { return FileStatus("NOTHING") != 0; }},
    {"Search",
     [] {
         FindData data;
         handle = FindFirst("*.*", &data);
         return handle != -1;
     },
     [] { FindClose(handle); }},
    {"Lock",
     [] {
         Opens("RECORD");
         const bool locked = LockFile(FileSystemHandle(handle), 1, 0, 1, 0) != 0;
         if (!locked) FileClose(handle);
         return locked;
     },
     CloseFile},
    {"Stream",
     [] {
         char line[10];
         if (!Opens("RECORD")) return false;
         PlatformStream* stream = StreamAttach(handle, "rt");
         if (stream == nullptr) FileClose(handle);
         const bool read = stream != nullptr && StreamReadLine(line, 10, stream) != nullptr;
         if (stream != nullptr) StreamClose(stream);
         return read;
     }},
    {"Profile",
     [] {
         char value[9];
         return GetPrivateProfileStringA("S", "K", "no", value, 9, ".\\test.ini") == 5;
     }},
    {"Registry", ReadsRegistry},
    {"Version", [] { return GetFileVersionInfoSizeA("host", nullptr) != 0; }},
    {"Start", [] { return Starts("true"); }, CloseProcess},
    {"StartInShell", [] { return Starts("CMD /c batch.bat > C:\\dev\\null"); }, CloseProcess},
    {"OpenProcess",
     [] {
         process = OpenProcess(0, 0, static_cast<uint32_t>(getpid()));
         return process != nullptr;
     },
     [] { CloseHandle(process); }},
    {"Load",
     [] {
         module = LoadLibraryA("psapi");
         return module != nullptr;
     },
     [] { FreeLibrary(module); }},
    {"ModuleName",
     [] {
         char name[300];
         return GetModuleFileNameA(nullptr, name, sizeof name) != 0;
     }},
};

// What the allocator recovers from is out of sight here: each box is answered with Retry.
const Case kLibraryCalls[] = {
    {"OsOpen", [] { return OsOpen("RECORD", kOpenReadWrite, 0, &handle) == 0; },
     [] { OsClose(handle); }},
    {"LockRegister", [] { return LockRegister("RECORD", &lock) == 0; },
     [] { LockDeregister(lock); }},
    {"LockLockKey",
     [] {
         if (LockRegister("RECORD", &lock) != 0) return false;
         const bool locked = LockLockKey(lock, NullString(), 0, 0) == 0;
         if (!locked) LockDeregister(lock);
         return locked;
     },
     [] { LockDeregister(lock); }},
    {"System", [] { return System("true;exit 4", nullptr) == 4; }},
    {"DllLoad", [] { return DllLoad("kernel32", nullptr) != 0; }, [] { DllUnload("kernel32", 0); }},
    {"VrFindProcess", [] { return VrFindProcess("nothing") == 0; }},
    {"IniGetString",
     [] {
         char* value = IniGetString("S", "K", "no");
         const bool found = std::strcmp(value, "value") == 0;
         free_mem(&value);
         return found;
     }},
    {"GetFullPath",
     [] {
         VrString path = GetFullPath(NullString());
         free_mem(&path);
         return true;
     }},
};

struct HeapTest : FilesTest, testing::WithParamInterface<Case> {
    HeapTest() {
        WriteFile("RECORD", "text\r\n");
        WriteFile("batch.bat", "exit 0\r\n");
        WriteFile("host.version", "ProductName=P\n");
        WriteFile("registry", "REGEDIT4\n[HKEY_LOCAL_MACHINE\\Key]\n\"a\"=\"b\"\n");
        setenv("VRPLATFORM_REGISTRY", "registry", 1);
        StartWithFiles("[S]\nK=value\n");
        ControlMessageBoxes(
            [](void*, const char*, const char*, uint32_t style) {
                return style == 53 ? int32_t{IDRETRY} : int32_t{IDOK};
            },
            nullptr);
    }
    static void FailInTurn(const Case& each, bool fromThereOn) {
        const ptrdiff_t descriptors = EntriesOf("/proc/self/fd");
        for (uint32_t nth = 1; met || nth == 1; ++nth) {
            SCOPED_TRACE(nth);
            met = false;
            failsFromThereOn = fromThereOn;
            callsUntilFailure = nth;
            const bool done = each.run();
            callsUntilFailure = 0;
            EXPECT_TRUE(done || met);
            if (done) each.undo();
            EXPECT_EQ(EntriesOf("/proc/self/fd"), descriptors);
        }
        EXPECT_TRUE(each.run()) << "nothing fails any more";
        each.undo();
    }
};

struct PlatformHeapTest : HeapTest {};
struct LibraryHeapTest : HeapTest {};

const auto kName = [](const auto& suite) { return std::string(suite.param.name); };

INSTANTIATE_TEST_SUITE_P(Of, PlatformHeapTest, testing::ValuesIn(kServices), kName);
INSTANTIATE_TEST_SUITE_P(Of, LibraryHeapTest, testing::ValuesIn(kLibraryCalls), kName);

TEST_P(PlatformHeapTest, EachAllocationFailsInTurn) {
    FailInTurn(GetParam(), false);
    FailInTurn(GetParam(), true);
}

TEST_P(LibraryHeapTest, EachAllocationFailsInTurn) {
    FailInTurn(GetParam(), false);
}

}  // namespace
