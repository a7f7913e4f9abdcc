// Where the fuzzer, or what stands in for it, comes in: each input finds the library up and
// must leave nothing allocated.

#include "fuzz/fuzz.h"

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // Each of the allocator's 16 pools may keep two free pages.
    static const uint32_t blocks = (UtilInit(nullptr), ControlBlocksOut() + 16 * 2);
    boxesShown.Attach();
    boxesShown.shown.clear();
    Input in(data, size);
    TryInput(in);
    // A leak of small blocks shows when an input was run about a hundred times.
    // The checking library holds blocks back, and lists leaks itself.
    if (std::getenv("VRCHECK_LOG") == nullptr) HOLDS(ControlBlocksOut() <= blocks);
    return 0;
}
