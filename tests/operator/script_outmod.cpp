#include "script_outmod.h"

#include <cstring>

#include "outmod.h"

namespace {
OutmodScript script;
}

extern "C" OUTMOD_EXPORT OutmodScript* scriptOutmodControl() {
    return &script;
}

extern "C" OUTMOD_EXPORT int32_t _dynamn(int32_t* request, int32_t* reserved, int32_t* inLen,
                                         char* inBuffer, int32_t* outLen, char* outBuffer) {
    int32_t n = script.calls < SCRIPT_MAX_CALLS ? script.calls : SCRIPT_MAX_CALLS - 1;
    ++script.calls;
    script.request[n] = *request;
    script.inLenSeen[n] = *inLen;
    script.outLenSeen[n] = *outLen;
    script.reservedSeen[n] = *reserved;
    if (script.storeReserved != SCRIPT_LEAVE) *reserved = script.storeReserved;
    if (*request == OUTMOD_REQ_RECORD) {
        int32_t len = *inLen;
        if (len > 31) len = 31;
        if (len > 0) std::memcpy(script.record[n], inBuffer, static_cast<size_t>(len));
        script.record[n][len > 0 ? len : 0] = '\0';
        std::memset(outBuffer, script.outFill, OUTMOD_BUFFER_SIZE);
        if (script.storeInLen != SCRIPT_LEAVE) *inLen = script.storeInLen;
        if (script.storeOutLen != SCRIPT_LEAVE) *outLen = script.storeOutLen;
    }
    int32_t code = *request >= 0 && *request < 6 ? *request : 0;
    return script.returnCode[code];
}
