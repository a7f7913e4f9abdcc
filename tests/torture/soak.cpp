// A host that works for long: random work of every family, within a limit of memory, must
// leave the process as large as it was once everything had been used. Only the fixed store,
// which gives nothing back, is left alone.

#include <sys/resource.h>
#include <sys/stat.h>

#include <algorithm>
#include <string>

#include "tests/support/arrays.h"
#include "tests/support/library_test.h"
#include "tests/torture/torture.h"

namespace {

constexpr rlim_t kRoom = 64 << 20;    // of address space, beyond that at the start
constexpr long kResidentBound = 512;  // KB that the process may be larger at the end
constexpr long kBlocksBound = 20;

void* blocks[32];
VrString strings[16];
VrString record;
HashTable* numbers;
Cache* objects;
bool isReleased[100];
int32_t table = -1;

int32_t Number(uint32_t below) {
    return static_cast<int32_t>(Random(below));
}

std::string Name(uint32_t below) {
    return "N" + std::to_string(Random(below));
}

std::string Text(uint32_t below) {
    std::string text(1 + Random(below), ' ');
    for (char& c : text)
        c = static_cast<char>(Random(9) == 0 ? 252 + Random(3) : 'a' + Random(26));
    return text;
}

template <typename... Blocks>
void Drop(Blocks*... results) {
    (free_mem(&results), ...);
}

void Edit() {
    UtilPosition position = {Number(60), Number(4) - 1, Number(3), 0};
    VrString edited = UtilInsertReplace(&position, record, Array(Text(60)), Random(2));
    if (edited != record) free_mem(&record);
    if (edited->length > 20'000) free_mem(&edited);
    record = edited == nullptr ? NullString() : edited;
}

void Walk() {
    VrString element = nullptr;
    for (int32_t cursor = 4; cursor < record->length + 4; free_mem(&element))
        cursor = UtilGetNextValue(record, cursor, &element, 0);
    Drop(extract_field(Number(30), Number(3), 0, record), extract_tail(2, 1, 0, record));
}

void Fill() {
    VrHeap* heap = vrHeapCreate();
    MemBuf* pieces = MemBufCreate(512);
    BufDscr* buffer = BufDscrCreate(100);
    for (int32_t i = Number(30); i != 0; --i) {
        vrHeapWriteStr(heap, Text(900).c_str());
        MemBufAlloc(pieces, i * 20);
        AddStrToBuffer(buffer, "some bytes", 10, 254);
    }
    Drop(vrHeapUnloadToVrString(heap), BufDscrMakeVrStr(buffer));
    vrHeapDestroy(heap);
    MemBufDestroy(pieces);
    BufDscrDestroy(buffer);
}

void LookUp() {
    const std::string key = Name(100);
    const bool known = HashTableLookup(numbers, key.c_str()) != 0;
    if (known) HashTableRemove(numbers, key.c_str(), 0);
    if (!known) HashTableInstall(numbers, key.c_str(), 1);
    EXPECT_EQ(QuarkToString(Quark(key.c_str())), key);
    if (table != -1 && Random(100) == 0) TblDestroy(table), table = -1;
    if (table == -1) table = tblCreate("soak", 40, 0, nullptr);
    const int32_t slot = Number(50);
    if (TblHndToPtr(table, slot) == nullptr)
        TblAllocHnd(table);
    else
        TblFreeHnd(table, slot);
}

void Keep() {
    const uint32_t object = Random(100);
    const std::string name = std::to_string(object);
    const bool known = CacheLookup(objects, name.c_str()) != 0;
    if (!known) CacheInstall(objects, name.c_str(), object + 1, 8000, object % 8);
    if (known && isReleased[object]) CacheIncrObjStr(objects, name.c_str());
    isReleased[object] = false;
    if (Random(50) == 0) CacheRemoveProgramItems(objects, Random(8));
}

void UseFiles() {
    std::string text = Text(9000) + "\n";
    int32_t file = -1;
    EXPECT_EQ(OsOpen(Name(10).c_str(), 0x8302, 0x180, &file), 0);
    OsWrite(file, text.data(), static_cast<uint32_t>(text.size()));
    OsLseek(file, 0, 0);
    VrStream* stream = OsFdopen(file, "r");
    OsFgets(text.data(), 6, stream);
    EXPECT_EQ(OsFclose(stream), 0);
    OsFilesDec();
    DirSearch* search = nullptr;
    for (const char* name = DirFirst(".", &search); name != nullptr;)
        name = DirNext(search);
    DirClose(&search);
}

void Run() {
    if (Random(300) != 0) return;
    EXPECT_EQ(System("-0echo a;exit 3", "out"), 3);
    EXPECT_EQ(System("&true", nullptr), 1);
    DllUnload("psapi", DllLoad("psapi", nullptr));
    VrFindProcess("torture");
}

void Lock() {
    VrLockHandle handle = 0;
    EXPECT_EQ(LockRegister(Name(5).c_str(), &handle), 0);
    EXPECT_EQ(LockLockKey(handle, Array(Text(20)), 0, 0), 0);
    EXPECT_EQ(LockDeregister(handle), 0);
}

VrString Converted(VrString digits) {
    CvtInit("./convert.ini");
    VrString converted = CvtConvert(digits, 0);
    if (converted != digits) free_mem(&digits);
    return converted;
}

constexpr struct {
    const char* name;
    void (*run)();
} kSteps[] = {
    {"memory", [] { Drop(std::exchange(blocks[Random(32)], alloc_memory(Random(5000)))); }},
    {"strings", [] { Drop(std::exchange(strings[Random(16)], StrToVrStr(Text(999).c_str()))); }},
    {"edits", Edit},
    {"walks", Walk},
    {"fields", [] { Array(UtilPutFieldsInVrString(record, Array("A^B"), Array("3^1^70"))); }},
    {"heaps and buffers", Fill},
    {"tables and quarks", LookUp},
    {"caches", Keep},
    {"files", UseFiles},
    {"short names", [] { Array(OsFileName(Array(Text(300)), nullptr)); }},
    {"long names", [] { Array(OsFileLongName(Array(Text(300)), "dat")); }},
    {"paths", [] { Drop(GetFullPath(record), EnvironFileName(Array("$HOME/x"))); }},
    {"unique names", [] { Drop(GetUniqueTempFileName("soak"), EnvironPrintPath()); }},
    {"locks", Lock},
    {"settings", [] { Drop(IniGetString("Log", "NONE", "default"), IniGetSection("Log")); }},
    {"variables", [] { DLLPutEnv("SOAK", Name(20).c_str()); }},
    {"terminal", [] { EnvironTerminalDefinition(0), EnvironSetTerminal(80 + Number(60), 24); }},
    {"text", [] { Drop(BinaryString("0123456789", 10), Converted(HexString("bytes", 5))); }},
    {"dates", [] { EXPECT_GT(DaysSince67(), SecondsSinceMidnight() / 86'400); }},
    {"log lines", [] { VrdbLogMesLock(Text(100).c_str(), 0); }},
    {"a shorter log", [] { std::filesystem::resize_file("$$VRDB.LOG", 0); }},
    {"commands", Run},
};

long InStatus(const std::string& name) {
    const std::string status = ReadFile("/proc/self/status");
    return std::atol(status.c_str() + status.find(name) + name.size());
}

// Works for so long, and tells the most KB and blocks that the process had meanwhile.
std::pair<long, long> Work(Seconds length, uint32_t& steps) {
    long resident = 0;
    long out = 0;
    for (const auto end = Clock::now() + length; Clock::now() < end;) {
        for (int i = 0; i < 500 && !testing::Test::HasFailure(); ++i, ++steps) {
            const auto& step = kSteps[Random(std::size(kSteps))];
            SCOPED_TRACE(step.name);
            step.run();
            out = std::max(out, static_cast<long>(ControlBlocksOut()));
        }
        resident = std::max(resident, InStatus("VmRSS:"));
    }
    return {resident, out};
}

TEST(Torture, OfMemory) {
    const Seconds length = LengthOf("VR_SOAK_SECONDS");
    const TempDirectory directory;
    WriteFile("soak.ini", "[Log]\nLOG=32\n");
    WriteFile("convert.ini", "[input]\n65=97\n0x42=0x62\n");
    Boxes boxes;
    boxes.Attach();
    const UtilInitRecord start = {0, 0, "soak.ini"};
    UtilInit(&start);
    files_init();
    LockInit();
    VrdbLogInit("Log", nullptr);
    chmod("$$VRDB.LOG", 0600);
    record = NullString();
    numbers = HashTableCreate(53, nullptr, 0, 0);
    const auto release = [](VrWord object, VrWord) { isReleased[object - 1] = true; };
    objects = CacheCreate(53, nullptr, release, 0);
#ifdef __SANITIZE_ADDRESS__
    constexpr bool kIsMeasured = false;  // what is freed stays for a while
#else
    constexpr bool kIsMeasured = true;
    const rlim_t room = static_cast<rlim_t>(InStatus("VmSize:") << 10) + kRoom;
    const rlimit limit = {room, room};
    setrlimit(RLIMIT_AS, &limit);
#endif
    uint32_t steps = 0;
    for (const auto& step : kSteps) {  // by now everything was used
        for (int i = 0; i < 200; ++i)
            step.run();
    }
    const auto [early, earlyBlocks] = Work(length / 2, steps);
    const auto [late, lateBlocks] = Work(length / 2, steps);
    std::printf("soak: %.0f s, %u steps, resident %ld then %ld KB, blocks %ld then %ld\n",
                length.count(), steps, early, late, earlyBlocks, lateBlocks);
    EXPECT_LE(kIsMeasured ? late - early : 0, kResidentBound);
    EXPECT_LE(lateBlocks - earlyBlocks, kBlocksBound);
    EXPECT_EQ(boxes.shown, std::vector<Box>());
    HashTableDestroy(numbers);
    CacheDestroy(objects);
    VrExit(0);
}

}  // namespace
