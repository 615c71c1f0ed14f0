/*
 * pass_through.c - an OUTMOD that leaves every record as it came, so the
 * operator writes it unchanged to the job's "FileName".
 */
#include "outmod.h"

OUTMOD_EXPORT int32_t _dynamn(int32_t* request, int32_t* reserved, int32_t* inLen, char* inBuffer,
                              int32_t* outLen, char* outBuffer) {
    (void)request;
    (void)reserved;
    (void)inLen; /* left as it came: the whole record is to be written */
    (void)inBuffer;
    (void)outLen;
    (void)outBuffer;
    return 0;
}
