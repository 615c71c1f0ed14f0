/*
 * count_records.c - an OUTMOD that counts the records and bytes it is given,
 * writes nothing, and prints a summary when processing ends.
 *
 * It swallows every record by storing 0 through the InLen argument, so it
 * runs in jobs without a "FileName".
 */
#include <inttypes.h>
#include <stdio.h>

#include "outmod.h"

static uint64_t records;
static uint64_t bytes;

OUTMOD_EXPORT int32_t _dynamn(int32_t* request, int32_t* reserved, int32_t* inLen, char* inBuffer,
                              int32_t* outLen, char* outBuffer) {
    (void)reserved;
    (void)inBuffer;
    (void)outBuffer;
    switch (*request) {
        case OUTMOD_REQ_INITIALIZE:
            records = 0;
            bytes = 0;
            return 0;
        case OUTMOD_REQ_RECORD:
            records += 1;
            if (*inLen > 0) bytes += (uint64_t)*inLen;
            *inLen = 0; /* swallow: nothing is to be written */
            *outLen = 0;
            return 0;
        case OUTMOD_REQ_END:
            printf("countrecs: %" PRIu64 " records, %" PRIu64 " bytes\n", records, bytes);
            fflush(stdout);
            return 0;
        case OUTMOD_REQ_CHECKPOINT:
        case OUTMOD_REQ_RESTART:
            return 0;
        default:
            return 1; /* a request this OUTMOD doesn't know fails the job */
    }
}
