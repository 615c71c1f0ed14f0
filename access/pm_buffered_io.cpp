// Buffered record I/O: pmRead, pmWrite and pmFlush hand records to the
// file's format functions; pmReadn2Buf refills the block, keeping the unread
// tail in front of the new block so a record can straddle two blocks.
#include <cstdio>
#include <cstring>

#include "pm_layer.h"

namespace pm {
namespace {

void dumpRecord(const char* fn, const pmRecord* record) {
    trceprnt(fn, "Buffer->Data", "");
    dump(record->Data, record->Length);
}

// Moves to the next shared block of the multi-reader feature, carrying the
// unread tail over.
void advanceSharedBlock(FileInfo* file) {
    static const char kFn[] = "pmReadn2Buf";
    char* line = layer().line;
    int32_t old = pSMmaster->SHmemIndex;
    if (traceAbove(2)) {
        std::snprintf(line, sizeof layer().line, "%s %d, %s %d.", "For SHmemIndex", old, "buffer",
                      old - 1);
        trceprnt(kFn, "Parallel read I/O buffer limit reached:", line);
    }
    ReadyIndex = old;
    int32_t next = old % 3 + 1;
    pSMmaster->SHmemIndex = next;
    if (traceAbove(2)) {
        std::snprintf(line, sizeof layer().line, "Incremented SHmemIndex to %d (buffer %d)", next,
                      next - 1);
        trceprnt(kFn, line, "");
    }
    uint8_t* target = pDB[next - 1];
    uint64_t left = file->BufferEnd - file->BufferPosition;
    if (left > 0) {
        if (traceAbove(3)) {
            std::snprintf(line, sizeof layer().line, "%s %llu %s %d %s %d", "Copying",
                          static_cast<unsigned long long>(left), "bytes from buffer", old,
                          "to buffer", next);
            trceprnt(kFn, line, "");
        }
        std::memcpy(target, file->Buffer + file->BufferPosition, left);
    }
    file->Buffer = target;
    bAltPreadBufferReady = 1;
}

// A file token checked, and its mode allowing reads (pmOpenRead) or writes
// (pmOpenWrite); update files allow both.
uint32_t checkOpenFor(int16_t use, pmFp token, FileInfo** out, const char* fn) {
    uint32_t rc = checkFp(token, out, fn);
    if (rc != pmrcOK) return rc;
    int16_t mode = (*out)->OpenMode;
    if (mode == use || mode == pmOpenUpdate) return pmrcOK;
    if (use == pmOpenRead) {
        if (traceAbove(1)) trceprnt(fn, "!ERROR! Reading a Write ONLY file", "");
        return pmrcWriteOnly;
    }
    if (traceAbove(1)) trceprnt(fn, "!ERROR! Writing a Read ONLY file", "");
    return pmrcReadOnly;
}

}  // namespace

uint32_t writeOutBuffer(FileInfo* file) {
    return isAccessModule(file) ? pmWriteBuf(file) : file->WriteBuf(file);
}

}  // namespace pm

using namespace pm;

extern "C" uint32_t pmReadn2Buf(FileInfo* File) noexcept {
    static const char kFn[] = "pmReadn2Buf";
    pm::TraceEntryExit entryExit(kFn);
    if (File->BufferPosition != 0) {
        if (traceAbove(2)) {
            TRCECMTLL(kFn, "Overlap BufferEnd=", File->BufferEnd);
            TRCECMTLL(kFn, "Overlap BufferPos=", File->BufferPosition);
        }
        if (File->bSharedMemory) {
            advanceSharedBlock(File);
        } else if (File->BufferPosition < File->BufferEnd) {
            std::memmove(File->Buffer, File->Buffer + File->BufferPosition,
                         File->BufferEnd - File->BufferPosition);
        }
        File->BufferEnd -= File->BufferPosition;
        File->BufferPosition = 0;
        if (traceAbove(3)) {
            TRCECMTLL(kFn, "Overlapped BufferEnd Before Read=", File->BufferEnd);
            TRCECMTLL(kFn, "Overlapped BufferPos Before Read=", File->BufferPosition);
        }
    }
    // The new block is read on top of the last bytes kept, so that its
    // header lands where they were; they are put back behind the header.
    uint64_t keep = File->BufferEnd < File->BlkHeaderLen ? File->BufferEnd : File->BlkHeaderLen;
    if (keep != 0) {
        std::memcpy(File->BlkHeaderSave, File->Buffer + File->BufferEnd - keep, keep);
        File->BufferEnd -= keep;
        if (traceAbove(3)) {
            trceprnt(kFn, "Saved data for BlkHeader:", "");
            dump(File->BlkHeaderSave, static_cast<uint32_t>(keep));
        }
    }
    uint32_t count = 0;
    uint32_t rc;
    if (isAccessModule(File)) {
        RW_t& b = blocks().read;
        b.FIData = File->FIData;
        b.Length = 0;
        b.Buffer = File->Buffer + File->BufferEnd;
        rc = commWithModule(kFn, File->PPtr->pmIPCHandle, &b, pmfcRead, File->TraceLvl);
        count = b.Length;
    } else {
        rc = File->ReadBuf(File, &count);
    }
    if (traceAbove(3)) {
        TRCECMTLL(kFn, "BufferEnd=", File->BufferEnd);
        trceprnt(kFn, "Buffer received:", "");
        dump(File->Buffer + File->BufferEnd, count <= File->BufferSize ? count : 0);
    }
    if (count > File->BufferSize) {
        if (traceAbove(1)) {
            std::snprintf(layer().line, sizeof layer().line,
                          "BytesRead (%u) exceeds BufferSize (%llu)", count,
                          static_cast<unsigned long long>(File->BufferSize));
            trceprnt(kFn, layer().line, "");
        }
        return pmrcBlockTooLarge;
    }
    if (File->BlkHeaderLen != 0 && count < File->BlkHeaderLen) {
        if (count != 0) {
            if (traceAbove(1))
                TRCECMTU(kFn, "!ERROR! Block shorter than its header, BytesRead=", count);
            return pmrcDataFormat;
        }
        // Nothing came, so there is no header to step over: the kept bytes
        // go back where they were and stay readable.
        std::memcpy(File->Buffer + File->BufferEnd, File->BlkHeaderSave, keep);
        File->BufferEnd += keep;
        File->BufferBlkStrt = static_cast<int32_t>(File->BufferEnd);
        return rc;
    }
    if (keep != 0) {
        std::memcpy(File->Buffer + File->BufferEnd + File->BlkHeaderLen - keep, File->BlkHeaderSave,
                    keep);
    }
    if (File->BlkHeaderLen > keep) File->BufferPosition = File->BlkHeaderLen - keep;
    File->BufferBlkStrt = static_cast<int32_t>(File->BufferEnd);
    File->BufferEnd += count;
    if (File->bSharedMemory && traceAbove(2)) {
        std::snprintf(layer().line, sizeof layer().line, "SHmemIndex=%d, BufferEnd=%llu",
                      pSMmaster->SHmemIndex, static_cast<unsigned long long>(File->BufferEnd));
        trceprnt(kFn, layer().line, "");
    }
    if (traceAbove(3)) {
        trceprnt(kFn, "New API layer Buffer:", "");
        dump(File->Buffer, static_cast<uint32_t>(File->BufferEnd));
    }
    return rc;
}

