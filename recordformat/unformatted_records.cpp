// Unformatted files (format 8): no record structure; a read takes the bytes
// asked for, a write appends them.
#include <cstring>

#include "record_writeout.h"

namespace {

uint8_t emptyArea[1];

uint32_t deliver(FileInfo* file, pmRecord* record, uint64_t count) {
    record->Data = file->Buffer + file->BufferPosition;
    record->Length = static_cast<uint32_t>(count);
    file->BufferPosition += count;
    return pmrcOK;
}

uint32_t deliverNothing(pmRecord* record, uint32_t rc) {
    record->Data = emptyArea;
    record->Length = 0;
    return rc;
}

}  // namespace

extern "C" uint32_t pmrwfmtRnone(FileInfo* File, pmRecord* Record) noexcept {
    static const char kFn[] = "pmrwfmtRnone";
    uint64_t wanted = Record->Length;
    if (wanted > File->BufferSize) {
        rf::refuseOversize(kFn, "ReqLength", wanted, File);
        return deliverNothing(Record, pmrcOverflow);
    }
    if (File->BufferEnd - File->BufferPosition >= wanted) return deliver(File, Record, wanted);
    uint32_t rc = pmReadn2Buf(File);
    uint64_t available = File->BufferEnd - File->BufferPosition;
    if (rc == pmrcOK) return deliver(File, Record, available < wanted ? available : wanted);
    if (rc == pmrcEOF && available > 0) {
        return deliver(File, Record, available < wanted ? available : wanted);
    }
    return deliverNothing(Record, rc);
}

extern "C" uint32_t pmrwfmtWnone(FileInfo* File, pmRecord* Record, uint32_t Flush) noexcept {
    static const char kFn[] = "pmrwfmtWnone";
    if (Record == nullptr) return rf::flushOrRefuse(File, Flush);
    if (Record->Length == 0) return Flush ? pm::writeOutBuffer(File) : uint32_t{pmrcOK};
    if (Record->Length > File->BufferSize) {
        return rf::refuseOversize(kFn, "ReqLength", Record->Length, File);
    }
    uint32_t rc = rf::makeRoom(kFn, "ReqLength", File, Record->Length);
    if (rc != pmrcOK) return rc;
    std::memcpy(File->Buffer + File->BufferEnd, Record->Data, Record->Length);
    File->BufferEnd += Record->Length;
    return Flush ? pm::writeOutBuffer(File) : uint32_t{pmrcOK};
}
