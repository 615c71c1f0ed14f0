/*
 * outmod.h - the contract between the operator and an OUTMOD.
 *
 * An OUTMOD is a shared object that exports one C function, `_dynamn`, of
 * type OutmodEntry. The operator loads it by the path in the job attribute
 * "OUTMODname" and calls it once with OUTMOD_REQ_INITIALIZE, once per row with
 * OUTMOD_REQ_RECORD, at checkpoints and restarts, and last with
 * OUTMOD_REQ_END. The two buffers and the four cells are the operator's
 * static storage: the same addresses arrive at every call.
 *
 * On a record call the record stands in `inBuffer` with its length in
 * `*inLen`, and `*outLen` is 0. What the OUTMOD leaves decides what is
 * written to the job's file:
 *   - `*outLen` > 0: `outLen` bytes of `outBuffer` (even if `*inLen` > 0);
 *   - else `*inLen` > 0: `inLen` bytes of `inBuffer`;
 *   - else nothing.
 * Lengths above OUTMOD_BUFFER_SIZE fail the job. An OUTMOD that only consumes
 * records must store 0 through `inLen` on every record call: a job without a
 * "FileName" fails when a record is left to be written.
 *
 * Return 0 for success; any other value fails the job.
 */
#ifndef OUTMOD_H
#define OUTMOD_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Size of each of the two record buffers. */
#define OUTMOD_BUFFER_SIZE 64004

/* Request codes, passed through the first argument. */
typedef enum OutmodRequest {
    OUTMOD_REQ_INITIALIZE = 1, /* once, at the end of the operator's start */
    OUTMOD_REQ_END = 2,        /* once, at the end of processing */
    OUTMOD_REQ_RECORD = 3,     /* once per row */
    OUTMOD_REQ_CHECKPOINT = 4, /* after the operator has taken a checkpoint */
    OUTMOD_REQ_RESTART = 5     /* after the operator has restarted */
} OutmodRequest;

/* The name the operator resolves in the OUTMOD. */
#define OUTMOD_ENTRY_SYMBOL "_dynamn"

/*
 * request  in: the request code; what the OUTMOD stores here is ignored.
 * reserved a cell that starts at 0 and that the operator never touches.
 * inLen    in: the record's length; out: bytes of inBuffer to write.
 * inBuffer the record, OUTMOD_BUFFER_SIZE bytes; may be changed in place.
 * outLen   in: 0 on a record call; out: bytes of outBuffer to write.
 * outBuffer OUTMOD_BUFFER_SIZE bytes for a record the OUTMOD makes itself.
 */
typedef int32_t (*OutmodEntry)(int32_t* request, int32_t* reserved, int32_t* inLen, char* inBuffer,
                               int32_t* outLen, char* outBuffer);

/* Declaration for OUTMOD authors; define it with OUTMOD_EXPORT. */
#define OUTMOD_EXPORT __attribute__((visibility("default")))
OUTMOD_EXPORT int32_t _dynamn(int32_t* request, int32_t* reserved, int32_t* inLen, char* inBuffer,
                              int32_t* outLen, char* outBuffer);

#ifdef __cplusplus
} /* extern "C" */
#endif

#endif /* OUTMOD_H */
