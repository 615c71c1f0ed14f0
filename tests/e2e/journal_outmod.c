/*
 * journal_outmod.c - an OUTMOD for end-to-end tests. It appends one line per
 * call, "<request> <InLen> <OutLen>", to BU_JOURNAL_DIR/journal-<pid>.txt,
 * and answers as BU_JOURNAL_MODE asks: "swallow" (the default), "pass" or
 * "fail-init". "first-byte" swallows too, and journals the record's first
 * byte in hex behind its lengths.
 * "reject=<n>" passes records but rejects every n-th one of the process as
 * a parser of the operator's layer would: the record goes to WrRecErrFile,
 * and the job stops (the OUTMOD fails) once dcCheckContinue says so.
 */
#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "outmod.h"

static void journal(int32_t request, int32_t inLen, int32_t outLen, int firstByte) {
    const char* dir = getenv("BU_JOURNAL_DIR");
    if (dir == NULL) return;
    char path[4096];
    snprintf(path, sizeof path, "%s/journal-%d.txt", dir, (int)getpid());
    FILE* f = fopen(path, "a");
    if (f == NULL) return;
    fprintf(f, "%d %d %d", (int)request, (int)inLen, (int)outLen);
    if (firstByte >= 0) fprintf(f, " %02x", (unsigned)firstByte);
    fputc('\n', f);
    fclose(f);
}

static const char* mode(void) {
    const char* m = getenv("BU_JOURNAL_MODE");
    return m != NULL ? m : "swallow";
}

typedef struct {
    uint32_t Length;
    void* Data;
} __attribute__((packed)) Counted;

/* Hands the record to the operator's record error file. Returns 0 to go on. */
static int32_t reject(char* record, int32_t length) {
    static int32_t (*writeError)(const char*);
    static int32_t (*checkContinue)(int32_t*, int32_t*);
    static Counted* original;
    if (writeError == NULL) {
        void* op = dlopen("libbuoutop.so", RTLD_NOW | RTLD_NOLOAD);
        if (op == NULL) return 11;
        writeError = (int32_t(*)(const char*))dlsym(op, "WrRecErrFile");
        checkContinue = (int32_t(*)(int32_t*, int32_t*))dlsym(op, "dcCheckContinue");
        original = (Counted*)dlsym(op, "pmBufferOrig");
        if (writeError == NULL || checkContinue == NULL || original == NULL) return 12;
    }
    /* A parser keeps the record in storage of the layer's own; this one
     * lends it the operator's buffer for the call only. */
    const Counted kept = *original;
    original->Length = (uint32_t)length;
    original->Data = record;
    char text[64];
    snprintf(text, sizeof text, "rejected by the test (%d bytes)", (int)length);
    const int32_t rc = writeError(text);
    *original = kept;
    if (rc != 0) return 13;
    int32_t skip = 0, keep = 0;
    return checkContinue(&skip, &keep) != 0 ? 14 : 0;
}

OUTMOD_EXPORT int32_t _dynamn(int32_t* request, int32_t* reserved, int32_t* inLen, char* inBuffer,
                              int32_t* outLen, char* outBuffer) {
    (void)reserved;
    (void)outBuffer;
    const char* m = mode();
    const int showByte =
        *request == OUTMOD_REQ_RECORD && *inLen > 0 && strcmp(m, "first-byte") == 0;
    journal(*request, *inLen, *outLen, showByte ? (unsigned char)inBuffer[0] : -1);
    if (*request == OUTMOD_REQ_INITIALIZE && strcmp(m, "fail-init") == 0) return 7;
    if (*request != OUTMOD_REQ_RECORD) return 0;
    if (strncmp(m, "reject=", 7) == 0) {
        static int32_t seen;
        if (++seen % atoi(m + 7) != 0) return 0;
        int32_t rc = reject(inBuffer, *inLen);
        *inLen = 0;
        return rc;
    }
    if (strcmp(m, "pass") != 0) *inLen = 0;
    return 0;
}
