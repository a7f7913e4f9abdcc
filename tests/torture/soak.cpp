// A host that works for long: random work of every family must leave the process as large as
// it was once everything had been used. Only the fixed store, which gives nothing back, is
// left alone.

#include <malloc.h>
#include <sys/resource.h>

#include <algorithm>
#include <sstream>

#include "platform/files.h"
#include "tests/support/library_test.h"
#include "tests/torture/torture.h"

namespace {

VrString strings[16];
VrString record;
HashTable* numbers;
Cache* objects;

std::string Text(uint32_t below) {
    std::string text(1 + Random(below), 'a');
    text[Random(text.size())] = static_cast<char>(252 + Random(3));
    return text;
}

template <typename... Blocks>
void Drop(Blocks*... results) {
    (free_mem(&results), ...);
}

void Edit() {
    UtilPosition position = {int32_t(Random(60)), 0, int32_t(Random(3)), 0};
    VrString edited = UtilInsertReplace(&position, record, Array(Text(60)), Random(2));
    if (edited != record) free_mem(&record);
    if (edited->length > 20'000) free_mem(&edited);
    record = edited == nullptr ? NullString() : edited;
    VrString element = nullptr;
    for (int32_t cursor = 4; cursor < record->length + 4; free_mem(&element))
        cursor = UtilGetNextValue(record, cursor, &element, 0);
    Drop(extract_field(Random(30), Random(3), 0, record), extract_tail(2, 1, 0, record));
}

void Fill() {
    VrHeap* heap = vrHeapCreate();
    MemBuf* pieces = MemBufCreate(512);
    BufDscr* buffer = BufDscrCreate(100);
    vrHeapWriteStr(heap, Text(9000).c_str());
    MemBufAlloc(pieces, Random(600));
    AddStrToBuffer(buffer, "some bytes", 10, 254);
    Drop(vrHeapUnloadToVrString(heap), BufDscrMakeVrStr(buffer));
    vrHeapDestroy(heap);
    MemBufDestroy(pieces);
    BufDscrDestroy(buffer);
}

void LookUp() {
    const std::string key = std::to_string(Random(100));
    HashTableRemove(numbers, key.c_str(), 0);
    HashTableInstall(numbers, key.c_str(), 1);
    EXPECT_EQ(QuarkToString(Quark(key.c_str())), key);
    if (CacheLookup(objects, key.c_str()) == 0)
        CacheInstall(objects, key.c_str(), 1, 8000, Random(8));
    if (Random(50) == 0) CacheRemoveProgramItems(objects, Random(8));
    const int32_t table = tblCreate("soak", 40, 0, nullptr);
    TblFreeHnd(table, TblAllocHnd(table));
    TblDestroy(table);
}

void UseFiles() {
    std::string text = Text(9000) + "\n";
    int32_t file = -1;
    EXPECT_EQ(OsOpen("file", kOpenReadWrite | kOpenCreate, kPermissionWrite, &file), 0);
    OsWrite(file, text.data(), static_cast<uint32_t>(text.size()));
    EXPECT_EQ(OsFclose(OsFdopen(file, "r")), 0);
    OsFilesDec();
}

void Lock() {
    VrLockHandle handle = 0;
    EXPECT_EQ(LockRegister(std::to_string(Random(5)).c_str(), &handle), 0);
    EXPECT_EQ(LockLockKey(handle, Array(Text(20)), 0, 0), 0);
    EXPECT_EQ(LockDeregister(handle), 0);
}

void Run() {
    if (Random(300) != 0) return;
    EXPECT_EQ(System("-0echo a;exit 3", "out"), 3);
    EXPECT_EQ(System("&true", nullptr), 1);
    EXPECT_NE(DllLoad("psapi", nullptr), 0u);  // each load anew would leave a record of itself
    VrFindProcess("torture");
}

constexpr void (*kSteps[])() = {
    Edit,
    Fill,
    LookUp,
    UseFiles,
    Lock,
    Run,
    [] { Drop(std::exchange(strings[Random(16)], alloc_string(Random(5000)))); },
    [] { VrdbLogMesLock(Text(100).c_str(), 0); },
    [] { std::filesystem::resize_file("$$VRDB.LOG", 0); },
    [] { Array(UtilPutFieldsInVrString(record, Array("A^B"), Array("3^1^70"))); },
    [] { Drop(OsFileName(Array(Text(300)), nullptr), GetUniqueTempFileName("soak")); },
    [] { Drop(GetFullPath(record), EnvironFileName(Array("$HOME/x")), EnvironPrintPath()); },
    [] { Drop(IniGetString("Log", "NONE", "default"), IniGetSection("Log")); },
    [] { DLLPutEnv("SOAK", std::to_string(Random(20)).c_str()); },
    [] { EnvironTerminalDefinition(0), EnvironSetTerminal(80 + Random(60), 24); },
    [] { CvtInit("./convert.ini"), Drop(CvtConvert(Array("ABC"), 0), HexString("bytes", 5)); }};

// The size of the writable mappings, in bytes: all that the process took of the system. The
// resident size would do where no emulator adds its own memory to it.
long Mapped() {
    std::istringstream maps(ReadFile("/proc/self/maps"));
    long sum = 0;
    for (std::string line; std::getline(maps, line);) {
        unsigned long begin = 0, end = 0;
        char write = '-';
        std::sscanf(line.c_str(), "%lx-%lx r%c", &begin, &end, &write);
        if (write == 'w') sum += static_cast<long>(end - begin);
    }
    return sum;
}

// The most that the process had at a time.
struct Peak {
    long mapped = 0;  // bytes
    long heap = 0;    // bytes in use in the C heap
    long blocks = 0;  // of the platform
};

Peak Work(Seconds length) {
    Peak peak;
    for (const auto end = Clock::now() + length; Clock::now() < end;) {
        for (int i = 0; i < 500 && !testing::Test::HasFailure(); ++i) {
            kSteps[Random(std::size(kSteps))]();
            peak.blocks = std::max(peak.blocks, static_cast<long>(ControlBlocksOut()));
        }
        peak.heap = std::max(peak.heap, static_cast<long>(mallinfo2().uordblks));
        peak.mapped = std::max(peak.mapped, Mapped());
    }
    return peak;
}

TEST(Torture, OfMemory) {
    const Seconds length = LengthOf("VR_SOAK_SECONDS");
    const TempDirectory directory;
    WriteFile("convert.ini", "[input]\n65=97\n");
    WriteFile("soak.ini", "[Log]\nLOG=32\n");
    StartHost("soak.ini");
    VrdbLogInit("Log", nullptr);
    std::filesystem::permissions("$$VRDB.LOG", std::filesystem::perms::owner_all);
    record = NullString();
    numbers = HashTableCreate(53, nullptr, 0, 0);
    objects = CacheCreate(
        53, nullptr, [](VrWord, VrWord) {}, 0);
    for (const auto step : kSteps) {  // by then everything was used
        for (int i = 0; i < 200; ++i)
            step();
    }
#ifndef __SANITIZE_ADDRESS__  // which takes most of the address space itself
    const rlimit limit = {1 << 28, 1 << 28};
    ASSERT_EQ(setrlimit(RLIMIT_AS, &limit), 0);
#endif
    const Peak early = Work(length / 2);
    const Peak late = Work(length / 2);
    std::printf("soak: %.0f s, heap %ld then %ld, mapped %ld then %ld, blocks %ld then %ld\n",
                length.count(), early.heap, late.heap, early.mapped, late.mapped, early.blocks,
                late.blocks);
#ifndef __SANITIZE_ADDRESS__  // which keeps for a while what is freed
    EXPECT_LE(late.mapped - early.mapped, 256 * 1024);
    EXPECT_LE(late.heap - early.heap, 100'000);
#endif
    EXPECT_LE(late.blocks - early.blocks, 20);
    HashTableDestroy(numbers);
    CacheDestroy(objects);
    VrExit(0);
}

}  // namespace
