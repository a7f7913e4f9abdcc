// Memory in bulk: the fixed store, region heaps, memory buffers and descriptors.

#include <algorithm>
#include <climits>
#include <string>
#include <vector>

#include "tests/support/arrays.h"
#include "tests/support/library_test.h"

namespace {

TEST_F(LibraryTest, FixedPiecesLieBackToBackAndFillTheirBlock) {
    constexpr int32_t kRoom = kVrFixedBlockRoom;
    // Sizes, and the blocks they take.
    const std::pair<int32_t, uint32_t> steps[] = {
        {kRoom, 1},       {1, 1},  {0, 0},  {-5, 0}, {kRoom - 100, 0}, {100, 1},
        {kRoom - 199, 0}, {99, 0}, {-1, 0}, {1, 1},  {kRoom + 1, 1},   {5 * kRoom, 1}};
    std::vector<std::pair<char*, std::string>> pieces;
    for (const auto& [size, newBlocks] : steps) {
        const std::string bytes(size_t(std::max(size, 0)), char('a' + pieces.size()));
        const uint32_t before = ControlBlocksOut();
        auto* piece = static_cast<char*>(MemFixedWrite(bytes.data(), size));
        EXPECT_EQ(ControlBlocksOut(), before + newBlocks) << size;
        EXPECT_TRUE(newBlocks == 1 || piece == pieces.back().first + pieces.back().second.size());
        pieces.emplace_back(piece, bytes);
    }
    std::memset(MemFixedAlloc(kRoom / 2), '!', kRoom / 2);  // behind blocks made to fit
    for (const auto& [piece, bytes] : pieces)
        EXPECT_EQ(std::string(piece, bytes.size()), bytes);
}

// Expects the bytes used and reserved, and the room that is left in the last chunk.
template <auto Alloc, auto Size, auto Destroy, typename Region>
void Check(Region* region, const std::vector<int32_t>& sizes, const std::vector<int32_t>& account) {
    for (const int32_t size : sizes) {
        auto* piece = static_cast<unsigned char*>(Alloc(region, size));
        ASSERT_EQ(piece == nullptr, size <= 0);
        if (size <= 0) continue;
        EXPECT_EQ(std::count(piece, piece + size, 0), size) << "zero, and nobody else's";
        std::memset(piece, 0xAA, size_t(size));
        EXPECT_EQ(region->chunks.last->lastByte, piece + size - 1);
    }
    int32_t reserved = -1;
    const int32_t used = Size(region, &reserved);
    const int32_t room = region->chunks.last ? region->chunks.last->room : -1;
    EXPECT_EQ((std::vector{used, reserved, room}), account) << testing::PrintToString(sizes);
    Destroy(region);
}

TEST_F(LibraryTest, ARegionTakesUnitsAsItsPiecesNeedThem) {
    const auto heap = Check<vrHeapAlloc, vrHeapSize, vrHeapDestroy, VrHeap>;
    heap(vrHeapCreate(), {0, -1, INT_MIN}, {0, 0, -1});
    heap(vrHeapCreate(), {100, 3980}, {4080, 4096, 0});
    heap(vrHeapCreate(), {100, 3981, 99}, {4180, 8192, 0});
    heap(vrHeapCreate(), {4080, 1}, {4081, 8192, 4079});
    heap(vrHeapCreate(), {1, 4081, 4000}, {8082, 12288, 95});
    const auto membuf = Check<MemBufAlloc, MemBufSize, MemBufDestroy, MemBuf>;
    membuf(MemBufCreate(100), {50, -1}, {50, 100, 34});
    membuf(MemBufCreate(100), {10, 84, 5}, {99, 300, 79});
    membuf(MemBufCreate(100), {85}, {85, 200, 99});
    membuf(MemBufCreate(1), {5, 1, 80}, {86, 134, 0});
}

TEST_F(LibraryTest, AHeapUnloadsAllPiecesInTheirOrder) {
    VrHeap* heap = vrHeapCreate();
    EXPECT_EQ(vrHeapUnloadToVrString(heap), NullString());
    std::string all;
    for (size_t step = 0; step < 100; ++step) {
        const std::string bytes(step * 37 % 100 * (step % 9 < 2 ? 70 : 1), char('\x80' + step));
        vrHeapWriteStr(heap, bytes.empty() ? nullptr : bytes.c_str());
        vrHeapWriteNChars(heap, bytes.data(), int32_t(bytes.size() / 2));
        all += bytes + '\0' + bytes.substr(0, bytes.size() / 2);
        VrString s = vrHeapUnloadToVrString(heap);
        ASSERT_EQ(BytesOf(s), all);
        EXPECT_TRUE(all.size() < 129 || CapacityOf(s) == all.size() * 3 / 2);
        free_mem(&s);
    }
    vrHeapDestroy(heap);
}

TEST_F(LibraryTest, HeapsGoOneByOneOrTogether) {
    VrHeap* heaps[5];
    std::generate(std::begin(heaps), std::end(heaps), vrHeapCreate);
    const uint32_t before = ControlBlocksOut();
    for (VrHeap* heap : heaps)
        vrHeapAlloc(heap, 1);
    for (const int gone : {2, 4, 0})  // in the middle, the newest, the oldest
        vrHeapDestroy(heaps[gone]);
    EXPECT_TRUE(heaps[3]->previous == nullptr && heaps[3]->next == heaps[1]);
    EXPECT_TRUE(heaps[1]->previous == heaps[3] && heaps[1]->next == nullptr);
    vrHeapInitialise();
    for (int i = 0; i < 2; ++i)
        vrHeapAlloc(vrHeapCreate(), 1);
    vrHeapDestroy(heaps[3]);  // forgotten, so it leaves the new list alone
    vrHeapDestroyAll();
    EXPECT_EQ(ControlBlocksOut(), before + 1);
    vrHeapDestroy(heaps[1]);
    vrHeapDestroyAll();
    EXPECT_EQ(ControlBlocksOut(), before);
}

TEST_F(LibraryTest, DescriptorsGrowInSteps) {
    BufDscr* buffer = BufDscrCreate(5);
    EXPECT_EQ(BufDscrMakeVrStr(buffer), NullString());
    std::string all;
    const auto add = [&](const char* source, int32_t length, unsigned char end,
                         const std::string& added, int32_t capacity) {
        EXPECT_EQ(AddStrToBuffer(buffer, source, length, end), buffer);
        VrString s = BufDscrMakeVrStr(buffer);
        EXPECT_EQ(BytesOf(s), all += added);
        EXPECT_EQ(buffer->capacity, capacity) << all;
        free_mem(&s);
    };
    add(nullptr, 9, 0, "", 5);
    add("x", INT_MIN, 254, "\xFE", 5);
    add("abcd", 4, 0, "abcd", 5);
    add("e", 1, 0, "e", 10);
    add(std::string(3, '\0').c_str(), 3, 'z', std::string(3, '\0') + 'z', 10);
    add("fghij", 5, 1, "fghij\1", 20);
    add(std::string(304, 'k').c_str(), 304, 0, std::string(304, 'k'), 320);
    BufDscrDestroy(buffer);
}

using BulkDeathTest = LibraryTest;

TEST_F(BulkDeathTest, AbsurdArgumentsArePassedOverOrRefused) {
    for (const int32_t size : {0, INT_MIN})
        EXPECT_TRUE(!MemBufCreate(size) && !BufDscrCreate(size));
    EXPECT_TRUE(!MemBufAlloc(nullptr, 5) && !AddStrToBuffer(nullptr, "a", 1, 1));
    EXPECT_TRUE(!vrHeapAlloc(nullptr, 5) && !vrHeapWriteStr(nullptr, "a"));
    EXPECT_EQ(BufDscrMakeVrStr(nullptr), NullString());
    EXPECT_EQ(vrHeapUnloadToVrString(nullptr), NullString());
    int32_t reserved = 0;
    EXPECT_EQ(vrHeapSize(nullptr, &reserved) + MemBufSize(nullptr, &reserved) + reserved, 0);
    vrHeapDestroy(nullptr);
    MemBufDestroy(nullptr);
    BufDscrDestroy(nullptr);
    const testing::ExitedWithCode refused(9);
    EXPECT_EXIT(MemFixedAlloc(INT_MAX), refused, "");
    EXPECT_EXIT(vrHeapAlloc(vrHeapCreate(), INT_MAX), refused, "");
    EXPECT_EXIT(MemBufAlloc(MemBufCreate(INT_MAX), INT_MAX), refused, "");
    EXPECT_EXIT(AddStrToBuffer(BufDscrCreate(8), "", INT_MAX, 'x'), refused, "");
}

}  // namespace
