// A null object is passed over, with the empty result of its kind, and so are numbers out of
// range.

#include "tests/support/library_test.h"

namespace {

TEST_F(LibraryTest, NullObjectsArePassedOver) {
    int32_t size = 1;
    VrWord value = 7;
    VrString null = VR_SHARED_STRING(NullVrStr);
    vrHeapDestroy(nullptr);
    EXPECT_EQ(vrHeapAlloc(nullptr, 1), nullptr);
    EXPECT_EQ(vrHeapWriteStr(nullptr, "x"), nullptr);
    EXPECT_EQ(vrHeapWriteNChars(nullptr, "x", 1), nullptr);
    EXPECT_EQ(vrHeapSize(nullptr, &size), 0);
    EXPECT_EQ(size, 0);
    EXPECT_EQ(vrHeapUnloadToVrString(nullptr), null);
    MemBufDestroy(nullptr);
    EXPECT_EQ(MemBufAlloc(nullptr, 1), nullptr);
    size = 1;
    EXPECT_EQ(MemBufSize(nullptr, &size), 0);
    EXPECT_EQ(size, 0);
    BufDscrDestroy(nullptr);
    EXPECT_EQ(AddStrToBuffer(nullptr, "x", 1, 0), nullptr);
    EXPECT_EQ(BufDscrMakeVrStr(nullptr), null);
    HashTableInstall(nullptr, "k", 1);
    HashTableRemove(nullptr, "k", 0);
    HashTableRemoveItems(nullptr, nullptr, 0);
    EXPECT_EQ(HashTableLookup(nullptr, "k"), 0u);
    EXPECT_EQ(HashTableEntry(nullptr, 0, &value), nullptr);
    HashTableDestroy(nullptr);
    EXPECT_EQ(CacheLookup(nullptr, "k"), 0u);
    EXPECT_EQ(CacheIncrObjStr(nullptr, "k"), 32);
    EXPECT_EQ(CacheRemoveItems(nullptr, "", "", 0), 0);
    EXPECT_EQ(CacheRemoveProgramItems(nullptr, 1), 0);
    CacheInstall(nullptr, "k", 1, 1, 1);
    CacheDestroy(nullptr);
    EXPECT_EQ(TblLength(-1), 0);
    EXPECT_EQ(TblBase(-1), nullptr);
    EXPECT_EQ(TblFunc(-1), nullptr);
    EXPECT_EQ(DllLoad(nullptr, nullptr), 0u);
    DllUnload(nullptr, 0);
    EXPECT_EQ(DirNext(nullptr), nullptr);
    EXPECT_EQ(DLLGetEnv(nullptr), nullptr);
    EXPECT_EQ(value, 7u);
}

TEST_F(LibraryTest, BadNumbersAndNamesArePassedOver) {
    int32_t out = 7;
    VrWord value = 7;
    EXPECT_EQ(MemBufCreate(0), nullptr);
    EXPECT_EQ(BufDscrCreate(0), nullptr);
    EXPECT_EQ(malloc_memory(0), nullptr);
    EXPECT_EQ(MemAddCallback(0, nullptr, 0) + MemRemoveCallback(
                                                  0, [](VrWord, VrWord) {}, 0),
              2);
    EXPECT_EQ(MemRemoveCallback(3, nullptr, 0) + MemCallCallbacks(-1, 0), -2);
    VrHeap* heap = vrHeapCreate();
    EXPECT_EQ(vrHeapSize(heap, &out) + out, 0);
    vrHeapDestroy(heap);
    EXPECT_EQ(realloc_mem(heap, 0), nullptr);
    EXPECT_EQ(MemFixedWrite("x", 0), MemFixedAlloc(0));
    HashTable* keys = HashTableCreate(1, nullptr, 0, 0);
    EXPECT_EQ(HashTableCreate(0, nullptr, 0, 0), nullptr);
    EXPECT_EQ(HashTableEntry(keys, -1, &value), nullptr);
    HashTableInstall(keys, "k", 1);
    HashTableRemove(keys, "k", 2);
    EXPECT_EQ(HashTableLookup(keys, "k"), 1u);
    HashTableDestroy(keys);
    Cache* cache = CacheCreate(1, nullptr, nullptr, 0);
    for (auto count : {CacheStackCountInc, CacheStackCountDec, CacheClassUseInc, CacheClassUseDecr,
                       CacheClassDrop})
        count(cache, "missing");
    CacheInstall(cache, "n", 1, 0, 0);
    CacheStackCountDec(cache, "n");
    CacheClassUseDecr(cache, "n");
    CacheClassUseInc(cache, "n");
    CacheClassDrop(cache, "n");
    EXPECT_EQ(CacheLookup(cache, "n"), 1u);
    CacheDestroy(cache);
    EXPECT_EQ(CacheCreate(0, nullptr, nullptr, 0), nullptr);
    for (int32_t i = 2; i < 500; ++i)
        EXPECT_EQ(Quark(std::to_string(i).c_str()), i);
    EXPECT_STREQ(QuarkToString(499), "499");
    for (int32_t quark : {-1, 0, 500})
        EXPECT_EQ(QuarkToString(quark), nullptr);
    EXPECT_EQ(Quark(nullptr), 0);
    UtilSwapChar(nullptr, 'a', 'b');
    EXPECT_EQ(extract_field(9, 0, 0, VR_SHARED_STRING(TrueVrStr)), VR_SHARED_STRING(NullVrStr));
    for (auto [size, mark] : {std::pair(0, 0), {4, -1}, {4, 4}})
        EXPECT_EQ(tblCreate("t", size, mark, nullptr), -1);
    for (auto [month, day, year] :
         {std::tuple(-1, 1, 2000), {12, 1, 2000}, {0, 0, 2000}, {0, 1, -1}})
        EXPECT_EQ(MoDaYrToDaysSince67(month, day, year, &out), 0);
    EXPECT_EQ(findchar(nullptr, 'a', 1) + findchar("a", 0, 1) + findchar("a", 'a', 0), -3);
    EXPECT_EQ(LockUnlockKey(0, nullptr) + LockLockKey(0xFFFF0000, nullptr, 0, 0), -2);
    VrString one = VR_SHARED_STRING(TrueVrStr);
    EXPECT_EQ(SkipBackNAttrs(one, 5, &(out = 0, out)), 5);
    char empty[] = "", prefix[] = "1";
    EXPECT_EQ(ExtractBaseName(one, nullptr), nullptr);
    EXPECT_EQ(ExtractBaseName(one, empty), nullptr);
    EXPECT_EQ(ExtractBaseName(one, prefix), nullptr);
    DirSearch* search = nullptr;
    EXPECT_EQ(DirFirst("", &search), nullptr);
    EXPECT_EQ(DirNext(search), nullptr);
    DirClose(&search);
    DirClose(&search);
    OsClose(-1);
    for (int32_t offset : {-1, 0, 9}) {
        char* word = get_text_word(&offset, offset == 0 ? nullptr : "word");
        EXPECT_STREQ(word, "");
        free_mem(&word);
    }
    char* field = get_text_field("a,b", ',', 3);
    EXPECT_STREQ(field, "");
    free_mem(&field);
    EXPECT_STREQ(GetPortNumber(), "Unknown");
    DLLPutEnv("VRLPORT", "COM2");
    EXPECT_STREQ(GetPortNumber(), "COM2");
    EXPECT_EQ(IniGetInt(nullptr, "k", 3) + IniGetInt("s", nullptr, 4), 7);
    EXPECT_EQ(IniGetSection(nullptr), nullptr);
    EXPECT_EQ(value, 7u);
}

TEST_F(LibraryTest, BreaksNest) {
    for (int32_t state : {1, 0, 0, 5})
        SetBreakState(state);
    EXPECT_EQ(GetBreakState(), 1);
}

}  // namespace
