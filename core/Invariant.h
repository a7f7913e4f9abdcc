// Invariants that no caller can break, asserted in debug, checking and sanitizer builds. In
// the others the condition is compiled and not evaluated.
#ifndef CORE_INVARIANT_H
#define CORE_INVARIANT_H

#include <cstdio>
#include <cstdlib>

namespace vr {

#if !defined(NDEBUG) || defined(VR_CHECK)
constexpr bool kAsserts = true;
#else
constexpr bool kAsserts = false;
#endif

[[noreturn]] inline void EndForInvariant(const char* invariant, const char* module, int line) {
    std::fprintf(stderr, "vrbase itself is at fault [%s,%d]: not %s\n", module, line, invariant);
    std::abort();
}

}  // namespace vr

#define VR_INVARIANT(condition)                                                     \
    do {                                                                            \
        if constexpr (vr::kAsserts) {                                               \
            if (!(condition)) vr::EndForInvariant(#condition, VR_MODULE, __LINE__); \
        }                                                                           \
    } while (false)

#endif
