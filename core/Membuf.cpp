// Memory buffers are chunk chains with a unit of their creator's choice; buffer
// descriptors are one block that grows by steps.

#define VR_MODULE "Membuf"

#include <algorithm>
#include <cstring>

#include "core/Chunks.h"
#include "core/Copy.h"
#include "core/vrmem.h"
#include "vr/buffer.h"

namespace {

// Grows by all the steps needed at once. Block and step are sizes that the allocator granted, so
// the sum stays below 32 bits; the allocator refuses a size that no block can have.
[[gnu::noinline]] void Grow(BufDscr& buffer, int64_t missing) {
    const int64_t steps = (missing + buffer.step - 1) / buffer.step;
    const int64_t capacity = buffer.capacity + steps * buffer.step;
    buffer.data =
        static_cast<unsigned char*>(realloc_mem(buffer.data, static_cast<uint32_t>(capacity)));
    buffer.capacity = static_cast<int32_t>(capacity);
}

}  // namespace

MemBuf* MemBufCreate(int32_t unitSize) {
    if (unitSize < 1) return nullptr;
    auto* buffer = static_cast<MemBuf*>(alloc_memory(sizeof(MemBuf)));
    buffer->unitSize = unitSize;
    return buffer;
}

void MemBufDestroy(MemBuf* buffer) {
    if (buffer == nullptr) return;
    vr::FreeChunks(buffer->chunks);
    free_mem(&buffer);
}

void* MemBufAlloc(MemBuf* buffer, int32_t size) {
    if (buffer == nullptr) return nullptr;
    return vr::TakePiece(buffer->chunks, buffer->unitSize, size, VR_MODULE);
}

int32_t MemBufSize(const MemBuf* buffer, int32_t* reserved) {
    *reserved = buffer == nullptr ? 0 : buffer->chunks.units * buffer->unitSize;
    return buffer == nullptr ? 0 : buffer->chunks.used;
}

BufDscr* BufDscrCreate(int32_t size) {
    if (size < 1) return nullptr;
    auto* buffer = static_cast<BufDscr*>(alloc_memory(sizeof(BufDscr)));
    auto* data = static_cast<unsigned char*>(alloc_memory(static_cast<uint32_t>(size)));
    *buffer = {.capacity = size, .step = size, .used = 0, .data = data};
    return buffer;
}

void BufDscrDestroy(BufDscr* buffer) {
    if (buffer == nullptr) return;
    free_mem(&buffer->data);
    free_mem(&buffer);
}

BufDscr* AddStrToBuffer(BufDscr* buffer, const void* source, int32_t length,
                        unsigned char endByte) {
    if (buffer == nullptr) return nullptr;
    length = source == nullptr ? 0 : std::max(length, 0);
    const int64_t missing =
        int64_t{length} + (endByte != 0 ? 1 : 0) - (buffer->capacity - buffer->used);
    if (missing > 0) Grow(*buffer, missing);
    vr::CopyBytes(buffer->data + buffer->used, static_cast<const uint8_t*>(source),
                  static_cast<size_t>(length));
    buffer->used += length;
    if (endByte != 0) buffer->data[buffer->used++] = endByte;
    return buffer;
}

VrString BufDscrMakeVrStr(const BufDscr* buffer) {
    if (buffer == nullptr) return vr::NullString();
    return vr::StringOf(buffer->data, static_cast<size_t>(buffer->used), VR_MODULE, __LINE__);
}