extern "C" uint32_t pmWriteBuf(FileInfo* File) noexcept {
    static const char kFn[] = "pmWriteBuf";
    pm::TraceEntryExit entryExit(kFn);
    if (File->BufferEnd == 0) {
        if (traceAbove(1)) trceprnt(kFn, "!WARNING! Write of empty buffer bypassed", "");
        return pmrcOK;
    }
    RW_t& b = blocks().write;
    b.FIData = File->FIData;
    b.Length = static_cast<uint32_t>(File->BufferEnd);
    b.Buffer = File->Buffer;
    if (traceAbove(3)) {
        trceprnt(kFn, "Sending to DDAM, Buffer:", "");
        dump(File->Buffer, b.Length);
    }
    uint32_t rc = commWithModule(kFn, File->PPtr->pmIPCHandle, &b, pmfcWrite, File->TraceLvl);
    File->BufferEnd = 0;
    return rc;
}

extern "C" uint32_t pmRead(pmFp Fp, pmRecord* Record) noexcept {
    static const char kFn[] = "pmRead";
    pm::TraceEntryExit entryExit(kFn);
    if (Record == nullptr) return pmrcBadParm;
    FileInfo* file = nullptr;
    uint32_t rc = checkOpenFor(pmOpenRead, Fp, &file, kFn);
    if (rc != pmrcOK) return rc;
    if (file->FmtRead == nullptr) {
        if (traceAbove(1)) trceprnt(kFn, "!ERROR! Invalid File format", "");
        return pmrcBadFormat;
    }
    if (file->atEOF) {
        Record->Length = 0;
        rc = pmrcEOF;
    } else {
        rc = file->FmtRead(file, Record);
        if (rc == pmrcEOF) {
            file->atEOF = 1;
        } else if (rc == pmrcOK) {
            ++file->RecCount;
        } else if (rc == pmrcNoEOR && bAcceptEOFasEOR) {
            // The last, unterminated record counts; the caller still sees 35.
            file->atEOF = 1;
            ++file->RecCount;
        } else if (traceAbove(1)) {
            TRCECMTU(kFn, "!ERROR! returning rcode=", rc);
            TRCECMTU(kFn, "Last RecCount=", file->RecCount);
        }
        file->bAtStart = 0;
    }
    if (rc == pmrcEOF && traceAbove(2)) trceprnt(kFn, "EOF reached", "");
    Record->RecCount = file->RecCount;
    Record->Flags = 0;
    if (traceAbove(3)) {
        TRCECMTU(kFn, "RecCount=", file->RecCount);
        dumpRecord(kFn, Record);
    }
    return rc;
}

extern "C" uint32_t pmWrite(pmFp Fp, pmRecord* Record) noexcept {
    static const char kFn[] = "pmWrite";
    pm::TraceEntryExit entryExit(kFn);
    FileInfo* file = nullptr;
    uint32_t rc = checkOpenFor(pmOpenWrite, Fp, &file, kFn);
    if (rc != pmrcOK) return rc;
    if (Record != nullptr && Record->Length != 0 && Record->Data == nullptr) return pmrcBadParm;
    ++file->RecCount;
    if (traceAbove(3) && Record != nullptr) {
        TRCECMTU(kFn, "RecCount=", file->RecCount);
        dumpRecord(kFn, Record);
    }
    // Rows of the row-error file go straight out when latency matters.
    uint32_t flush = SG_LatencyOn && SG_RowErrFileName[0] != '\0' &&
                     std::strcmp(file->FName, SG_RowErrFileName) == 0;
    rc = file->FmtWrite(file, Record, flush);
    file->bAtStart = 0;
    return rc;
}

extern "C" uint32_t pmFlush(pmFp Fp) noexcept {
    static const char kFn[] = "pmFlush";
    pm::TraceEntryExit entryExit(kFn);
    FileInfo* file = nullptr;
    uint32_t rc = checkOpenFor(pmOpenWrite, Fp, &file, kFn);
    if (rc != pmrcOK) return rc;
    pmRecord empty{};
    return file->FmtWrite(file, &empty, 1);
}
