// Blocks: where they lie, what they hold, and when pages go back.

#include <algorithm>
#include <random>
#include <vector>

#include "platform/memory.h"
#include "tests/support/arrays.h"
#include "tests/support/library_test.h"

namespace {

constexpr unsigned char kPoolSlot = 0xF0;

bool IsZero(const void* block, size_t size) {
    const auto* bytes = static_cast<const unsigned char*>(block);
    return std::all_of(bytes, bytes + size, [](unsigned char byte) { return byte == 0; });
}

TEST_F(LibraryTest, BlocksAreZeroWithOneByteMoreAndInTheirClass) {
    EXPECT_EQ(alloc_memory(0), nullptr);
    EXPECT_EQ(malloc_memory(0), nullptr);
    for (uint32_t size = 1; size <= 130; ++size) {
        SCOPED_TRACE(size);
        for (int round = 0; round < 2; ++round) {  // the second one finds used memory
            void* block = alloc_memory(size);
            EXPECT_TRUE(IsZero(block, size + 1));
            EXPECT_EQ(ClassByteOf(block), size <= 62 ? kPoolSlot : 0);
            std::memset(block, 0xAA, size + 1);
            EXPECT_EQ(free_mem(&block), 0);
            EXPECT_EQ(block, nullptr);
            free_mem(&block);
        }
    }
    void* plain = malloc_memory(8);
    EXPECT_EQ(ClassByteOf(plain), 0);
    free_mem(&plain);
}

// Slots of 4 bytes serve sizes 1 to 3: neighbours lie 8 bytes apart.
TEST_F(LibraryTest, ThePoolIsASizesQuarter) {
    const struct {
        uint32_t size;
        ptrdiff_t stride;
    } cases[] = {{1, 8}, {3, 8}, {4, 12}, {7, 12}, {8, 16}, {62, 68}};
    for (const auto& row : cases) {
        char* first = static_cast<char*>(alloc_memory(row.size));
        char* second = static_cast<char*>(alloc_memory(row.size));
        EXPECT_EQ(std::abs(second - first), row.stride) << row.size;
        free_mem(&first);
        free_mem(&second);
    }
}

TEST_F(LibraryTest, PagesComeAt25SlotsAndGoAbove50Free) {
    std::vector<void*> slots;
    const uint32_t before = ControlBlocksOut();
    auto pages = [&] { return ControlBlocksOut() - before; };
    for (int i = 0; i < 75; ++i) {
        slots.push_back(alloc_memory(52));
        EXPECT_EQ(pages(), static_cast<uint32_t>(i / 25 + 1)) << "slot " << i + 1;
    }
    // Two pages free: 50 slots, kept. The third page's last slot makes it 75.
    for (int i = 0; i < 74; ++i)
        free_mem(&slots[static_cast<size_t>(i)]);
    EXPECT_EQ(pages(), 3u);
    free_mem(&slots[74]);
    EXPECT_EQ(pages(), 2u);
}

// The head of the open list is the page with the most free slots.
TEST_F(LibraryTest, TheEmptiestPageServesNext) {
    std::vector<void*> slots;
    for (int i = 0; i < 50; ++i)
        slots.push_back(alloc_memory(52));
    void* fromFirst = slots[3];
    void* lastOfSecond = slots[49];
    free_mem(&slots[3]);  // the first page opens with one free slot
    free_mem(&slots[48]);
    free_mem(&slots[49]);  // the second page has two and takes the head
    void* next = alloc_memory(52);
    EXPECT_EQ(next, lastOfSecond);
    void* after = alloc_memory(52);
    EXPECT_NE(after, fromFirst) << "a tie leaves the head where it is";
    for (void* block : slots)
        free_mem(&block);
    free_mem(&next);
    free_mem(&after);
}

TEST_F(LibraryTest, RandomBlocksKeepTheirBytes) {
    std::mt19937 random(7);
    struct Block {
        unsigned char* bytes;
        uint32_t size;
        unsigned char fill;
    };
    std::vector<Block> blocks;
    for (int step = 0; step < 20000; ++step) {
        if (blocks.size() < 400 && random() % 5 != 0) {
            const uint32_t size = 1 + random() % 80;
            auto* bytes = static_cast<unsigned char*>(alloc_memory(size));
            ASSERT_TRUE(IsZero(bytes, size + 1));
            const auto fill = static_cast<unsigned char>(random());
            std::memset(bytes, fill, size);
            blocks.push_back({bytes, size, fill});
        } else if (!blocks.empty()) {
            Block& block = blocks[random() % blocks.size()];
            ASSERT_EQ(std::count(block.bytes, block.bytes + block.size, block.fill),
                      static_cast<ptrdiff_t>(block.size));
            free_mem(&block.bytes);
            block = blocks.back();
            blocks.pop_back();
        }
    }
    for (Block& block : blocks)
        free_mem(&block.bytes);
}

TEST_F(LibraryTest, FreeMemPassesOverWhatIsNoBlock) {
    for (unsigned char* shared : {NullVrStr, FalseVrStr, TrueVrStr}) {
        VrString s = VR_SHARED_STRING(shared);
        EXPECT_EQ(free_mem(&s), 0);
        EXPECT_EQ(s, VR_SHARED_STRING(shared));
    }
    EXPECT_EQ(_free_mem(nullptr, "", 0), 0);
    EXPECT_TRUE(boxes.shown.empty());

    void* number = reinterpret_cast<void*>(256);
    EXPECT_EQ(free_mem(&number), 0);
    EXPECT_EQ(number, nullptr);
    ASSERT_EQ(boxes.shown.size(), 1u);
    EXPECT_EQ(boxes.shown[0].text, "MEM:freeing pointer < 0x100\n");
    EXPECT_EQ(boxes.shown[0].style, 0u);
}

TEST_F(LibraryTest, ReallocKeepsContentsAndZeroesWhatIsNew) {
    for (const uint32_t from : {10u, 62u, 63u, 500u}) {
        for (const uint32_t to : {1u, 8u, 62u, 200u, 5000u}) {
            SCOPED_TRACE(testing::Message() << from << " to " << to);
            auto* block = static_cast<unsigned char*>(alloc_memory(from));
            std::memset(block, 'k', from);
            block = static_cast<unsigned char*>(realloc_mem(block, to));
            EXPECT_EQ(ClassByteOf(block), 0);
            const uint32_t kept = std::min(from, to);
            EXPECT_EQ(std::count(block, block + kept, 'k'), static_cast<ptrdiff_t>(kept));
            const uint32_t taken = from <= 62 ? from / 4 * 4 + 4 : from;  // a slot goes whole
            if (to > taken) {
                EXPECT_TRUE(IsZero(block + taken, to + 1 - taken));
            }
            if (from <= 62) {
                EXPECT_EQ(block[to], 0);
            }
            free_mem(&block);
        }
    }
}

TEST_F(LibraryTest, ReallocOfNothingAndOfSharedStringsMakesAZeroedBlock) {
    void* const nothings[] = {nullptr, VR_SHARED_STRING(TrueVrStr), reinterpret_cast<void*>(5)};
    for (void* nothing : nothings) {
        void* block = realloc_mem(nothing, 12);
        EXPECT_TRUE(IsZero(block, 13));
        EXPECT_EQ(ClassByteOf(block), 0);
        EXPECT_EQ(realloc_mem(block, 0), nullptr);
        free_mem(&block);
    }
}

TEST_F(LibraryTest, ReallocOfALongStringKeepsItsCapacityTrue) {
    VrString s = StringOfBytes(std::string(200, 'a'));
    UtilPosition position = {1, 0, 0, 4};
    VrString element = StrToVrStr("b");
    s = UtilInsertReplace(&position, s, element, 1);
    EXPECT_EQ(MemoAttributeOf(s), 1);
    s = static_cast<VrString>(realloc_mem(s, 1005));
    EXPECT_EQ(CapacityOf(s), 1000u);
    EXPECT_EQ(MemoAttributeOf(s), 0);
    EXPECT_EQ(BytesOf(s), "b");

    // The room that the word promises is there.
    VrString longest = StringOfBytes(std::string(999, 'c'));
    EXPECT_EQ(UtilInsertReplace(&position, s, longest, 1), s);
    s = static_cast<VrString>(realloc_mem(s, 3));
    EXPECT_EQ(CapacityOf(s), 0u);
    for (VrString* string : {&s, &element, &longest})
        free_mem(string);
}

TEST_F(LibraryTest, MoreBlocksAreThePlatformsOwn) {
    auto* block = static_cast<unsigned char*>(CallocMore(40, nullptr));
    EXPECT_TRUE(IsZero(block, 40));
    std::memset(block, 1, 40);
    block = static_cast<unsigned char*>(MallocMore(90, block));
    EXPECT_EQ(std::count(block, block + 40, 1), 40);
    EXPECT_TRUE(IsZero(block + 40, 50));
    LocalFree(block);
}

int calls[16];

void Count(VrWord data, VrWord value) {
    calls[data] += static_cast<int>(value);
}

TEST(Callbacks, KindsHoldTenPairsEach) {
    EXPECT_EQ(MemAddCallback(-1, Count, 0), -1);
    EXPECT_EQ(MemCallCallbacks(3, 0), -1);
    EXPECT_EQ(MemRemoveCallback(3, Count, 0), -1);
    EXPECT_EQ(MemAddCallback(2, nullptr, 4), 1);
    for (VrWord data = 0; data < 11; ++data)
        EXPECT_EQ(MemAddCallback(2, Count, data), 1);
    MemCallCallbacks(2, 1);
    EXPECT_EQ(calls[0] + calls[9], 2);
    EXPECT_EQ(calls[10], 0) << "the eleventh pair is dropped";

    EXPECT_EQ(MemRemoveCallback(2, Count, 12), 1);
    EXPECT_EQ(MemRemoveCallback(2, Count, 3), 1);
    MemAddCallback(2, Count, 9);  // now twice
    MemCallCallbacks(2, 1);
    MemCallCallbacks(0, 1);
    EXPECT_EQ(calls[3], 1);
    EXPECT_EQ(calls[9], 3);
}

TEST_F(LibraryTest, StateAndTheEmptyExports) {
    uint32_t total = 0;
    uint32_t largest = 0;
    EXPECT_EQ(MemState(&total, &largest), 1);
    EXPECT_EQ(total, 0x100000u);
    EXPECT_GT(largest, 1u << 20);
    EXPECT_EQ(MemAvail(5) + MemDebugFormat(1, 2, 3, 4, 5, 6), 0);
}

}  // namespace
