// Reading a producer's file: records into pmBuffer, and the checks of their
// bytes.
#include "producer_reads.h"

#include <cstring>

#include "data_error_dump.h"
#include "dc_messages.h"
#include "file_access.h"
#include "file_path_globals.h"
#include "row_intake.h"

using namespace bu::dc;

uint32_t bu::dc::readIntoPmBuffer(pmFp fp) noexcept {
    pmRecord record{};
    const uint32_t rc = pmRead(fp, &record);
    pmBuffer.Data = record.Data;
    pmBuffer.Length = record.Length;
    pmBufferRecCount = record.RecCount;
    return rc;
}

extern "C" int32_t dcRead(const char* caller, int32_t mode) noexcept {
    const uint32_t rc = readIntoPmBuffer(pmfp);
    LastStatus = static_cast<int32_t>(rc);
    switch (rc) {
        case pmrcOK:
            return 0;
        case pmrcEOF:
            if (mode == dcReadEndOfData) {
                trace(2, caller, kInfo, "EOF from pmRead => PXSTC_EndOfData");
                return PXSTC_EndOfData;
            }
            if (mode != dcReadEndIsFatal) return 0;
            break;
        case pmrcTimeOut:
            trace(1, caller, kWarning, "Read timed out");
            return mode == dcReadEndIsGood ? 0 : PXSTC_WaitTimeout;
        case pmrcNoEOR:
            // The last record had no end mark: the job takes it as a record.
            if (!bAcceptEOFasEOR) break;
            LastStatus = 0;
            return 0;
        case PXSTC_FatalError:
        case PM_ALREADY_REPORTED:
            return PXSTC_FatalError;
        default:
            break;
    }
    return reportAccessFailure(caller, "pmRead", rc, 19305);
}

extern "C" int32_t dcCheckBytes(uint64_t expected, const char* label, const char* caller,
                                int32_t column) noexcept {
    if (pmBuffer.Length == expected) return 0;
    const auto received = static_cast<int32_t>(pmBuffer.Length);
    trace(1, caller, kWarning, "%s byte count error.  Expected %llu, received %d!", label,
          static_cast<unsigned long long>(expected), received);
    DumpFileInfo(column);
    publicMessage(19102, 3, 6, kInt, static_cast<int32_t>(FileRecordCount + 1), kText, label,
                  kInt64, static_cast<int64_t>(expected), kInt, received);
    raiseExitCodeTo(12);
    return PXSTC_FatalError;
}

extern "C" int32_t dcGetLOBLen(const void* length, uint64_t, const char* caller,
                               int32_t column) noexcept {
    // The six bytes above the length's low 16 bits.
    const auto* bytes = static_cast<const uint8_t*>(length);
    const uint8_t* upper = Platform_Endian() == 2 ? bytes + 2 : bytes;
    static const uint8_t kZeros[6] = {};
    if (std::memcmp(upper, kZeros, sizeof kZeros) == 0) return 0;
    trace(1, caller, kWarning, "LOB column data length error");
    publicMessage(19151, 3, 6);
    DumpFileInfo(column);
    raiseExitCodeTo(12);
    return PXSTC_FatalError;
}
