// The exported functions of the tracked allocator. A caller holds only the payload's address; the
// byte before it says whether the block came from a pool, is a platform block of its own, or is a
// long string, whose header is longer. That byte decides how a block is resized and freed.

#define VR_MODULE "vrmem"

#include "core/vrmem.h"

#include <cstring>

#include "core/Util.h"
#include "core/vrmem_check.h"
#include "core/vrmem_poison.h"
#include "platform/memory.h"
#include "platform/messagebox.h"

char* MemBuf1 = nullptr;
char* MemBuf2 = nullptr;
char* MemBuf3 = nullptr;
char* MemBuf4 = nullptr;
char* MemBuf5 = nullptr;

namespace {

constexpr uint32_t kLargeHeaderSize = 4;
constexpr uint32_t kLongHeaderSize = sizeof(vr::LongHeader);
constexpr uint32_t kSpareByte = 1;  // the zero after every zeroed block
constexpr uint32_t kSharedBlockSize = 10;
constexpr uintptr_t kLowestAddress = 257;  // a lower value is no block
constexpr uint32_t kMemoryTotal = 0x100000;

bool memoryIsUp = false;

char** const kScratchAreas[] = {&MemBuf1, &MemBuf2, &MemBuf3, &MemBuf4, &MemBuf5};
unsigned char** const kSharedStrings[] = {&NullVrStr, &FalseVrStr, &TrueVrStr};

bool IsAddress(const void* value) {
    return reinterpret_cast<uintptr_t>(value) >= kLowestAddress;
}

void* LargePayload(void* platformBlock) {
    std::memset(platformBlock, 0, kLargeHeaderSize);
    return static_cast<char*>(platformBlock) + kLargeHeaderSize;
}

// Not inlined, like FreeOther, so that blocks from a pool stay fast.
[[gnu::noinline]] void* NewLargeBlock(uint32_t size, const char* tag, int32_t line) {
    if constexpr (vr::check::kOn) return vr::check::NewBlock({size, 0, true}, {tag, line});
    const uint32_t total = vr::Saturated(uint64_t{size} + kLargeHeaderSize + kSpareByte);
    return LargePayload(_CallocMore(total, nullptr, tag, line));
}

uint32_t HeaderSize(const void* payload) {
    return vr::IsLong(payload) ? kLongHeaderSize : kLargeHeaderSize;
}

void* PlatformBlockOf(void* payload) {
    return static_cast<char*>(payload) - HeaderSize(payload);
}

// Resizes a block that has a platform block of its own, with either header. The checking library
// resizes in a way of its own.
[[maybe_unused]] void* ResizePlatformBlock(void* payload, uint32_t size, const char* tag,
                                           int32_t line) {
    const uint32_t header = HeaderSize(payload);
    const uint32_t total = vr::Saturated(uint64_t{size} + header + kSpareByte);
    void* block = _CallocMore(total, PlatformBlockOf(payload), tag, line);
    return static_cast<char*>(block) + header;
}

// Editing trusts capacity, length and memo. The spare byte holds the zero, so all bytes but
// the length word are text; a block of fewer than four bytes has not even that word.
void FitLongString(void* payload, uint32_t size) {
    auto s = static_cast<VrString>(payload);
    vr::LongHeader& header = vr::LongHeaderOf(payload);
    header.capacity = size > sizeof s->length ? size - sizeof s->length : 0;
    if (size < sizeof s->length) return;
    if (s->length > static_cast<int32_t>(header.capacity)) {
        s->length = static_cast<int32_t>(header.capacity);
        VrStrText(s)[header.capacity] = 0;
    }
    const int32_t end = s->length + static_cast<int32_t>(sizeof s->length);  // as a cursor
    if (header.memo.cursor > end) header.memo = {};
}

void* MoveSlotToLargeBlock(void* slot, uint32_t size, const char* tag, int32_t line) {
    void* block = NewLargeBlock(size, tag, line);
    const uint32_t slotSize = vr::SlotSize(slot);
    vr::poison::Open(slot, static_cast<int32_t>(slotSize));
    std::memcpy(block, slot, size < slotSize ? size : slotSize);
    vr::GiveSlotBack(slot);
    return block;
}

// Frees everything but a slot. False for a value that is ignored.
[[gnu::noinline]] bool FreeOther(void* value) {
    if (value == nullptr || vr::IsSharedString(value)) return false;
    if (IsAddress(value)) {
        LocalFree(PlatformBlockOf(value));
    } else {
        vr::ShowBox("MEM:freeing pointer < 0x100\n", MB_OK);
    }
    return true;
}

// In the checking library: frees a value that is meant to be a block. False for all others.
[[maybe_unused]] bool FreeChecked(void* value, const vr::check::Place& now) {
    if (value == nullptr || vr::IsSharedString(value)) return false;
    const bool isAddress = IsAddress(value);
    if constexpr (vr::check::kOn) {
        (isAddress ? vr::check::GiveBack : vr::check::ReportNumber)(value, now);
    }
    return isAddress;
}

void* NewScratchArea() {
    if constexpr (vr::check::kOn) return vr::check::NewArea(kVrScratchSize);
    return MallocMore(kVrScratchSize, nullptr);
}

void FreeArea(void* area) {
    if constexpr (vr::check::kOn) return vr::check::FreeArea(area);
    LocalFree(area);
}

unsigned char* NewSharedString(const char* text) {
    auto* block =
        static_cast<unsigned char*>(vr::check::kOn ? vr::check::NewArea(kSharedBlockSize)
                                                   : CallocMore(kSharedBlockSize, nullptr));
    VrString s = VR_SHARED_STRING(block);
    const size_t length = std::strlen(text);
    s->length = static_cast<int32_t>(length);
    std::memcpy(VrStrText(s), text, length);
    return block;
}

void FreeMemory() {
    if constexpr (vr::check::kOn) vr::check::LookAtAreas({"VrExit", 0});
    vr::FreeFixedStore();
    if constexpr (vr::check::kOn) vr::check::Finish();
    vr::FreeReserves();
    for (char** area : kScratchAreas)
        FreeArea(*area);
    for (unsigned char** shared : kSharedStrings)
        FreeArea(*shared);
    vr::FreePools();
}

}  // namespace

