// Pieces of a host's work, one of each family: the sweep makes each call in them fail, and the
// soak repeats them. Each tells what came out, the same in each run that nothing disturbs.
#ifndef TESTS_SWEEP_SCENARIOS_H
#define TESTS_SWEEP_SCENARIOS_H

#include "tests/support/library_test.h"
#include "vr/record.h"

inline const std::string kRecord = Marked("NAME^" + std::string(150, 'v') + "]w^LAST");
inline const std::string kEditedRecord = kRecord + Marked("^" + std::string(400, 'n'));

inline void PrepareFolder() {
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
inline size_t textSize = 90;

inline std::string Text(int number, size_t size = textSize) {
    return std::to_string(number) + std::string(size, '.');
}

inline std::string Startup() {
    setenv("VRPLATFORM_REGISTRY", "registry", 1);
    StartHost("test.ini", reinterpret_cast<VrWord>(LoadLibraryA(".\\host.so")));
    std::string told;
    for (const char* text :
         std::initializer_list<const char*>{EnvironProduct(), EnvironRelease(), EnvironVrPath(),
                                            getenv("SWEPT"), getenv("LISTED")})
        told += CText(text) + ' ';
    DllUnload(".\\host.so", DllLoad(".\\host.so", nullptr));
    return told + std::to_string(CvtFlag);
}

inline void Put(Array& record, UtilPosition position, const std::string& text, uint32_t replace) {
    VrString after = UtilInsertReplace(&position, record, Array(text), replace);
    if (after != record) record = Array(after);
}

inline std::string Editing() {
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
inline std::string Caching() {
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
        const Array room(alloc_string(500));  // which may take the body away
        told += *reinterpret_cast<char**>(CacheLookup(cache, name.c_str()));
        CacheStackCountDec(cache, name.c_str());
    }
    EXPECT_EQ(cache->used, 300 * (12 - std::ranges::count(bodies, nullptr)));
    CacheDestroy(cache);
    return told;
}

// The life cycle of what the other scenarios use little of.
inline std::string Families() {
    VrHeap* heap = vrHeapCreate();
    MemBuf* pieces = MemBufCreate(200);
    BufDscr* buffer = BufDscrCreate(100);
    HashTable* keys = HashTableCreate(30, nullptr, 0, 0);
    const int32_t records = tblCreate("sweep", 100, 99, nullptr);
    for (int i = 1; i <= 25; ++i) {
        vrHeapWriteStr(heap, Text(i, 300).c_str());
        *static_cast<int*>(MemBufAlloc(pieces, 60)) = i;
        AddStrToBuffer(buffer, Text(i).data(), i, '|');
        HashTableInstall(keys, Text(i).c_str(), VrWord(Quark(Text(i, 90).c_str())));
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
    DLLPutEnv("VRLPRINTPATH", Text(2).c_str());
    told += TakeBytes(GetUniqueTempFileName(Text(3).c_str())).substr(0, 90);
    for (VrString s :
         {OsFileLongName(Array(Text(1)), "txt"), OsFileName(Array(Text(1)), nullptr),
          EnvironFileName(Array("$VRLPRINTPATH/x")), EnvironPrintPath(), HexString("bytes", 5)})
        told += TakeBytes(s);
    told += TakeCText(IniGetString("S", "TEXT", "")) + TakeCText(IniGetSection("S"));
    DirSearch* search = nullptr;
    for (const char* each = DirFirst(".", &search); each != nullptr; each = DirNext(search))
        told += '.';
    DirClose(&search);
    EnvironSetTerminal(80, 24);
    return told + Text(EnvironScreenDefinition()->columns);
}

inline std::string Files() {
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

inline std::string EditRecord() {
    VrString read = nullptr;
    if (VrRecordRead("RECORD", 0, &read) != kVrRecordDone) return "read";
    Array record(read);
    Put(record, {-1, 0, 0, 0}, std::string(400, 'n'), 0);
    return VrRecordReplace("RECORD", record, nullptr) == kVrRecordDone ? "" : "write";
}

inline std::string LockedEdit() {
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

inline std::string Command() {
    const int32_t code = System("echo one;exit 5", "OUT");
    const int32_t hidden = System("-0exit 7", nullptr);
    return "exit " + std::to_string(code) + ' ' + std::to_string(hidden) +
           Swapped(ReadFile("OUT"), "\n", "|");
}

inline std::string Log() {
    const int32_t started = VrdbLogInit("DB", "T");
    for (const char* call : {"READ", "WRITE"})
        VrdbLogStartMes(call);
    return std::to_string(started) + Swapped(ReadFile("$$VRDB.LOG"), "\r\n", " |");
}

struct Scenario {
    const char* name;
    std::string (*run)();
};

inline void PrintTo(const Scenario& scenario, std::ostream* out) {
    *out << scenario.name;
}

inline constexpr Scenario kScenarios[] = {
    {"Startup", Startup}, {"Editing", Editing}, {"Caching", Caching}, {"Families", Families},
    {"Files", Files},     {"Edit", LockedEdit}, {"Command", Command}, {"Log", Log},
};

#endif
