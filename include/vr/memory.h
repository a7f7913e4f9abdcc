/* Tracked memory: blocks for the library and its hosts, and what happens when
 * memory runs out.
 *
 * A request of up to 62 bytes is served from a pool in constant time and without
 * a platform call; larger ones cost one platform block. Every block is given
 * back with free_mem, which clears the caller's variable.
 *
 * A request for at least one byte never returns null. When the
 * platform refuses a block, the library gives up a reserve of 4096 bytes, informs
 * the user, runs the low-memory callbacks (kind 0) and then asks the user, Retry or Cancel,
 * before each of up to 10 further attempts. If none succeeds, or the user cancels, it
 * runs the callbacks of kind 1 and ends the run through VrExit(9); if that
 * returns, the process ends with code 9. The run ends in the same way, after a message, when
 * the reserve cannot be allocated again, and for a request of kVrRefusedSize bytes or
 * more, header included.
 *
 * Without a terminal and without a presenter (platform/messagebox.h, platform/control.h)
 * nobody can answer, and a box gets its safe answer, which is Cancel here. So the first
 * request that is refused ends the run, even when the callbacks gave enough back.
 *
 * The plain names are macros, which VR_NO_POSITION_MACROS leaves out (vr/abi.h), for
 * instance for a C++ host whose classes have a method free_mem. */
#ifndef VR_MEMORY_H
#define VR_MEMORY_H

#include "vr/abi.h"

/* The sizes that the comments name. */
enum {
    kVrRefusedSize = 0x1400000, /* bytes; the smallest request that is refused */
    kVrScratchSize = 10240      /* bytes in each of the five scratch areas */
};

/* `variable` as it is; does not compile unless it is the address of a pointer variable that
 * may be changed. */
#ifdef __cplusplus
template <typename Target>
inline void* VrPointerVariable(Target** variable) {
    return variable;
}
#define VR_POINTER_VARIABLE(variable) VrPointerVariable(variable)
#else
#define VR_POINTER_VARIABLE(variable) \
    _Generic(1 ? &**(variable) : (*(variable) = 0), default : (variable))
#endif

VR_BEGIN

/* A block of `size` bytes, all zero, followed by one more zero byte. Null
 * for size 0. The caller owns it. */
VR_API VR_OWNED VR_FRESH void* _alloc_memory(uint32_t size, const char* tag, int32_t line);

/* A block of `size` bytes of undefined content, never from a pool. Null for size
 * 0. The caller owns it. */
VR_API VR_OWNED VR_FRESH void* _malloc_memory(uint32_t size, const char* tag, int32_t line)
    __attribute__((alloc_size(1)));

/* The block at its new size. It may have moved, and then the old address is
 * invalid; contents survive up to the smaller size, and bytes that are new are zero.
 *
 * Size 0 gives null and leaves the block as it was. A null `block`, a shared
 * string or a value of 256 or below gives a new zeroed block. A block from a pool
 * (size 62 or less) always becomes a large one. The whole slot is copied into it, up
 * to 4 bytes more than were asked for, as far as they fit, with a zero byte after `size`
 * bytes.
 *
 * A long string's header is brought up to date. Its capacity becomes size - 4, which leaves
 * room for the length word; the zero byte has room of its own. Text that fits is not cut,
 * longer text is cut to the capacity, and the memo stays when it still points into the
 * text. A short string has no capacity: the caller sets the length. */
VR_API VR_OWNED void* _realloc_mem(void* block, uint32_t size, const char* tag, int32_t line);

/* Gives back the block whose address the pointer variable at `variable` holds,
 * and clears that variable. The macro free_mem takes the address of a pointer variable of
 * any type, as in free_mem(&s), and does not compile with anything else. A null `variable` is
 * ignored; so are null and the shared strings in it, which stay there. Another value of 256 or
 * below is no block: a message says so, and the variable is cleared. Always returns 0. */
VR_API int32_t _free_mem(void* variable, const char* tag, int32_t line);

/* A platform block of exactly `size` bytes, with the recovery described above but
 * without the header of a tracked block: it is given back with the platform's
 * LocalFree, never with free_mem. `block` is null for a new block, else the
 * block to resize, whose new bytes are zero. A new block is zeroed by CallocMore
 * and undefined from MallocMore. */
VR_API VR_OWNED void* _CallocMore(uint32_t size, void* block, const char* tag, int32_t line)
    __attribute__((alloc_size(1)));
VR_API VR_OWNED void* _MallocMore(uint32_t size, void* block, const char* tag, int32_t line)
    __attribute__((alloc_size(1)));

#ifndef VR_NO_POSITION_MACROS
#define alloc_memory(size) _alloc_memory((size), VR_MODULE, __LINE__)
#define malloc_memory(size) _malloc_memory((size), VR_MODULE, __LINE__)
#define realloc_mem(block, size) _realloc_mem((block), (size), VR_MODULE, __LINE__)
#define free_mem(variable) _free_mem(VR_POINTER_VARIABLE(variable), VR_MODULE, __LINE__)
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

/* The kinds of callbacks: what their routines are called for. */
enum {
    kVrMemoryShort = 0,      /* give memory back */
    kVrMemoryExhausted = 1,  /* the run is about to end for lack of memory */
    kVrTooManyOpenFiles = 2, /* close something */
    kVrCallbackKinds = 3,    /* number of kinds */
    kVrCallbackSlots = 10    /* pairs that each kind holds */
};

/* A callback gets the data word it was registered with and the value given to
 * MemCallCallbacks, which is 0 inside the library. It runs inside the call that was
 * short of something, and gives back what it can spare. While it runs, a shortage inside it
 * runs the other callbacks of the kind, but not that one again; each registered pair counts
 * by itself. A callback of kind 0 uses nothing that may be half done in the interrupted
 * call: no quark, handle, item, file or lock. */
typedef void (*MemCallback)(VrWord data, VrWord value);

/* Adds the pair to the kind's list; a pair may stand there twice. When all slots are
 * taken the pair is silently dropped, as is one without a routine. Works before UtilInit too,
 * as do the two functions below. Returns 1, or -1 for a kind that does not exist. */
VR_API int32_t MemAddCallback(int32_t kind, MemCallback routine, VrWord data);

/* Takes the first such pair off the list, if there is one. The result is as above. */
VR_API int32_t MemRemoveCallback(int32_t kind, MemCallback routine, VrWord data);

/* Calls the kind's routines in the order of their slots, also those that are running. The
 * result is as above. */
VR_API int32_t MemCallCallbacks(int32_t kind, VrWord value);

/* Writes 0x100000 to `total`, and to `largest` the largest free block of address
 * space in bytes. Always returns 1. */
VR_API int32_t MemState(uint32_t* total, uint32_t* largest);

/* Kept for hosts that call them; they do nothing, and return 0 where they
 * return anything. In the checking library (docs/finding-mistakes.md) MemCheckBounds looks at
 * every block, PgmMemReport lists what is out by module and line, and MemDump each block. */
VR_API int32_t MemAvail(int32_t ignored);
VR_API void PgmMemInit(void);
VR_API void PgmMemReport(int32_t ignored);
VR_API void MemDump(void);
VR_API void MemCheckBounds(void);
VR_API int32_t MemDebugFormat(VrWord a, VrWord b, VrWord c, VrWord d, VrWord e, VrWord f);

VR_END

#endif