void vr::StartMemory(const UtilInitRecord&) {
    StartReserves();
    for (char** area : kScratchAreas) {
        *area = static_cast<char*>(NewScratchArea());
    }
    NullVrStr = NewSharedString("");
    FalseVrStr = NewSharedString("0");
    TrueVrStr = NewSharedString("1");
    if constexpr (vr::check::kOn) vr::check::KeepSharedStrings();
    VrExitAdd(FreeMemory);
    memoryIsUp = true;
    StartPools();
    StartFixedStore();
}

bool vr::MemoryIsUp() {
    return memoryIsUp;
}

void* _alloc_memory(uint32_t size, const char* tag, int32_t line) {
    if (size == 0) return nullptr;
    if constexpr (vr::check::kOn) {
        const uint8_t classByte = size <= vr::kLargestPooledSize ? vr::kPoolSlotClass : uint8_t{0};
        return vr::check::NewBlock({size, classByte, true}, {tag, line});
    }
    if (size <= vr::kLargestPooledSize) {
        if (void* slot = vr::TakeSlot(size + kSpareByte)) return slot;
    }
    return NewLargeBlock(size, tag, line);
}

void* _malloc_memory(uint32_t size, const char* tag, int32_t line) {
    if (size == 0) return nullptr;
    if constexpr (vr::check::kOn) return vr::check::NewBlock({size, 0, false}, {tag, line});
    return LargePayload(
        _MallocMore(vr::Saturated(uint64_t{size} + kLargeHeaderSize), nullptr, tag, line));
}

void* _realloc_mem(void* block, uint32_t size, const char* tag, int32_t line) {
    if (size == 0) return nullptr;
    if (!IsAddress(block) || vr::IsSharedString(block)) return NewLargeBlock(size, tag, line);
    if (!vr::check::kOn && vr::ClassByte(block) == vr::kPoolSlotClass) {
        return MoveSlotToLargeBlock(block, size, tag, line);
    }
    void* resized = nullptr;
    if constexpr (vr::check::kOn) {
        resized = vr::check::Resize(block, size, {tag, line});
    } else {
        resized = ResizePlatformBlock(block, size, tag, line);
    }
    if (vr::IsLong(resized)) FitLongString(resized, size);
    return resized;
}

int32_t _free_mem(void* variable, [[maybe_unused]] const char* tag, [[maybe_unused]] int32_t line) {
    void* block = nullptr;
    if (variable == nullptr) return 0;
    std::memcpy(&block, variable, sizeof block);  // a pointer of whatever type
    bool isChecked = false;
    if constexpr (vr::check::kOn) isChecked = FreeChecked(block, {tag, line});
    // The bytes before a shared string read as a large block's header.
    if (!isChecked && IsAddress(block) && vr::ClassByte(block) == vr::kPoolSlotClass) [[likely]] {
        vr::GiveSlotBack(block);
    } else if (!isChecked && !FreeOther(block)) {
        return 0;
    }
    std::memset(variable, 0, sizeof block);
    return 0;
}

int32_t MemState(uint32_t* total, uint32_t* largest) {
    *total = kMemoryTotal;
    *largest = GlobalCompact(0);
    return 1;
}

int32_t MemAvail(int32_t) {
    return 0;
}

void PgmMemInit() {}

void PgmMemReport(int32_t) {
    if constexpr (vr::check::kOn) vr::check::WriteSummary();
}

void MemDump() {
    if constexpr (vr::check::kOn) vr::check::WriteBlocks();
}

void MemCheckBounds() {
    if constexpr (vr::check::kOn) vr::check::LookAtAll({"MemCheckBounds", 0});
}

int32_t MemDebugFormat(VrWord, VrWord, VrWord, VrWord, VrWord, VrWord) {
    return 0;
}
