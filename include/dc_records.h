/*
 * dc_records.h - records of the data connector layer that cross to other
 * programs: the buffer mode record behind the exported `BufferInfo`, and
 * the checkpoint record that the host stores and hands back on a restart.
 * Layouts are exact for 64-bit Linux and checked with static assertions;
 * the header is plain C.
 */
#ifndef DC_RECORDS_H
#define DC_RECORDS_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#define DC_STATIC_ASSERT(cond, msg) static_assert(cond, msg)
#else
#define DC_STATIC_ASSERT(cond, msg) _Static_assert(cond, msg)
#endif

#define DC_AT(type, field, pos) \
    DC_STATIC_ASSERT(offsetof(type, field) == (pos), #type "." #field " at " #pos)

/* ------------------------------------------------------------------------ */
/* Buffer mode                                                               */
/* ------------------------------------------------------------------------ */

/* A buffer holds rows one behind the other, each behind a header whose last
 * `LengthSize` bytes hold the row's length in host order, and ends with
 * `TrailerSize` bytes. A consumer's layout is header 4, length 4, trailer 0.
 * The record is allocated zeroed, 80 bytes, when the host turns the mode on. */
typedef struct dcBufferInfo_t {
    uint8_t* Buffer;            /* the buffer, as PX_GetBuffer gave it */
    uint8_t* CurrentPos;        /* where the next row starts */
    uint32_t UsedLen;           /* bytes in the buffer, trailer included */
    uint32_t UsedOffset;        /* bytes walked or filled so far */
    int32_t RowIndBytes;        /* indicator bytes of a row */
    int32_t RowPrefixBytes;     /* length prefixes of a row's columns */
    int32_t HeaderTrailerBytes; /* HeaderSize + TrailerSize */
    int32_t RowFixedBytes;      /* RowIndBytes + RowPrefixBytes */
    int32_t RowOverheadBytes;   /* RowFixedBytes + HeaderTrailerBytes */
    int32_t RowDataBytes;       /* data bytes of the row being placed (producers) */
    int32_t BufferEmpty;        /* 1 right after a buffer was handed on */
    uint32_t MaxSize;           /* BUFFERMAXSIZE */
    int32_t HeaderSize;         /* BUFFERHEADERSIZE */
    int32_t LengthSize;         /* BUFFERLENGTHSIZE */
    int32_t TrailerSize;        /* BUFFERTRAILERSIZE */
    uint8_t HasIndicators;      /* the rows of this buffer carry indicator bytes */
    uint8_t Reserved[11];       /* zero; keeps the record at its 80 bytes */
} dcBufferInfo_t;

DC_AT(dcBufferInfo_t, Buffer, 0);
DC_AT(dcBufferInfo_t, CurrentPos, 8);
DC_AT(dcBufferInfo_t, UsedLen, 16);
DC_AT(dcBufferInfo_t, UsedOffset, 20);
DC_AT(dcBufferInfo_t, RowIndBytes, 24);
DC_AT(dcBufferInfo_t, RowPrefixBytes, 28);
DC_AT(dcBufferInfo_t, HeaderTrailerBytes, 32);
DC_AT(dcBufferInfo_t, RowFixedBytes, 36);
DC_AT(dcBufferInfo_t, RowOverheadBytes, 40);
DC_AT(dcBufferInfo_t, RowDataBytes, 44);
DC_AT(dcBufferInfo_t, BufferEmpty, 48);
DC_AT(dcBufferInfo_t, MaxSize, 52);
DC_AT(dcBufferInfo_t, HeaderSize, 56);
DC_AT(dcBufferInfo_t, LengthSize, 60);
DC_AT(dcBufferInfo_t, TrailerSize, 64);
DC_AT(dcBufferInfo_t, HasIndicators, 68);
DC_STATIC_ASSERT(sizeof(dcBufferInfo_t) == 80, "dcBufferInfo_t is 80 bytes");

/* ------------------------------------------------------------------------ */
/* The checkpoint record                                                     */
/* ------------------------------------------------------------------------ */

/* The head of the record handed to PX_WriteCheckpointRecord. Host byte
 * order, no padding. Behind the 20 bytes stand the data file's position
 * (`DatPosLen` bytes) and the record error file's (`ErrPosLen` bytes, none
 * without such a file), exactly as pmGetPos gave them, then 4 bytes of
 * slack that a reader ignores: the record is DatPosLen + ErrPosLen + 24
 * bytes long. The positions are opaque here; the access layer reads them. */
typedef struct dcPosSummary_t {
    uint32_t ErrRowCount;         /* rows this instance wrote to its error file */
    uint32_t FileRecCount;        /* records written to the data file */
    uint32_t DatPosLen;           /* length of the data file's position */
    uint32_t ErrPosLen;           /* length of the error file's position; 0 for none */
    int32_t RecordInstanceTarget; /* carried through unchanged */
} dcPosSummary_t;

DC_AT(dcPosSummary_t, ErrRowCount, 0);
DC_AT(dcPosSummary_t, FileRecCount, 4);
DC_AT(dcPosSummary_t, DatPosLen, 8);
DC_AT(dcPosSummary_t, ErrPosLen, 12);
DC_AT(dcPosSummary_t, RecordInstanceTarget, 16);
DC_STATIC_ASSERT(sizeof(dcPosSummary_t) == 20, "dcPosSummary_t's head is 20 bytes");

/* Where the data file's position starts, and what the record adds to the
 * two positions (the head counted as 24 bytes). */
#define DC_POS_SUMMARY_HEAD 20
#define DC_POS_SUMMARY_OVERHEAD 24

#undef DC_AT

#ifdef __cplusplus
} /* extern "C" */
#endif

#endif /* DC_RECORDS_H */
