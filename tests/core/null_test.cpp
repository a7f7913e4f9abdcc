// A null object is ignored, with the empty result of its kind, and so are numbers out of
// range.

#include "tests/support/library_test.h"

namespace {

// A failure shows which of the results it is.
template <typename Result>
void ExpectEach(Result expected, const std::vector<Result>& results) {
    EXPECT_EQ(results, std::vector(results.size(), expected));
}

void ExpectNulls(const std::vector<const void*>& results) {
    ExpectEach<const void*>(nullptr, results);
}

TEST_F(LibraryTest, NullObjectsAreIgnored) {
    int32_t sizes[] = {1, 1};
    VrWord value = 7;
    vrHeapDestroy(nullptr);
    MemBufDestroy(nullptr);
    BufDscrDestroy(nullptr);
    HashTableInstall(nullptr, "k", 1);
    HashTableRemove(nullptr, "k", 0);
    HashTableRemoveItems(nullptr, nullptr, 0);
    HashTableDestroy(nullptr);
    CacheInstall(nullptr, "k", 1, 1, 1);
    CacheDestroy(nullptr);
    DllUnload(nullptr, 0);
    UtilSwapChar(nullptr, 'a', 'b');
    ExpectNulls({vrHeapAlloc(nullptr, 1), vrHeapWriteStr(nullptr, "x"),
                 vrHeapWriteNChars(nullptr, "x", 1), MemBufAlloc(nullptr, 1),
                 AddStrToBuffer(nullptr, "x", 1, 0), HashTableEntry(nullptr, 0, &value),
                 TblBase(-1), DirNext(nullptr), DLLGetEnv(nullptr), IniGetSection(nullptr)});
    EXPECT_EQ(TblFunc(-1), nullptr);
    ExpectEach<int64_t>(
        0, {vrHeapSize(nullptr, &sizes[0]), sizes[0], MemBufSize(nullptr, &sizes[1]), sizes[1],
            HashTableLookup(nullptr, "k"), CacheLookup(nullptr, "k"),
            CacheRemoveItems(nullptr, "", "", 0), CacheRemoveProgramItems(nullptr, 1),
            TblLength(-1), DllLoad(nullptr, nullptr), Quark(nullptr)});
    ExpectEach(NullString(), {vrHeapUnloadToVrString(nullptr), BufDscrMakeVrStr(nullptr)});
    EXPECT_EQ(CacheIncrObjStr(nullptr, "k"), 32);
    EXPECT_EQ(findchar(nullptr, 'a', 1), -1);
    EXPECT_EQ(value, 7u);
}

TEST_F(LibraryTest, BadNumbersAndNamesAreIgnored) {
    int32_t out = 0;
    VrWord value = 7;
    HashTable* keys = HashTableCreate(1, nullptr, 0, 0);
    VrString one = VR_SHARED_STRING(TrueVrStr);
    char empty[] = "", prefix[] = "1";
    DirSearch* search = nullptr;
    ExpectNulls({realloc_mem(nullptr, 0), MemBufCreate(0), BufDscrCreate(0),
                 HashTableCreate(0, nullptr, 0, 0), CacheCreate(0, nullptr, nullptr, 0),
                 HashTableEntry(keys, -1, &value), QuarkToString(-1), QuarkToString(0),
                 QuarkToString(2), ExtractBaseName(one, nullptr), ExtractBaseName(one, empty),
                 ExtractBaseName(one, prefix), DirFirst("", &search), DirNext(search)});
    EXPECT_EQ(value, 7u);
    DirClose(&search);
    DirClose(&search);
    OsClose(-1);
    EXPECT_EQ(MemAddCallback(0, nullptr, 0), 1);
    ExpectEach(-1, {tblCreate("t", 0, 0, nullptr), tblCreate("t", 4, -1, nullptr),
                    tblCreate("t", 4, 4, nullptr), LockUnlockKey(0, nullptr),
                    LockLockKey(0xFFFF0000, nullptr, 0, 0)});
    ExpectEach(0, {MoDaYrToDaysSince67(-1, 1, 2000, &out), MoDaYrToDaysSince67(12, 1, 2000, &out),
                   MoDaYrToDaysSince67(0, 0, 2000, &out), MoDaYrToDaysSince67(0, 1, -1, &out)});
    HashTableDestroy(keys);
    VrHeap* heap = vrHeapCreate();
    EXPECT_EQ(vrHeapSize(heap, &out), 0);
    EXPECT_EQ(out, 0);
    vrHeapDestroy(heap);
    EXPECT_EQ(MemFixedWrite("x", 0), MemFixedAlloc(0));
    EXPECT_EQ(SkipBackNAttrs(one, 5, &(out = 0, out)), 5);
    EXPECT_EQ(ScanStr(one, 9, -1, kVrAttributeMark, &(out = 1, out)), 4) << "a negative length";
    for (int32_t offset : {-1, 0, 9})
        EXPECT_EQ(TakeCText(get_text_word(&offset, offset == 0 ? nullptr : "word")), "");
    EXPECT_EQ(TakeCText(get_text_field("a,b", ',', 3)), "");
    EXPECT_STREQ(GetPortNumber(), "Unknown");
    DLLPutEnv("VRLPORT", "COM2");
    EXPECT_STREQ(GetPortNumber(), "COM2");
}

}  // namespace
