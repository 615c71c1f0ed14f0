// Positions: pmGetPos hands out bytes that bring a file back to the record
// after the last one processed; pmRepos takes them back. For the disk module
// they are its own 32 bytes; for an Access Module a 13-byte head of ours
// followed by the module's bytes.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "pm_layer.h"

namespace pm {
namespace {

// The head of an Access Module position, little-endian and packed.
constexpr uint32_t kHeadLength = 13;
constexpr uint32_t kBlkOffsetAt = 0;
constexpr uint32_t kRecCountAt = 8;
constexpr uint32_t kEOFFlagAt = 12;

uint32_t assemblePositionData(FileInfo* file, bool withOffset, const void* moduleData,
                              uint32_t moduleLength) {
    static const char kFn[] = "AssemblePositionData";
    std::free(file->Position.Data);
    file->Position.Data = nullptr;
    file->Position.Length = 0;
    uint32_t length = kHeadLength + (moduleData != nullptr ? moduleLength : 0);
    auto* bytes = static_cast<uint8_t*>(std::malloc(length));
    if (bytes == nullptr) {
        trceprnt(kFn, "!ERROR! Memory allocation error", "");
        return pmrcMemory;
    }
    uint64_t blkOffset = withOffset
                             ? static_cast<uint64_t>(static_cast<int64_t>(file->BufferPosition) -
                                                     file->BufferBlkStrt)
                             : 0;
    if (traceAbove(4)) {
        TRCECMTLL(kFn, "BlkOffset=", blkOffset);
        TRCECMTU(kFn, "RecCount=", file->RecCount);
        TRCECMTI(kFn, "EOF=", file->atEOF);
    }
    std::memcpy(bytes + kBlkOffsetAt, &blkOffset, sizeof blkOffset);
    std::memcpy(bytes + kRecCountAt, &file->RecCount, sizeof file->RecCount);
    bytes[kEOFFlagAt] = file->atEOF;
    if (length > kHeadLength) std::memcpy(bytes + kHeadLength, moduleData, moduleLength);
    file->Position.Data = bytes;
    file->Position.Length = length;
    return pmrcOK;
}

uint32_t modulePosition(FileInfo* file) {
    static const char kFn[] = "pmGetPos";
    if (file->atEOF) return assemblePositionData(file, false, nullptr, 0);
    if (!bTakeAMcheckpoint) {
        if (traceAbove(1)) trceprnt(kFn, "Bypassing call to AM for checkpoint", "");
        return assemblePositionData(file, false, nullptr, 0);
    }
    Pos_t& b = blocks().getPos;
    b.FIData = file->FIData;
    b.Length = 0;
    b.Data = nullptr;
    uint32_t rc = commWithModule(kFn, file->PPtr->pmIPCHandle, &b, pmfcGetPos, file->TraceLvl);
    if (rc != pmrcOK) return rc;
    return assemblePositionData(file, true, b.Data, b.Length);
}

uint32_t failedReposition(FileInfo* file, uint32_t rc) {
    if (traceAbove(1)) trceprnt("pmRepos", "Failed to reposition file=", file->FName);
    return rc;
}

uint32_t moduleReposition(FileInfo* file, const pmData& position) {
    static const char kFn[] = "pmRepos";
    if (position.Data == nullptr || position.Length < kHeadLength) {
        TRCECMTU(kFn, "Invalid position data length, ", position.Length);
        return pmrcBadPosLength;
    }
    const auto* bytes = static_cast<const uint8_t*>(position.Data);
    uint64_t blkOffset = 0;
    std::memcpy(&blkOffset, bytes + kBlkOffsetAt, sizeof blkOffset);
    std::memcpy(&file->RecCount, bytes + kRecCountAt, sizeof file->RecCount);
    file->atEOF = bytes[kEOFFlagAt];
    if (traceAbove(4)) {
        std::snprintf(layer().line, sizeof layer().line, "BlkOffset=%llu",
                      static_cast<unsigned long long>(blkOffset));
        trceprnt(kFn, layer().line, "");
        TRCECMTU(kFn, "ThisFp->RecCount=", file->RecCount);
        TRCECMTI(kFn, "EOFFlag=", file->atEOF);
    }
    if (file->bBypassAMCheckpoint) {
        if (traceAbove(1)) trceprnt(kFn, "Bypassing call to AM for reposition", "");
        return pmrcOK;
    }
    if (file->atEOF) return pmrcOK;
    Pos_t& b = blocks().setPos;
    b.FIData = file->FIData;
    b.Length = position.Length - kHeadLength;
    b.Data = const_cast<uint8_t*>(bytes + kHeadLength);
    uint32_t rc =
        commWithModule("pmSetPos", file->PPtr->pmIPCHandle, &b, pmfcSetPos, file->TraceLvl);
    if (rc != pmrcOK) return failedReposition(file, rc);
    file->BufferPosition = 0;
    file->BufferEnd = 0;
    if (file->OpenMode == pmOpenRead) {
        rc = pmReadn2Buf(file);
        if (rc != pmrcOK) return failedReposition(file, rc);
        if (blkOffset > file->BufferEnd) {
            return failedReposition(file, restartMismatch(kFn, blkOffset, file));
        }
        file->BufferPosition = blkOffset;
    }
    return pmrcOK;
}

}  // namespace
}  // namespace pm

