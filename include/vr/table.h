/* Handle tables: growing arrays of records that are reached by small numbers.
 *
 * A record's handle is its slot number, from 0. The handle stays when the table grows and its
 * records move; the address does not, so a handle is turned into an address only for immediate use.
 * A mark byte in each record is 1 while the record is taken and 0 while it is free, so a handle
 * that was freed reads as null. The lowest free slot is taken first, so a stale handle may reach a
 * later record.
 *
 * The tables are themselves records of the master table, whose own handle is 0; hosts may read them
 * there. VrExit frees the remaining tables without looking at their records. */
#ifndef VR_TABLE_H
#define VR_TABLE_H

#include "vr/abi.h"

/* Makes one line of a report on a table, for a host that shows it. It gets the first slot to show,
 * the line's number, 0 being the heading and line n the slot first + n - 1, and a buffer of
 * kVrTblLineSize bytes. Returns 1, or 0 past the last slot, where the report ends. Nothing in the
 * library calls it. */
typedef int32_t (*TblFormat)(VrWord unused1, VrWord firstSlot, VrWord unused3, VrWord line,
                             VrWord unused5, VrWord buffer);

/* Bytes of the buffer for a line of a report. */
enum { kVrTblLineSize = 320 };

/* A table, as the master table holds it. */
typedef struct __attribute__((packed)) Tbl {
    uint8_t inUse;                /* the mark */
    char* name;                   /* its own copy */
    char* moduleTag;              /* of the module that made it */
    int32_t line;                 /* at which it was made */
    int32_t length;               /* slots */
    int32_t size;                 /* bytes of a record */
    unsigned char* base;          /* the first record, unless there is a variable */
    unsigned char** baseVariable; /* if not null, holds the base in place of `base` */
    int32_t markOffset;           /* of the mark byte in a record */
    int32_t used;                 /* records taken */
    int32_t maximum;              /* the highest value of `used` */
    TblFormat format;             /* may be null */
    uint32_t reserved;            /* 0 */
} Tbl;
VR_STATIC_ASSERT(sizeof(Tbl) == 49, "packed");

VR_BEGIN

/* A new table of 10 free slots for records of `size` bytes with the mark at
 * `markOffset`. `format` may be null. Returns its handle, or -1 for a size or an offset
 * that leaves no place for the mark. */
VR_API int32_t _tblCreate(const char* name, int32_t size, int32_t markOffset, TblFormat format,
                          const char* tag, int32_t line);

#ifndef VR_NO_POSITION_MACROS
#define tblCreate(name, size, markOffset, format) \
    _tblCreate((name), (size), (markOffset), (format), VR_MODULE, __LINE__)
#endif

/* Frees a table. Whoever filled its records frees what they own first. The master table and a
 * handle that is no table are ignored. Always returns 1. */
VR_API int32_t TblDestroy(int32_t table);

/* Takes the lowest free slot, growing the table by 10 when there is none. Its record
 * is zero but for the mark. Returns its handle, or -1 when `table` is no table. */
VR_API int32_t TblAllocHnd(int32_t table);

/* Frees the slot and zeroes its record. To be called once for each record: every call lowers the
 * count of records taken. Handles out of range, and the master table's own record, are ignored.
 * Always returns 1. */
VR_API int32_t TblFreeHnd(int32_t table, int32_t record);

/* The record's address, valid until the next TblAllocHnd on the table; null for a handle that is
 * out of range or free. */
VR_API void* TblHndToPtr(int32_t table, int32_t record);

/* For a table: the number of its slots; the address of the first record, valid as long as that of
 * TblHndToPtr; its format routine; its name, which belongs to it. 0 or null when there is no such
 * table. */
VR_API int32_t TblLength(int32_t table);
VR_API void* TblBase(int32_t table);
VR_API TblFormat TblFunc(int32_t table);
VR_API const char* TblName(int32_t table);

VR_END

#endif
