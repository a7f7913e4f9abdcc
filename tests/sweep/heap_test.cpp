// The C heap's first, second, third allocation fails, operator new's included, and then all
// from there on, inside each call that opens, locks, finds, reads or starts something. The
// call then fails as documented and leaves nothing behind, or does without.

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
FindData found;
char text[300];

int32_t Opened(const char* name, int32_t flags = kOpenReadWrite) {
    return handle = FileOpen(name, flags, kShareDenyNone, kPermissionWrite);
}

bool Locks() {
    const bool isOpen = Opened("RECORD") != -1;
    const bool locks = isOpen && LockFile(FileSystemHandle(handle), 1, 0, 1, 0) != 0;
    return FileClose(handle) == 0 && locks;
}

bool ReadsLine() {
    PlatformStream* stream = Opened("RECORD") == -1 ? nullptr : StreamAttach(handle, "rt");
    if (stream == nullptr) return FileClose(handle), false;
    const bool reads = StreamReadLine(text, 10, stream) != nullptr;
    return StreamClose(stream) == 0 && reads;
}

bool Runs(const char* program) {
    std::strcpy(text, program);
    ProcessInformation started = {};
    if (CreateProcessA(nullptr, text, nullptr, nullptr, 0, 0, nullptr, nullptr, nullptr,
                       &started) == 0) {
        callsUntilFailure = 0;
        EXPECT_EQ(GetLastError(), 8u);
        EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "it has run";
        return false;
    }
    WaitForSingleObject(started.process, INFINITE);
    CloseHandle(started.thread);
    return CloseHandle(started.process) == 1;
}

bool ReadsRegistry() {
    HKEY key = nullptr;
    return RegOpenKeyExA(HKEY_LOCAL_MACHINE, "Key", 0, KEY_READ, &key) == ERROR_SUCCESS &&
           RegCloseKey(key) == ERROR_SUCCESS;
}

// Does something, gives back what that took, and tells whether it succeeded.
struct Case {
    const char* name;
    bool (*run)();
};

void PrintTo(const Case& each, std::ostream* out) {
    *out << each.name;
}

constexpr Case kServices[] = {
    {"Open", [] { return FileClose(Opened("RECORD")) == 0; }},
    {"OpenInOtherCase", [] { return FileClose(Opened("record")) == 0; }},
    {"Create", [] { return FileClose(Opened("new", kOpenWriteOnly | kOpenCreate)) == 0; }},
    {"Status", [] { return FileStatus("RECORD") == 0; }},
    {"StatusOfNothing", [] { return FileStatus("NOTHING") != 0; }},
    {"Search", [] { return FindClose(FindFirst("*.*", &found)) == 0; }},
    {"Lock", Locks},
    {"Stream", ReadsLine},
    {"Profile",
     [] { return GetPrivateProfileStringA("S", "K", "no", text, 9, ".\\test.ini") == 5; }},
    {"Registry", ReadsRegistry},
    {"Version", [] { return GetFileVersionInfoSizeA("host", nullptr) != 0; }},
    {"Start", [] { return Runs("true"); }},
    {"StartInShell", [] { return Runs("CMD /c batch.bat > C:\\dev\\null"); }},
    {"OpenProcess", [] { return CloseHandle(OpenProcess(0, 0, uint32_t(getpid()))) == 1; }},
    {"Load", [] { return FreeLibrary(LoadLibraryA("psapi")) == 1; }},
    {"ModuleName", [] { return GetModuleFileNameA(nullptr, text, sizeof text) != 0; }},
};

struct HeapTest : testing::TestWithParam<Case> {
    HeapTest() {
        WriteFile("RECORD", "text\r\n");
        WriteFile("batch.bat", "exit 0\r\n");
        WriteFile("host.version", "ProductName=P\n");
        WriteFile("registry", "REGEDIT4\n[HKEY_LOCAL_MACHINE\\Key]\n\"a\"=\"b\"\n");
        WriteFile("test.ini", "[S]\nK=value\n");
        setenv("VRPLATFORM_REGISTRY", "registry", 1);
    }
    TempDirectory directory;
};

INSTANTIATE_TEST_SUITE_P(Of, HeapTest, testing::ValuesIn(kServices),
                         [](const auto& suite) { return std::string(suite.param.name); });

TEST_P(HeapTest, EachAllocationFailsInTurn) {
    const ptrdiff_t descriptors = EntriesOf("/proc/self/fd");
    for (const bool fromThereOn : {false, true}) {
        for (uint32_t nth = 1; met || nth == 1; ++nth) {
            SCOPED_TRACE(nth);
            unlink("new");  // which Create makes
            met = false;
            failsFromThereOn = fromThereOn;
            callsUntilFailure = nth;
            const bool done = GetParam().run();
            callsUntilFailure = 0;
            EXPECT_TRUE(done || met);
            EXPECT_EQ(EntriesOf("/proc/self/fd"), descriptors);
        }
        EXPECT_TRUE(GetParam().run()) << "nothing fails any more";
    }
}

}  // namespace
