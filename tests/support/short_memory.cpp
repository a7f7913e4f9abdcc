#include "tests/support/short_memory.h"

#include <cstdlib>
#include <new>

int piecesLeft = -1;

void* operator new(size_t size, const std::nothrow_t&) noexcept {
    if (piecesLeft == 0) return nullptr;
    if (piecesLeft > 0) --piecesLeft;
    return std::malloc(size);
}

void* operator new(size_t size) {
    void* piece = operator new(size, std::nothrow);
    if (piece == nullptr) throw std::bad_alloc();
    return piece;
}

void operator delete(void* piece) noexcept {
    std::free(piece);
}

void operator delete(void* piece, size_t) noexcept {
    std::free(piece);
}
