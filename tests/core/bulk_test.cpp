// Memory in bulk: the fixed store, region heaps, memory buffers and descriptors.

#include "tests/support/library_test.h"

namespace {

TEST_F(LibraryTest, FixedPiecesLieBackToBackInTheirBlock) {
    constexpr int32_t kRoom = kVrFixedBlockRoom;
    const std::pair<int32_t, uint32_t> steps[] = {
        // sizes, and the blocks made for them
        {kRoom, 1}, {1, 1}, {0, 0}, {6, 0}, {kRoom + 1, 1}, {kRoom - 107, 0}, {100, 0}, {1, 1}};
    char* next = nullptr;  // in the block in hand
    for (const auto& [size, newBlocks] : steps) {
        const uint32_t before = ControlBlocksOut();
        auto* piece = static_cast<char*>(MemFixedAlloc(size));
        EXPECT_EQ(ControlBlocksOut(), before + newBlocks) << size;
        EXPECT_EQ(newBlocks != 0 ? VrWord(piece) % 8 : VrWord(piece - next), 0u) << size;
        if (size <= kRoom) next = piece + size;
    }
    EXPECT_STREQ(static_cast<char*>(MemFixedWrite("abc", 4)), "abc");
}

TEST_F(LibraryTest, ABufferTakesUnitsAsItsPiecesNeedThem) {
    MemBuf* buffer = MemBufCreate(100);
    for (const size_t size : {10u, 84u, 5u, 85u}) {
        auto* piece = static_cast<char*>(MemBufAlloc(buffer, int32_t(size)));
        EXPECT_EQ(std::string(piece, size), std::string(size, '\0')) << "zero, and its own";
        std::memset(piece, 'x', size);
    }
    int32_t reserved = 0;
    EXPECT_EQ(MemBufSize(buffer, &reserved), 184);
    EXPECT_EQ(reserved, 500);
    MemBufDestroy(buffer);
}

TEST_F(LibraryTest, HeapsUnloadTheirPiecesAndGoOneByOneOrTogether) {
    VrHeap* forgotten = vrHeapCreate();
    vrHeapInitialise();
    VrHeap* heaps[] = {vrHeapCreate(), vrHeapCreate(), vrHeapCreate(), vrHeapCreate()};
    const std::string many(4077, 'k');  // one more than the first chunk has left
    for (VrHeap* heap : heaps) {
        vrHeapWriteStr(heap, "abc");
        vrHeapWriteNChars(heap, many.data(), 4077);
        vrHeapWriteStr(heap, nullptr);
        EXPECT_EQ(TakeBytes(vrHeapUnloadToVrString(heap)), std::string("abc\0", 4) + many + '\0');
    }
    int32_t reserved = 0;
    EXPECT_EQ(vrHeapSize(heaps[0], &reserved), 4082);
    EXPECT_EQ(reserved, 8192);
    for (const int gone : {2, 1, 3})  // the middle, its neighbour, the newest
        vrHeapDestroy(heaps[gone]);
    vrHeapDestroyAll();
    EXPECT_STREQ(vrHeapWriteStr(forgotten, "out of the list"), "out of the list");
    vrHeapDestroy(forgotten);
}

TEST_F(LibraryTest, DescriptorsGrowInSteps) {
    BufDscr* buffer = BufDscrCreate(5);
    for (const auto& [source, capacity] : {std::pair("abcd", 5), {"e", 10}, {"eleven more", 20}}) {
        AddStrToBuffer(buffer, source, int32_t(std::strlen(source)), 254);
        EXPECT_EQ(buffer->capacity, capacity);
    }
    EXPECT_EQ(TakeText(BufDscrMakeVrStr(buffer)), "abcd^e^eleven more^");
    BufDscrDestroy(buffer);
}

}  // namespace
