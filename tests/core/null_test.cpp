// A null object is passed over, with the empty result of its kind.

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
    CacheDestroy(nullptr);
    EXPECT_EQ(TblLength(-1), 0);
    EXPECT_EQ(TblBase(-1), nullptr);
    EXPECT_EQ(TblFunc(-1), nullptr);
    EXPECT_EQ(DllLoad(nullptr, nullptr), 0u);
    DllUnload(nullptr, 0);
    EXPECT_EQ(DirNext(nullptr), nullptr);
    EXPECT_EQ(value, 7u);
}

TEST_F(LibraryTest, BreaksNest) {
    for (int32_t state : {1, 0, 0, 5})
        SetBreakState(state);
    EXPECT_EQ(GetBreakState(), 1);
}

}  // namespace
