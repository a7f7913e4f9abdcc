// Region heaps: chunk chains of 4096-byte units, all in one list so that a host can destroy those
// it no longer knows of.

#define VR_MODULE "Heap"

#include "vr/heap.h"

#include <cstring>

#include "core/Chunks.h"
#include "core/vrmem.h"

namespace {

VrHeap* newestHeap = nullptr;

void* Write(VrHeap* heap, const void* source, int32_t count) {
    void* piece = vrHeapAlloc(heap, count);
    if (piece != nullptr) std::memcpy(piece, source, static_cast<size_t>(count));
    return piece;
}

// A heap that vrHeapInitialise forgot has no predecessor, but is not the newest.
void TakeOutOfList(VrHeap* heap) {
    if (heap->previous != nullptr) heap->previous->next = heap->next;
    if (heap == newestHeap) newestHeap = heap->next;
    if (heap->next != nullptr) heap->next->previous = heap->previous;
}

}  // namespace

void vrHeapInitialise() {
    newestHeap = nullptr;
}

VrHeap* vrHeapCreate() {
    auto* heap = static_cast<VrHeap*>(alloc_memory(sizeof(VrHeap)));
    heap->next = newestHeap;
    if (newestHeap != nullptr) newestHeap->previous = heap;
    newestHeap = heap;
    return heap;
}

void vrHeapDestroy(VrHeap* heap) {
    if (heap == nullptr) return;
    vr::FreeChunks(heap->chunks);
    TakeOutOfList(heap);
    free_mem(&heap);
}

void vrHeapDestroyAll() {
    while (newestHeap != nullptr)
        vrHeapDestroy(newestHeap);
}

void* vrHeapAlloc(VrHeap* heap, int32_t size) {
    return heap == nullptr ? nullptr : vr::TakePiece(heap->chunks, kVrHeapUnit, size, VR_MODULE);
}

char* vrHeapWriteStr(VrHeap* heap, const char* text) {
    if (text == nullptr) text = "";
    return static_cast<char*>(Write(heap, text, static_cast<int32_t>(std::strlen(text) + 1)));
}

void* vrHeapWriteNChars(VrHeap* heap, const void* source, int32_t count) {
    return Write(heap, source, count);
}

int32_t vrHeapSize(const VrHeap* heap, int32_t* reserved) {
    *reserved = heap == nullptr ? 0 : heap->chunks.units * kVrHeapUnit;
    return heap == nullptr ? 0 : heap->chunks.used;
}

VrString vrHeapUnloadToVrString(const VrHeap* heap) {
    if (heap == nullptr) return vr::NullString();
    VrString s = alloc_string(static_cast<uint32_t>(heap->chunks.used));
    unsigned char* out = VrStrText(s);
    for (const VrChunk* chunk = heap->chunks.first; chunk != nullptr; chunk = chunk->next) {
        const auto* pieces = reinterpret_cast<const unsigned char*>(chunk + 1);
        const auto used = static_cast<size_t>(chunk->lastByte + 1 - pieces);
        std::memcpy(out, pieces, used);
        out += used;
    }
    return s;
}
