// Memory in bulk: the fixed store, region heaps, memory buffers and descriptors.

#include <algorithm>
#include <climits>
#include <vector>

#include "tests/support/arrays.h"
#include "tests/support/library_test.h"

namespace {

TEST_F(LibraryTest, FixedPiecesLieBackToBackAndFillTheirBlock) {
    constexpr int32_t kRoom = kVrFixedBlockRoom;
    const std::pair<int32_t, uint32_t> steps[] = {
        // sizes, and the blocks made for them
        {kRoom, 1},       {1, 1},  {0, 0}, {-5, 0},        {kRoom - 100, 0}, {100, 1},
        {kRoom - 199, 0}, {99, 0}, {1, 1}, {kRoom + 1, 1}, {5 * kRoom, 1},   {50, 0}};
    std::vector<std::pair<char*, std::string>> pieces;
    for (const auto& [size, newBlocks] : steps) {
        const std::string bytes(size_t(std::max(size, 0)), char('a' + pieces.size()));
        const uint32_t before = ControlBlocksOut();
        pieces.emplace_back(static_cast<char*>(MemFixedWrite(bytes.data(), size)), bytes);
        EXPECT_EQ(ControlBlocksOut(), before + newBlocks) << size;
    }
    for (const auto& [piece, bytes] : pieces)
        EXPECT_EQ(std::string(piece, bytes.size()), bytes);
}

// The bytes used and reserved, and the room that is left in the last chunk.
template <auto Alloc, auto Size, auto Destroy, typename Region>
std::vector<int32_t> Fill(Region* region, const std::vector<size_t>& sizes) {
    for (const size_t size : sizes) {
        auto* piece = static_cast<char*>(Alloc(region, int32_t(size)));
        EXPECT_EQ(std::string(piece, size), std::string(size, '\0')) << "zero, and its own";
        std::memset(piece, 'x', size);
    }
    std::vector<int32_t> account = {0, 0, region->chunks.last->room};
    account[0] = Size(region, &account[1]);
    Destroy(region);
    return account;
}

TEST_F(LibraryTest, ARegionTakesUnitsAsItsPiecesNeedThem) {
    const auto heap = Fill<vrHeapAlloc, vrHeapSize, vrHeapDestroy, VrHeap>;
    const auto buffer = Fill<MemBufAlloc, MemBufSize, MemBufDestroy, MemBuf>;
    EXPECT_EQ(heap(vrHeapCreate(), {100, 3981, 99, 4081}), (std::vector{8261, 16384, 4095}));
    EXPECT_EQ(buffer(MemBufCreate(100), {10, 84, 5, 85}), (std::vector{184, 500, 99}));
}

// A heap that was forgotten leaves the list of later ones alone; what is lost shows at exit.
TEST_F(LibraryTest, HeapsUnloadTheirPiecesAndGoOneByOneOrTogether) {
    VrHeap* forgotten = vrHeapCreate();
    vrHeapInitialise();
    VrHeap* heaps[] = {vrHeapCreate(), vrHeapCreate(), vrHeapCreate(), vrHeapCreate()};
    vrHeapDestroy(forgotten);
    for (VrHeap* heap : heaps) {
        EXPECT_EQ(TakeBytes(vrHeapUnloadToVrString(heap)), "");
        EXPECT_TRUE(!vrHeapAlloc(heap, 0) && !vrHeapAlloc(heap, INT_MIN));
        const std::string many(4077, 'k');  // one more than the first chunk has left
        vrHeapWriteStr(heap, "abc");
        vrHeapWriteNChars(heap, many.data(), 4077);
        vrHeapWriteStr(heap, nullptr);
        EXPECT_EQ(TakeBytes(vrHeapUnloadToVrString(heap)), std::string("abc\0", 4) + many + '\0');
    }
    for (const int gone : {2, 1, 3})  // the middle, its neighbour, the newest
        vrHeapDestroy(heaps[gone]);
    vrHeapDestroyAll();
}

TEST_F(LibraryTest, DescriptorsGrowInSteps) {
    const std::tuple<const char*, int32_t, unsigned char, std::string, int32_t> steps[] = {
        {nullptr, 9, 0, "", 5},    {"x", INT_MIN, 254, "\xFE", 5},
        {"abcd", 4, 0, "abcd", 5}, {"\0\1\2", 3, 'z', {"\0\1\2z", 4}, 10},
        {"e", 1, 0, "e", 10},      {"eleven more", 11, 1, "eleven more\1", 25}};
    BufDscr* buffer = BufDscrCreate(5);
    std::string all;
    for (const auto& [source, length, end, added, capacity] : steps) {
        AddStrToBuffer(buffer, source, length, end);
        EXPECT_EQ(TakeBytes(BufDscrMakeVrStr(buffer)), all += added);
        EXPECT_EQ(buffer->capacity, capacity) << all;
    }
    BufDscrDestroy(buffer);
    EXPECT_TRUE(!BufDscrCreate(0) && !MemBufCreate(0));
}

}  // namespace
