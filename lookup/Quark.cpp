// Quarks: a hash table leads from text to number, an array from number to text. Both
// keep their texts in the fixed store, for the rest of the run.

#define VR_MODULE "Quark"

#include "lookup/Quark.h"

#include <cstring>

#include "core/Array.h"
#include "vr/fixed.h"
#include "vr/hash.h"
#include "vr/memory.h"
#include "vr/quark.h"

namespace {

constexpr int32_t kBuckets = 2048;
constexpr int32_t kTextsPerStep = 200;

HashTable* numbers = nullptr;  // by text
const char** texts = nullptr;  // by number; slot 0 is never used
int32_t capacity = 0;
int32_t nextQuark = 1;

void Grow() {
    vr::GrowArray(texts, capacity, kTextsPerStep, VR_MODULE, __LINE__);
}

void FreeQuarks() {
    HashTableDestroy(numbers);
    numbers = nullptr;
    free_mem(&texts);
    capacity = 0;
    nextQuark = 1;
}

}  // namespace

void vr::StartQuarks(const UtilInitRecord&) {
    numbers = HashTableCreate(kBuckets, nullptr, 0, 1);
    Grow();
    Quark("");
    VrExitAdd(FreeQuarks);
}

int32_t Quark(const char* text) {
    if (text == nullptr) return 0;
    const VrWord known = HashTableLookup(numbers, text);
    if (known != 0) return static_cast<int32_t>(known);
    HashTableInstall(numbers, text, static_cast<VrWord>(nextQuark));
    if (nextQuark == capacity) Grow();
    const auto size = static_cast<int32_t>(std::strlen(text)) + 1;
    texts[nextQuark] = static_cast<const char*>(MemFixedWrite(text, size));
    return nextQuark++;
}

const char* QuarkToString(int32_t quark) {
    return quark < 1 || quark >= nextQuark ? nullptr : texts[quark];
}
