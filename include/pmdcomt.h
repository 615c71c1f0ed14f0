/*
 * pmdcomt.h - common types of the access layer (the `pm` functions), shared
 * by the access layer, the data connector layer and the record formats.
 * Layouts are exact and checked with static assertions.
 */
#ifndef PMDCOMT_H
#define PMDCOMT_H

#include <stddef.h>
#include <stdint.h>

#include "bu_export.h"

#ifdef __cplusplus
extern "C" {
#define PM_STATIC_ASSERT(cond, msg) static_assert(cond, msg)
#else
#define PM_STATIC_ASSERT(cond, msg) _Static_assert(cond, msg)
#endif

/* Tokens from the access layer's pool naming an attached module and an open
 * file; never pointers. */
typedef uint32_t pmHandle;
typedef uint32_t pmFp;

/* Counted bytes: names, values, positions, error texts and rows all travel
 * in it. Packed, 12 bytes. */
#pragma pack(push, 1)
typedef struct pmData {
    uint32_t Length;
    void* Data;
} pmData;
#pragma pack(pop)

PM_STATIC_ASSERT(offsetof(pmData, Length) == 0, "pmData.Length at 0");
PM_STATIC_ASSERT(offsetof(pmData, Data) == 4, "pmData.Data at 4");
PM_STATIC_ASSERT(sizeof(pmData) == 12, "pmData is 12 bytes");

/* The record through which a row passes, and the output file's handle. */
BU_EXPORT extern pmData pmBuffer;
BU_EXPORT extern pmFp pmfp;

#ifdef __cplusplus
} /* extern "C" */
#endif

#endif /* PMDCOMT_H */
