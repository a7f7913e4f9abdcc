/* Counted strings. A VrString is the address of a 32-bit length that is followed
 * by the text and a zero byte:
 *
 *      -16       -12      -8         -4            0        4          4 + length
 *     | memo    | memo   | capacity | header      | length | text ... | 0 |
 *     | number  | cursor |          | class byte  |
 *
 * Text may hold any byte: the length, not the zero, says where it ends. A string made with a length
 * of 129 bytes or more is a long one, with three more words in front: the capacity, for room to
 * grow, and a memo with which the editing of large dynamic arrays finds its place again. A short
 * string has only the header word.
 *
 * Whoever receives a VrString owns it and gives it back with free_mem. The three
 * shared strings may be given to free_mem too, which ignores them; they are
 * never written to. An empty result is NullVrStr's string, not null.
 *
 * A caller may lay out a string in a buffer of its own for functions that only read it. The
 * word in front of the length word must then be zero, since the library reads the class byte
 * in it, and a zero byte follows the text. Such a string is never given to free_mem or
 * realloc_mem. The walks (vr/walk.h) write strings of this layout into buffers.
 *
 * The plain names, NewString and its sisters here and free_mem in vr/memory.h, are macros. A
 * C++ host whose classes have methods of these names defines VR_NO_POSITION_MACROS before the
 * first include, and calls the functions with the underscore. */
#ifndef VR_STRING_H
#define VR_STRING_H

#include "vr/abi.h"
#include "vr/memory.h"

enum {
    kVrLongestString = 13980998 /* bytes; the longest string that has room to grow */
};

VR_BEGIN

/* The length word. It is packed since a string in a caller's buffer may stand at
 * any address. */
struct __attribute__((packed)) VrStringHead {
    int32_t length; /* number of text bytes */
};

/* A counted string, by the address of its length word. */
typedef struct VrStringHead* VrString;
VR_STATIC_ASSERT(sizeof(struct VrStringHead) == 4, "the text follows the length word at once");

/* The first byte of the text. */
static inline unsigned char* VrStrText(VrString s) {
#ifdef __cplusplus
    return reinterpret_cast<unsigned char*>(s + 1);
#else
    return (unsigned char*)(s + 1);
#endif
}

/* The shared strings' blocks: empty, "0" and "1". They exist from UtilInit to
 * VrExit. The VrString is the block's address plus 4, which VR_SHARED_STRING
 * gives. */
extern VR_API unsigned char* NullVrStr;
extern VR_API unsigned char* FalseVrStr;
extern VR_API unsigned char* TrueVrStr;

/* The VrString of such a block, as in VR_SHARED_STRING(NullVrStr). */
#ifdef __cplusplus
#define VR_SHARED_STRING(block) (reinterpret_cast<VrString>((block) + 4))
#else
#define VR_SHARED_STRING(block) ((VrString)((block) + 4))
#endif

/* A new string of `length` zero bytes, to be filled by the caller. One of 129
 * bytes or more gets a capacity of half as much again. Length 0 gives NullVrStr's
 * string. More than kVrLongestString bytes make a block of kVrRefusedSize or more, which
 * ends the run; a host looks at the length of a file or a message first. */
VR_API VR_OWNED VrString _alloc_string(uint32_t length, const char* tag, int32_t line);

/* The same without room to grow, for a string that keeps its length; up to 20971497 bytes. */
VR_API VR_OWNED VrString _alloc_simple_string(uint32_t length, const char* tag, int32_t line);

/* A copy of `s` with a capacity of its own, made by _alloc_string, and with the memo of `s`
 * where both are long. Null and empty strings give NullVrStr's string; the other shared
 * strings give themselves. */
VR_API VR_OWNED VrString _NewString(VrString s, const char* tag, int32_t line);

/* A new string of the zero-terminated `text`, made by _alloc_string. Null or empty text gives
 * NullVrStr's string. */
VR_API VR_OWNED VrString _StrToVrStr(const char* text, const char* tag, int32_t line);

/* A copy of the zero-terminated `text` as a zero-terminated text, not a VrString.
 * The caller frees it with free_mem. Null gives NullVrStr's string, which reads as an
 * empty text. */
VR_API VR_OWNED char* _dup_str(const char* text, const char* tag, int32_t line);

#ifndef VR_NO_POSITION_MACROS
#define alloc_string(length) _alloc_string((length), VR_MODULE, __LINE__)
#define alloc_simple_string(length) _alloc_simple_string((length), VR_MODULE, __LINE__)
#define NewString(s) _NewString((s), VR_MODULE, __LINE__)
#define StrToVrStr(text) _StrToVrStr((text), VR_MODULE, __LINE__)
#define dup_str(text) _dup_str((text), VR_MODULE, __LINE__)
#endif

/* Orders by unsigned bytes, a shorter string before a longer one that begins
 * with it, null before everything. The result is below 0, 0 or above 0; only its sign has a
 * meaning. */
VR_API int32_t CompareVrStrings(VrString a, VrString b);

VR_END

#endif
