// A scriptable OUTMOD for the operator's tests: the test sets what it
// answers to each request and reads back every call it received.
#ifndef BU_TESTS_SCRIPT_OUTMOD_H
#define BU_TESTS_SCRIPT_OUTMOD_H

#include <stdint.h>

#define SCRIPT_LEAVE (-999999)
#define SCRIPT_MAX_CALLS 64

typedef struct OutmodScript {
    int32_t returnCode[6];  // by request code
    int32_t storeInLen;     // on a record call; SCRIPT_LEAVE leaves it
    int32_t storeOutLen;    // on a record call; SCRIPT_LEAVE leaves it
    int32_t storeReserved;  // stored through the reserved cell; SCRIPT_LEAVE leaves it
    char outFill;           // byte the out buffer is filled with on a record call
    int32_t calls;
    int32_t request[SCRIPT_MAX_CALLS];
    int32_t inLenSeen[SCRIPT_MAX_CALLS];
    int32_t outLenSeen[SCRIPT_MAX_CALLS];
    int32_t reservedSeen[SCRIPT_MAX_CALLS];
    char record[SCRIPT_MAX_CALLS][32];  // first bytes of each record
} OutmodScript;

typedef OutmodScript* (*ScriptAccess)(void);
#define SCRIPT_ACCESS_SYMBOL "scriptOutmodControl"

#endif  // BU_TESTS_SCRIPT_OUTMOD_H
