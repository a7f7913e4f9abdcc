// Pieces for small blocks of memory, cut from pages. Any thread may take and free them.
#ifndef LINUX_SMALLBLOCKS_H
#define LINUX_SMALLBLOCKS_H

#include <cstddef>

namespace vrplatform {

struct PiecePage;

// A piece of at least `size` bytes, and its page; null for a larger size than there are pieces of,
// and when there is no memory. Its address is a multiple of 16.
void* TakePiece(size_t size, PiecePage*& page);
void GivePieceBack(void* piece, PiecePage* page);

// Bytes that a piece of the page has.
size_t PieceSize(const PiecePage& page);

}  // namespace vrplatform

#endif
