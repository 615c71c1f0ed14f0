/*
 * upper_case.c - an OUTMOD that makes a new record: the incoming record with
 * ASCII letters upper-cased, built in the out buffer. Other bytes are copied
 * as they are, so it suits records of character data (CHAR and VARCHAR
 * columns, or delimited text); binary numbers whose bytes happen to be
 * lower-case letters would change too.
 */
#include "outmod.h"

OUTMOD_EXPORT int32_t _dynamn(int32_t* request, int32_t* reserved, int32_t* inLen, char* inBuffer,
                              int32_t* outLen, char* outBuffer) {
    (void)reserved;
    if (*request != OUTMOD_REQ_RECORD) return 0;
    int32_t length = *inLen;
    if (length < 0 || length > OUTMOD_BUFFER_SIZE) return 2;
    for (int32_t i = 0; i < length; ++i) {
        char c = inBuffer[i];
        outBuffer[i] = (c >= 'a' && c <= 'z') ? (char)(c - 'a' + 'A') : c;
    }
    /* The out buffer wins over the in buffer. A zero-length record stays
     * zero-length: nothing is written for it. */
    *outLen = length;
    return 0;
}
