// The failure sweep. A scenario, which is a piece of a host's work, runs again and again, each
// time in a process of its own, in which the first, the second, the third call of a kind
// fails, until a run meets no failure. After each run: what it told and how it ended are what
// is documented, the record is the old or the new one, and no lock, block or file is left.

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <map>
#include <set>

#include "platform/files.h"
#include "platform/process.h"
#include "tests/support/library_test.h"
#include "vr/record.h"

namespace {

const std::string kRecord = Marked("NAME^" + std::string(150, 'v') + "]w^LAST");
const std::string kEditedRecord = kRecord + Marked("^" + std::string(400, 'n'));

void PrepareFolder() {
    WriteFile("RECORD", kRecord);
    WriteFile("test.ini",
              "[ENVIRONMENT]\nSWEPT=C:\\data\nCVTFILE=.\\cvt.ini\n[DB]\nLOG=1\n[S]\nTEXT=a\nb\n");
    WriteFile("cvt.ini", "[input]\n0x84=0xE4\n[display]\n65=66\n");
    WriteFile("registry",
              "REGEDIT4\n[HKEY_LOCAL_MACHINE\\Software\\Veldane\\Ledger\\ENVIRONMENT]\n"
              "\"LISTED\"=\"yes\"\n");
    WriteFile("host.so.version", "ProductName=Ledger\nProductVersion=4.2\n");
    std::filesystem::copy_file(VR_COUNTED_LIBRARY_PATH, "host.so");
}

// Texts of more than 62 bytes are blocks of their own, for each of which the platform is asked.
std::string Text(int number, size_t size = 90) {
    return std::to_string(number) + std::string(size, '.');
}

std::string Startup() {
    setenv("VRPLATFORM_REGISTRY", "registry", 1);
    StartHost("test.ini", reinterpret_cast<VrWord>(LoadLibraryA(".\\host.so")));
    std::string told;
    for (const char* text :
         std::initializer_list<const char*>{EnvironProduct(), EnvironRelease(), EnvironVrPath(),
                                            getenv("SWEPT"), getenv("LISTED")})
        told += CText(text) + ' ';
    return told + std::to_string(CvtFlag);
}

void Put(Array& record, UtilPosition position, const std::string& text, uint32_t replace) {
    VrString after = UtilInsertReplace(&position, record, Array(text), replace);
    if (after != record) record.reset(after);
}

std::string Editing() {
    Array record("A");
    for (int32_t i = 1; i <= 9; ++i) {
        Put(record, {i * 3, i % 3, 0, 0}, Text(i), 0);
        Put(record, {i * 3 - 1, -1, 0, 0}, "beside the memo", 1);
    }
    Put(record, {-1, 0, 0, 0}, Text(0, 3000), 0);
    Array list("9^6^3"), values(Text(1) + "^q"), chosen(UtilGetFieldsFromVrString(record, list));
    Array put(UtilPutFieldsInVrString(record, values, list));
    int32_t end = 0;
    Array spliced(UtilReplaceString(put, values, 30, 10, &end)), converted(CvtConvert(spliced, 1));
    VrString first = nullptr;
    UtilGetNextAttribute(converted, UtilSkipAttribute(converted, 200), &first, 0);
    return TakeText(extract_tail(9, 0, 0, converted)) + TakeBytes(first) + BytesOf(record) +
           BytesOf(chosen) + BytesOf(put) + TakeBytes(spliced.release());
}

// Twice through objects of which few fit. Which bodies are dropped is the cache's affair, but
// the one in use stays.
std::string Caching() {
    const auto drop = [](VrWord object, VrWord) { free_mem(reinterpret_cast<char**>(object)); };
    DLLPutEnv("VRLCACHESIZE", "2000");
    Cache* cache = CacheCreate(5, drop, drop, 0);
    char* bodies[12] = {};
    std::string told;
    for (int i = 0; i < 24; ++i) {
        char*& body = bodies[i % 12];
        const std::string name = Text(i % 12);
        const bool isBack = body == nullptr && i >= 12;
        if (body == nullptr) body = dup_str(name.c_str());
        CacheInstall(cache, name.c_str(), reinterpret_cast<VrWord>(&body), 300, 1);
        if (isBack) CacheIncrObjStr(cache, name.c_str());
        if (body == nullptr) return "the body that was just made is gone";
        CacheStackCountInc(cache, name.c_str());
        Array(alloc_string(500));
        told += *reinterpret_cast<char**>(CacheLookup(cache, name.c_str()));
        CacheStackCountDec(cache, name.c_str());
    }
    EXPECT_EQ(cache->used, 300 * (12 - std::ranges::count(bodies, nullptr)));
    CacheDestroy(cache);
    return told;
}

// The life cycle of what the other scenarios use little of.
std::string Families() {
    VrHeap* heap = vrHeapCreate();
    MemBuf* pieces = MemBufCreate(200);
    BufDscr* buffer = BufDscrCreate(100);
    HashTable* keys = HashTableCreate(30, nullptr, 0, 0);
    const int32_t records = tblCreate("sweep", 100, 99, nullptr);
    for (int i = 1; i <= 25; ++i) {
        vrHeapWriteStr(heap, Text(i, 300).c_str());
        *static_cast<int*>(MemBufAlloc(pieces, 60)) = i;
        AddStrToBuffer(buffer, Text(i).data(), i, '|');
        HashTableInstall(keys, Text(i).c_str(), VrWord(Quark(Text(i).c_str())));
        *static_cast<int*>(TblHndToPtr(records, TblAllocHnd(records))) = i;
    }
    std::string told =
        TakeBytes(vrHeapUnloadToVrString(heap)) + TakeBytes(BufDscrMakeVrStr(buffer));
    for (int i = 1; i <= 25; ++i) {
        told += CText(QuarkToString(int32_t(HashTableLookup(keys, Text(i).c_str()))));
        told += std::to_string(*static_cast<int*>(TblHndToPtr(records, i - 1)));
    }
    vrHeapDestroy(heap);
    MemBufDestroy(pieces);
    BufDscrDestroy(buffer);
    HashTableDestroy(keys);
    TblDestroy(records);
    for (VrString s : {OsFileLongName(Array(Text(1)), "txt"), EnvironFileName(Array("$SWEPT/x"))})
        told += TakeBytes(s);
    DirSearch* search = nullptr;
    for (const char* each = DirFirst(".", &search); each != nullptr; each = DirNext(search))
        told += '.';
    DirClose(&search);
    DllUnload(".\\host.so", DllLoad(".\\host.so", nullptr));
    return told + Text(System("-0exit 7", nullptr)) + Text(EnvironScreenDefinition()->columns);
}

std::string Files() {
    int32_t handle = 0;
    const int32_t flags = kOpenReadWrite | kOpenCreate | kOpenText;
    const int32_t opened = OsOpen("new", flags, kPermissionWrite, &handle);
    EXPECT_EQ(opened == 0, handle != -1);
    if (opened != 0) return "open " + std::to_string(opened);
    std::string told = "wrote";
    for (int i = 0; i < 3; ++i)
        told += ' ' + std::to_string(OsWrite(handle, "line\n", 5));
    OsLseek(handle, 0, 0);
    char line[20] = "\n";
    VrStream* stream = OsFdopen(handle, "r");
    OsFgets(line, sizeof line, stream);
    OsFclose(stream);
    OsFilesDec();
    return told + ' ' + Swapped(line, "\n", "|");
}

std::string EditRecord() {
    VrString read = nullptr;
    if (VrRecordRead("RECORD", 0, &read) != kVrRecordDone) return "read";
    Array record(read);
    Put(record, {-1, 0, 0, 0}, std::string(400, 'n'), 0);
    return VrRecordReplace("RECORD", record, nullptr) == kVrRecordDone ? "" : "write";
}

std::string LockedEdit() {
    VrLockHandle file = 0;
    const int32_t registered = LockRegister(".\\RECORD", &file);
    if (registered != 0) return "register " + std::to_string(registered);
    Array key("RECORD");
    const int32_t locked = LockLockKey(file, key, 0, 0);
    std::string told = locked == 0 ? EditRecord() : "lock " + std::to_string(locked);
    if (locked == 0 && LockUnlockKey(file, key) != 0) told += "unlock";
    LockDeregister(file);
    return told + (ReadFile("RECORD") == kRecord ? " old" : " new");
}

std::string Command() {
    const int32_t code = System("echo one;exit 5", "OUT");
    return "exit " + std::to_string(code) + Swapped(ReadFile("OUT"), "\n", "|");
}

std::string Log() {
    const int32_t started = VrdbLogInit("DB", "T");
    for (const char* call : {"READ", "WRITE"})
        VrdbLogStartMes(call);
    return std::to_string(started) + Swapped(ReadFile("$$VRDB.LOG"), "\r\n", " |");
}

struct Scenario {
    const char* name;
    std::string (*run)();  // tells what came out, the same in each run that nothing disturbs
};

void PrintTo(const Scenario& scenario, std::ostream* out) {
    *out << scenario.name;
}

constexpr Scenario kScenarios[] = {
    {"Startup", Startup}, {"Editing", Editing}, {"Caching", Caching}, {"Families", Families},
    {"Files", Files},     {"Edit", LockedEdit}, {"Command", Command}, {"Log", Log},
};

struct Failure {
    const char* name;
    void (*plan)(uint32_t nth);
    int32_t answer = IDCANCEL;  // to a box that asks whether to go on
    const char* boxes = "";     // that a failure shows
    int status = 0;             // that the run ends with behind them
};

constexpr Failure kFailures[] = {
    {"retry", [](uint32_t n) { ControlFailAllocations(n, 1); }, IDRETRY, "48 53 "},
    {"cancel", [](uint32_t n) { ControlFailAllocations(n, 1); }, IDCANCEL, "48 53 ", 9},
    {"no memory", [](uint32_t n) { ControlFailAllocations(n, 1 << 30); }, IDRETRY, "48 16 ", 9},
    {"denied", [](uint32_t n) { ControlFailOpens(n, 1, EACCES); }},
    {"no handle", [](uint32_t n) { ControlFailOpens(n, 1, EMFILE); }},
    {"no handles", [](uint32_t n) { ControlFailOpens(n, 99, EMFILE); }},
    {"full disk", [](uint32_t n) { ControlFailWrites(n, 99, 0, ENOSPC); }},
    {"short write", [](uint32_t n) { ControlFailWrites(n, 1, 3, ENOSPC); }},
    {"held lock", [](uint32_t n) { ControlFailLocks(n, 1, EACCES); }},
    {"bad lock", [](uint32_t n) { ControlFailLocks(n, 1, EIO); }},
    {"no locks", [](uint32_t n) { ControlFailLocks(n, 99, EINVAL); }},
};

// What the runs told in which no box was shown, the first, second... call failing; "ok" is
// what is told when nothing fails. Of allocations these are the few that are done without: the
// settings, the version resource, name, release, installation path; two reserves, 16 pools.
const std::string kUnnoticed =
    "Ledger 4.2 \\VRLINK (null) (null) 0,  \\VRLINK C:\\data (null) 2,"
    "(null) 4.2 \\VRLINK C:\\data (null) 2,Ledger (null) \\VRLINK C:\\data yes 2,"
    "Ledger 4.2 (null) C:\\data yes 2,ok,ok,ok,ok,ok,ok,ok,ok,ok,ok,ok,ok,ok,ok,ok,ok,ok,ok,";
const std::string kNoSettings = "Ledger 4.2 \\VRLINK (null) (null) 0,";
const std::map<std::string, std::string> kTold = {
    {"Startup retry", kUnnoticed},
    {"Startup cancel", kUnnoticed},
    {"Startup denied", kNoSettings},
    {"Startup no handle", kNoSettings},
    {"Startup no handles", kNoSettings},
    {"Files denied", "open -1,"},
    {"Files no handle", "ok,"},
    {"Files no handles", "open -2,"},
    {"Files full disk", "wrote -1 -1 -1 |,wrote 5 -1 -1 line|,wrote 5 5 -1 line|,"},
    {"Files short write", "wrote 3 5 5 linline|,wrote 5 3 5 line|,wrote 5 5 3 line|,"},
    {"Edit denied", "register -1,read old,write old,"},
    {"Edit no handle", "ok,ok,ok,"},
    {"Edit no handles", "register -2,read old,write old,"},
    {"Edit full disk", "write old,"},
    {"Edit short write", "write old,"},
    {"Edit held lock", "ok,lock 1 old,"},
    {"Edit bad lock", "register -1,lock -1 old,"},
    {"Edit no locks", "register 1,unlock new,"},
    {"Command denied", "exit 5,"},
    {"Command no handle", "ok,"},
    {"Command no handles", "exit 5,"},
    {"Command full disk", "exit 0,exit 0,exit 0one|,ok,"},
    {"Log denied", "-1,"},
    {"Log no handle", "ok,"},
    {"Log no handles", "-1,"},
    {"Log full disk", "0,0 |---------T----------,0 |---------T---------- |READ,"},
    {"Log short write",
     "0 |-- |READ |WRITE,0 |---------T---------- |RE |WRITE,"
     "0 |---------T---------- |READ |WR,"},
};

// What a run leaves for its parent to see.
struct Report {
    int32_t endings;    // calls of the first routine of the exit chain
    int32_t exhausted;  // calls of the callback
    uint32_t failuresMet, blocks;
    ptrdiff_t descriptors;
    bool isLocked;
    char told[100'000], boxes[200];
};

Report* report = nullptr;
std::string boxes;  // their styles

int32_t Present(void* answer, const char*, const char*, uint32_t style) {
    boxes += std::to_string(style) + ' ';
    return style == 53 ? *static_cast<const int32_t*>(answer) : IDOK;
}

// As another process sees it, since this is another open of the file.
bool IsLocked() {
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    const int file = open("__locks", O_RDWR | O_CLOEXEC);
    return file != -1 && fcntl(file, F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

// The last thing that a run does, whoever ends it.
void Finish([[maybe_unused]] int status, void*) {
    report->failuresMet = ControlFailuresMet();
    report->blocks = ControlBlocksOut();
    report->descriptors = EntriesOf("/proc/self/fd");
    report->isLocked = IsLocked();
    boxes.copy(report->boxes, sizeof report->boxes - 1);
#ifndef VR_COVERAGE  // whose counts are written behind this
    _exit(status);
#endif
}

[[noreturn]] void Act(const Scenario& scenario, const Failure& failure, uint32_t nth) {
    alarm(20);
    on_exit(Finish, nullptr);
    int32_t answer = failure.answer;
    ControlMessageBoxes(Present, &answer);
    MemAddCallback(
        kVrMemoryExhausted, [](VrWord, VrWord) { ++report->exhausted; }, 0);
    if (scenario.run != Startup) {
        Startup();
        VrExitAdd([] { ++report->endings; });
    }
    failure.plan(nth);
    scenario.run().copy(report->told, sizeof report->told - 1);
    VrExit(0);
    std::exit(testing::Test::HasFailure() || VrExitInExit() == 0 ? 1 : 0);
}

struct SweepTest : HostTest, testing::WithParamInterface<Scenario> {
    // The exit status of a run.
    int Run(const Failure& failure, uint32_t nth) {
        const TempDirectory directory;
        PrepareFolder();
        *report = {};
        const pid_t run = fork();
        if (run == 0) Act(GetParam(), failure, nth);
        int status = -1;
        waitpid(run, &status, 0);
        const std::string record = ReadFile("RECORD");
        EXPECT_TRUE(record == kRecord || record == kEditedRecord) << record;
        EXPECT_FALSE(report->isLocked);
        files.clear();
        for (const auto& entry : std::filesystem::directory_iterator("."))
            files.insert(entry.path().filename());
        return WIFEXITED(status) ? WEXITSTATUS(status) : -status;
    }

    // What a run told that met a failure; nothing if a box was shown.
    std::string RunToFail(const Failure& failure, uint32_t nth) {
        const int status = Run(failure, nth);
        const bool noticed = *report->boxes != '\0';
        const bool isOk = undisturbed.told == std::string(report->told);
        EXPECT_STREQ(report->boxes, noticed ? failure.boxes : "");
        EXPECT_EQ(status, noticed ? failure.status : 0);
        EXPECT_TRUE(!noticed || isOk || status == 9) << report->told;
        EXPECT_EQ(report->exhausted, status == 9 ? 1 : 0);
        EXPECT_EQ(report->endings, undisturbed.endings);
        if (status == 0) {
            EXPECT_LE(report->blocks, undisturbed.blocks);
            EXPECT_LE(report->descriptors, undisturbed.descriptors);
        }
        EXPECT_TRUE(std::ranges::includes(undisturbedFiles, files))
            << testing::PrintToString(files);
        const bool met = report->failuresMet != 0;
        EXPECT_TRUE(met || isOk);
        return !met || noticed ? "" : (isOk ? "ok" : report->told) + std::string(",");
    }

    Report undisturbed = {};
    std::set<std::string> files, undisturbedFiles;
};

INSTANTIATE_TEST_SUITE_P(Of, SweepTest, testing::ValuesIn(kScenarios),
                         [](const auto& suite) { return std::string(suite.param.name); });

TEST_P(SweepTest, EachCallFailsInTurn) {
    report = static_cast<Report*>(
        mmap(nullptr, sizeof(Report), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    ASSERT_EQ(Run({"nothing", [](uint32_t) {}}, 1), 0);
    undisturbed = *report;
    undisturbedFiles = files;
    for (const Failure& failure : kFailures) {
        const std::string name = std::string(GetParam().name) + ' ' + failure.name;
        // The shell runs what there is of the batch file, whose cut redirect names another file.
        if (name == "Command short write") continue;
        const auto row = kTold.find(name);
        std::string told;
        uint32_t nth = 0;
        do {
            SCOPED_TRACE(name + ' ' + std::to_string(++nth));
            told += RunToFail(failure, nth);
        } while (report->failuresMet != 0 && !HasFailure());
        EXPECT_EQ(told, row == kTold.end() ? "" : row->second) << name;
    }
}

}  // namespace
