// Memory that ends: the next pieces that operator new gives, to the case and to the
// libraries, can be counted out.
#ifndef TESTS_SUPPORT_SHORT_MEMORY_H
#define TESTS_SUPPORT_SHORT_MEMORY_H

// How many are left before there is no memory any more; -1 for any number.
extern int piecesLeft;

// How many pieces of memory a service needs: with fewer it must fail.
template <typename Service>
int PiecesNeeded(Service service) {
    for (int pieces = 0;; ++pieces) {
        piecesLeft = pieces;
        const bool succeeded = service();
        piecesLeft = -1;
        if (succeeded) return pieces;
    }
}

#endif
