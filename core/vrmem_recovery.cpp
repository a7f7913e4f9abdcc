// Asks the platform for memory, and recovers when it refuses. Two reserves of 4096 bytes are taken
// at the start and released in a shortage: the first gives message boxes and callbacks some memory
// to work with, the last the end of the run. A request returns with a block and with the first
// reserve held again, or it does not return.

#include "core/Util.h"
#include "core/vrmem.h"
#include "core/vrmem_check.h"
#include "platform/memory.h"
#include "platform/messagebox.h"
#include "platform/process.h"

namespace {

constexpr uint32_t kReserveSize = 4096;
constexpr int32_t kRetriesGranted = 10;
constexpr int32_t kExitCodeNoMemory = 9;

constexpr char kGettingLow[] = "System is getting low on memory!\n  Try closing other applications";
constexpr char kOutOfMemory[] =
    "  System is out of memory!\nTry closing other applications  "
    "RETRY will try again or\n      CANCEL will exit";
constexpr char kInsufficient[] = "Insufficient memory, exiting.";

void* firstReserve = nullptr;
void* lastReserve = nullptr;

struct Request {
    uint32_t size;
    void* block;  // to resize, or null for a new one
    uint32_t newBlockFlags;
};

void* Attempt(const Request& request) {
    return request.block != nullptr
               ? LocalReAlloc(request.block, request.size, LMEM_MOVEABLE | LMEM_ZEROINIT)
               : LocalAlloc(request.newBlockFlags, request.size);
}

void GiveUp(void*& reserve) {
    reserve = LocalFree(reserve);
}

// Callers do not expect a null result, so if VrExit returns the process ends here.
[[noreturn]] void EndRun() {
    GiveUp(lastReserve);
    vr::RaiseCallbacks(kVrMemoryExhausted);
    VrExit(kExitCodeNoMemory);
    ExitProcess(kExitCodeNoMemory);
}

[[noreturn]] void EndRunWithoutReserve() {
    GiveUp(lastReserve);
    vr::ShowBox(kInsufficient, MB_OK | MB_ICONSTOP);
    EndRun();
}

void RaiseMemoryShort(uint32_t size) {
    GiveUp(firstReserve);
    vr::ShowBox(kGettingLow, MB_OK | MB_ICONEXCLAMATION);
    vr::RaiseCallbacks(kVrMemoryShort);
    GlobalCompact(size);
}

// No attempt is made before the user has been asked.
void* AskAndRetry(const Request& request) {
    void* block = nullptr;
    for (int32_t retries = 0; block == nullptr; ++retries) {
        if (firstReserve == nullptr) firstReserve = LocalAlloc(LMEM_FIXED, kReserveSize);
        if (firstReserve == nullptr) EndRunWithoutReserve();
        const int32_t answer = vr::ShowBox(kOutOfMemory, MB_RETRYCANCEL | MB_ICONEXCLAMATION);
        if (answer == IDCANCEL || retries == kRetriesGranted) EndRun();
        GlobalCompact(request.size);
        block = Attempt(request);
    }
    return block;
}

enum class Limit { Applies, WasApplied };

template <Limit kLimit = Limit::Applies>
void* Obtain(const Request& request, const char* tag, int32_t line) {
    if (kLimit == Limit::Applies && request.size >= kVrRefusedSize) {
        VrErrorMessage("Can't alloc %u bytes [%s,%d]", request.size, tag == nullptr ? "" : tag,
                       line);
        EndRun();
    }
    if (void* block = Attempt(request)) return block;
    if constexpr (vr::check::kOn) {
        void* block = vr::check::GiveUpHeld() ? Attempt(request) : nullptr;
        if (block != nullptr) return block;
    }
    RaiseMemoryShort(request.size);
    return AskAndRetry(request);
}

}  // namespace

void vr::StartReserves() {
    lastReserve = LocalAlloc(LMEM_FIXED, kReserveSize);
    firstReserve = LocalAlloc(LMEM_FIXED, kReserveSize);
}

void vr::FreeReserves() {
    GiveUp(firstReserve);
    GiveUp(lastReserve);
}

#ifdef VR_CHECK
void* vr::check::NewGuarded(uint32_t asked, uint32_t guards, bool zeroed, const Place& now) {
    const uint32_t flags = zeroed ? uint32_t{LMEM_ZEROINIT} : uint32_t{LMEM_FIXED};
    if (asked >= kVrRefusedSize) return Obtain({asked, nullptr, flags}, now.module, now.line);
    return Obtain<Limit::WasApplied>({asked + guards, nullptr, flags}, now.module, now.line);
}
#endif

void* _CallocMore(uint32_t size, void* block, const char* tag, int32_t line) {
    return Obtain({size, block, LMEM_ZEROINIT}, tag, line);
}

void* _MallocMore(uint32_t size, void* block, const char* tag, int32_t line) {
    return Obtain({size, block, LMEM_FIXED}, tag, line);
}
