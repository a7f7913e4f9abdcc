/* Tracked memory: blocks for the library and its hosts, and what happens when
 * memory runs out.
 *
 * A request of up to 62 bytes is served from a pool in constant time and without
 * a platform call; larger ones cost one platform block. Every block is given
 * back with free_mem, which clears the caller's variable.
 *
 * A request for at least one byte never comes back empty-handed. When the
 * platform refuses a block, the library gives up a reserve of 4096 bytes, tells
 * the user, runs the low-memory callbacks (kind 0) and then asks the user before
 * each of up to 10 further attempts. If none succeeds, or the user cancels, it
 * runs the callbacks of kind 1 and ends the run through VrExit(9); should that
 * return, the process ends with code 9. The run ends so too, after a message, when the
 * reserve cannot be had again. Requests of kVrRefusedSize bytes or
 * more, header included, go that last way at once, after a message. */
#ifndef VR_MEMORY_H
#define VR_MEMORY_H

#include "vr/abi.h"

/* The sizes that the text names. */
enum {
    kVrRefusedSize = 0x1400000, /* bytes; the smallest request that is refused */
    kVrScratchSize = 10240      /* bytes in each of the five scratch areas */
};

VR_BEGIN

/* A block of `size` bytes, all zero, with one zero byte more behind them. Null
 * for size 0. The caller owns it. */
VR_API void* _alloc_memory(uint32_t size, const char* tag, int32_t line);

/* A block of `size` bytes of undefined content, never from a pool. Null for size
 * 0. The caller owns it. */
VR_API void* _malloc_memory(uint32_t size, const char* tag, int32_t line);

/* The block at its new size. It may have moved, and then the old address is
 * gone; contents survive up to the smaller size, and bytes that are new are zero.
 *
 * Size 0 gives null and leaves the block as it was. A null `block`, a shared
 * string or a value of 256 or below gives a new zeroed block. A block from a pool
 * (size 62 or less) always becomes a large one, which takes over its whole slot, up
 * to 4 bytes more than were asked for, and has a zero byte behind `size` bytes. A
 * long string keeps its header true: the capacity is what now fits, the length is cut to
 * it, and the memo is gone. */
VR_API void* _realloc_mem(void* block, uint32_t size, const char* tag, int32_t line);

/* Gives back the block whose address the pointer variable at `variable` holds,
 * and clears that variable. Null and the shared strings are passed over and left
 * in place, and so is a null `variable`. A value of 256 or below is no block: a message
 * says so, and the variable is cleared. Always returns 0. */
VR_API int32_t _free_mem(void* variable, const char* tag, int32_t line);

/* A platform block of exactly `size` bytes, with the recovery told above but
 * without the header of a tracked block: it goes back through the platform's
 * LocalFree, never through free_mem. `block` is null for a new block, else the
 * block to resize, whose new bytes are zero. A new block is zeroed by CallocMore
 * and undefined from MallocMore. */
VR_API void* _CallocMore(uint32_t size, void* block, const char* tag, int32_t line);
VR_API void* _MallocMore(uint32_t size, void* block, const char* tag, int32_t line);

#ifndef VR_NO_POSITION_MACROS
#define alloc_memory(size) _alloc_memory((size), VR_MODULE, __LINE__)
#define malloc_memory(size) _malloc_memory((size), VR_MODULE, __LINE__)
#define realloc_mem(block, size) _realloc_mem((block), (size), VR_MODULE, __LINE__)
#define free_mem(variable) _free_mem((variable), VR_MODULE, __LINE__)
#define CallocMore(size, block) _CallocMore((size), (block), VR_MODULE, __LINE__)
#define MallocMore(size, block) _MallocMore((size), (block), VR_MODULE, __LINE__)
#endif

/* Five scratch areas of kVrScratchSize bytes, from UtilInit to VrExit. Nobody
 * tracks who uses one: fill it and finish with it before any call that may use
 * the same area. The library uses MemBuf1 for the messages of the walks and while it
 * loads a conversion file, MemBuf3 and MemBuf4 while it resolves a command word;
 * MemBuf2 and MemBuf5 are free for hosts. */
extern VR_API char* MemBuf1;
extern VR_API char* MemBuf2;
extern VR_API char* MemBuf3;
extern VR_API char* MemBuf4;
extern VR_API char* MemBuf5;

/* What a callback list is raised for. */
enum {
    kVrMemoryShort = 0,      /* give memory back */
    kVrMemoryExhausted = 1,  /* the run is about to end for lack of memory */
    kVrTooManyOpenFiles = 2, /* close something */
    kVrCallbackKinds = 3,    /* kinds that there are */
    kVrCallbackSlots = 10    /* pairs that each kind holds */
};

/* A callback gets the data word it was registered with and the value given to
 * MemCallCallbacks, which is 0 inside the library. It runs inside the call that was
 * short of something, and gives back what it can spare. What it asks for itself does
 * not run the callbacks of its kind again. One of kind 0 takes nothing that may stand
 * half done in the interrupted call: no quark, handle, item, file or lock. */
typedef void (*MemCallback)(VrWord data, VrWord value);

/* Adds the pair to the kind's list; a pair may stand there twice. With all slots
 * taken the pair is dropped, as is one without a routine. Works before UtilInit too, as
 * do the two below. Returns 1, or -1 for a kind that does not exist. */
VR_API int32_t MemAddCallback(int32_t kind, MemCallback routine, VrWord data);

/* Takes the first such pair off the list, if there is one. Returns as above. */
VR_API int32_t MemRemoveCallback(int32_t kind, MemCallback routine, VrWord data);

/* Calls the kind's routines in the order of their slots. Returns as above. */
VR_API int32_t MemCallCallbacks(int32_t kind, VrWord value);

/* Writes 0x100000 to `total`, and to `largest` the largest free block of address
 * space in bytes. Always returns 1. */
VR_API int32_t MemState(uint32_t* total, uint32_t* largest);

/* Kept for hosts that call them; they do nothing, and return 0 where they
 * return anything. */
VR_API int32_t MemAvail(int32_t ignored);
VR_API void PgmMemInit(void);
VR_API void PgmMemReport(int32_t ignored);
VR_API void MemDump(void);
VR_API void MemCheckBounds(void);
VR_API int32_t MemDebugFormat(VrWord a, VrWord b, VrWord c, VrWord d, VrWord e, VrWord f);

VR_END

#endif