using namespace pm;

extern "C" uint32_t pmGetPos(pmFp Fp, uint32_t UserDone, pmData* Out) noexcept {
    static const char kFn[] = "pmGetPos";
    pm::TraceEntryExit entryExit(kFn);
    FileInfo* file = nullptr;
    uint32_t rc = checkFp(Fp, &file, kFn);
    if (rc != pmrcOK) return rc;
    if (UserDone > 1) {
        if (traceAbove(1)) trceprnt(kFn, "!ERROR! ", "Invalid UserDone flag");
        return pmrcBadParm;
    }
    if (UserDone == 1) {
        file->atEOF = 1;
        if (traceAbove(4)) trceprnt(kFn, "Utility forcing EOF status", "");
    }
    if (file->OpenMode == pmOpenWrite || file->OpenMode == pmOpenUpdate) {
        (void)file->FmtWrite(file, nullptr, 1);
    }
    if (isAccessModule(file)) {
        rc = modulePosition(file);
    } else {
        rc = file->GetPos(file);
        if (rc == pmrcPipePosition && !bTakeAMcheckpoint) {
            // Without checkpoints a pipe needs no position.
            if (traceAbove(1)) {
                trceprnt(kFn, "Zero checkpoint interval.  Ignoring pipe position error.", "");
            }
            rc = pmrcOK;
        }
    }
    if (Out != nullptr) {
        Out->Data = file->Position.Data;
        Out->Length = file->Position.Length;
    }
    if (rc == pmrcOK) {
        if (traceAbove(2)) {
            std::snprintf(layer().line, sizeof layer().line,
                          "Returning position for file '%s', record %d", file->FName,
                          static_cast<int>(file->RecCount));
            trceprnt(kFn, layer().line, "");
        }
    } else if (traceAbove(1)) {
        trceprnt(kFn, "NOT returning position for file=", file->FName);
    }
    return rc;
}

extern "C" uint32_t pmRepos(pmFp Fp, pmData* Position) noexcept {
    static const char kFn[] = "pmRepos";
    pm::TraceEntryExit entryExit(kFn);
    FileInfo* file = nullptr;
    uint32_t rc = checkFp(Fp, &file, kFn);
    if (rc != pmrcOK) return rc;
    if (Position == nullptr) return pmrcBadParm;
    if (traceAbove(3)) {
        trceprnt(kFn, "pmPos->Data", "");
        dump(Position->Data, Position->Length);
    }
    if (isAccessModule(file)) {
        rc = moduleReposition(file, *Position);
    } else {
        rc = file->SetPos(file, Position);
        if (rc != pmrcOK) return failedReposition(file, rc);
    }
    if (rc != pmrcOK) return rc;
    if (traceAbove(1)) {
        trceprnt(kFn, "Repositioned file=", file->FName);
        TRCECMTU(kFn, "Repositioned to Record=", file->RecCount);
    }
    return pmrcOK;
}
