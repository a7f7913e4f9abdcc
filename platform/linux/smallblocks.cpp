// Small blocks, as most strings are. A page is a block of the C heap that is cut into pieces of one
// size, so that taking and freeing a piece is a few moves each; the C heap splits and joins its
// blocks, which takes about twice as many instructions.
//
// A page that has a free piece is on its size's open list. When all its pieces are free it goes
// back to the C heap, unless it is the only page on the list.

#include "linux/smallblocks.h"

#include <pthread.h>
#include <sys/single_threaded.h>

#include <cstdint>
#include <cstdlib>
#include <mutex>
#include <new>

namespace vrplatform {

namespace {

constexpr size_t kSizeStep = 16;  // bytes from one size of pieces to the next
constexpr size_t kLargestPiece = 1040;
constexpr size_t kSizeCount = kLargestPiece / kSizeStep;
constexpr size_t kPageSize = 16352;  // 16 KB with what the C heap adds

// An address sanitizer detects a use after a free only if each block is one of the C heap.
#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define PLATFORM_SANITIZED
#endif
#elif defined(__SANITIZE_ADDRESS__)
#define PLATFORM_SANITIZED
#endif
#ifdef PLATFORM_SANITIZED
constexpr size_t kLargestServed = 0;
#else
constexpr size_t kLargestServed = kLargestPiece;
#endif

struct FreePiece {
    FreePiece* next;
};

}  // namespace

struct alignas(kSizeStep) PiecePage {
    PiecePage* next;  // on the open list
    PiecePage* previous;
    FreePiece* free;
    uint32_t freeCount;
    uint32_t pieceCount;
    uint32_t sizeIndex;
};

namespace {

PiecePage* openPages[kSizeCount];  // by size, the smallest first
std::mutex mutex;

// Costs nothing in a process of one thread.
class Guard {
public:
    Guard() : locks_(__libc_single_threaded == 0) {
        if (locks_) mutex.lock();
    }
    ~Guard() {
        if (locks_) mutex.unlock();
    }
    Guard(const Guard&) = delete;
    Guard& operator=(const Guard&) = delete;

private:
    bool locks_;
};

// A fork in the middle of another thread's call must not leave the child a locked mutex.
[[maybe_unused]] const int forkHandlers =
    pthread_atfork([] { mutex.lock(); }, [] { mutex.unlock(); }, [] { mutex.unlock(); });

void Open(PiecePage& page) {
    PiecePage*& first = openPages[page.sizeIndex];
    page.next = first;
    page.previous = nullptr;
    if (first != nullptr) first->previous = &page;
    first = &page;
}

void TakeOffList(PiecePage& page) {
    (page.previous == nullptr ? openPages[page.sizeIndex] : page.previous->next) = page.next;
    if (page.next != nullptr) page.next->previous = page.previous;
}

[[gnu::noinline]] PiecePage* MakePage(size_t sizeIndex) {
    auto* page = static_cast<PiecePage*>(std::malloc(kPageSize));
    if (page == nullptr) return nullptr;
    const size_t size = (sizeIndex + 1) * kSizeStep;
    const size_t count = (kPageSize - sizeof *page) / size;
    char* pieces = reinterpret_cast<char*>(page + 1);
    auto* free = new (pieces + (count - 1) * size) FreePiece{nullptr};
    for (size_t i = count - 1; i-- != 0;)
        free = new (pieces + i * size) FreePiece{free};
    *page = {.next = nullptr,
             .previous = nullptr,
             .free = free,
             .freeCount = static_cast<uint32_t>(count),
             .pieceCount = static_cast<uint32_t>(count),
             .sizeIndex = static_cast<uint32_t>(sizeIndex)};
    Open(*page);
    return page;
}

[[gnu::noinline]] void DropIfNotTheOnlyOne(PiecePage& page) {
    if (page.next == nullptr && page.previous == nullptr) return;
    TakeOffList(page);
    std::free(&page);
}

}  // namespace

void* TakePiece(size_t size, PiecePage*& page) {
    if (size == 0 || size > kLargestServed) return nullptr;
    const size_t sizeIndex = (size - 1) / kSizeStep;
    const Guard guard;
    page = openPages[sizeIndex];
    if (page == nullptr) page = MakePage(sizeIndex);
    if (page == nullptr) return nullptr;
    FreePiece* piece = page->free;
    page->free = piece->next;
    if (--page->freeCount == 0) TakeOffList(*page);
    return piece;
}

void GivePieceBack(void* piece, PiecePage* page) {
    const Guard guard;
    page->free = new (piece) FreePiece{page->free};
    if (++page->freeCount == 1) Open(*page);
    if (page->freeCount == page->pieceCount) DropIfNotTheOnlyOne(*page);
}

size_t PieceSize(const PiecePage& page) {
    return (page.sizeIndex + 1) * kSizeStep;
}

}  // namespace vrplatform
