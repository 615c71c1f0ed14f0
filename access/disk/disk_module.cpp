// The default disk module: whole blocks between a file's buffer and a
// buffered stream, on plain files and named pipes, with 64-bit offsets.
#include <fcntl.h>
#include <sys/select.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "disk_position.h"
#include "pm_layer.h"

namespace pm::disk {
namespace {

constexpr uint64_t kDefaultBlock = 65536;

// The module's record for one open file (a pool allocation).
struct DiskFileData {
    uint32_t MMToken;
    FILE* Stream;
    int32_t Fd;
    DiskPosition Area;  // Position.Data points here after open
    int32_t bFIFO;
    void* Reserved1;
    void* Reserved2;
    // The position last handed out for this file. Each file has its own, so
    // that taking one file's position leaves another's as it was.
    DiskPosition Taken;
};
static_assert(offsetof(DiskFileData, Area) + offsetof(DiskPosition, BlockOffset) == 32,
              "BlockOffset is the area's second word");
static_assert(offsetof(DiskFileData, Taken) == 80, "the taken position follows the reserved words");
static_assert(sizeof(DiskFileData) == 112, "DiskFileData is 112 bytes");

constexpr int32_t kPipeTimeoutMessage = 19468;

DiskFileData* dataOf(FileInfo* file) {
    return reinterpret_cast<DiskFileData*>(static_cast<uintptr_t>(file->FIData));
}

// Records the failure once, with the system's reason: 4 for a missing file.
uint32_t diskError(const char* caller, const char* text) {
    int err = errno;
    char* line = layer().line;
    if (err != 0) {
        if (traceAbove(1)) {
            std::snprintf(line, sizeof layer().line, "!ERROR! %s, errno=%d", text, err);
            trceprnt(caller, line, std::strerror(err));
        }
        std::snprintf(line, sizeof layer().line, "%s: %s (%s)", caller, text, std::strerror(err));
    } else {
        if (traceAbove(1)) {
            std::snprintf(line, sizeof layer().line, "!ERROR! %s", text);
            trceprnt(caller, line, "");
        }
        std::snprintf(line, sizeof layer().line, "%s: %s ", caller, text);
    }
    pmSetErrTxt(line, static_cast<uint32_t>(std::strlen(line)));
    return err == ENOENT ? pmrcNoFile : pmrcFailure;
}

uint32_t rememberOffset(FileInfo* file, DiskFileData* d, const char* caller) {
    off_t at = ftello(d->Stream);
    if (at == -1) {
        char text[32];
        std::snprintf(text, sizeof text, "'%s' error", "ftello");
        return diskError(caller, text);
    }
    d->Area.BlockOffset = static_cast<uint64_t>(at);
    (void)file;
    return pmrcOK;
}

void releaseData(FileInfo* file, DiskFileData* d) {
    pmFreeMem(d->MMToken);
    file->FIData = 0;
}

// Waits for a writer on a named pipe; 55 when none comes in time.
uint32_t waitForPipe(DiskFileData* d) {
    static const char kFn[] = "pmunxRBuf";
    fd_set readable;
    FD_ZERO(&readable);
    FD_SET(d->Fd, &readable);
    timeval limit{FIFO_TimeOutSeconds, 0};
    int ready = select(d->Fd + 1, &readable, nullptr, nullptr, &limit);
    if (ready > 0) {
        if (traceAbove(4)) {
            std::snprintf(layer().line, sizeof layer().line, "%s[%d]: %s",
                          JobOpName ? JobOpName : "", ThisInstance,
                          "Data in named pipe is available");
            trceprnt(kFn, layer().line, "");
        }
        return pmrcOK;
    }
    if (ready == 0) {
        publicMessage(kPipeTimeoutMessage, 0, nullptr);
        trceprnt(kFn, "Named pipe timeout limit exceed, aborting job", "");
        return pmrcTimeOut;
    }
    return pmrcOK;
}

// A file being written goes back to a checkpoint that lies inside it, and
// what an interrupted run wrote behind it goes, so that the file holds
// exactly what the run from the checkpoint on writes again. A file shorter
// than the checkpoint's offset is not the one the checkpoint was taken of
// (or lost its end): writing on would leave a hole.
uint32_t returnToCheckpoint(FileInfo* file, DiskFileData* d, uint64_t offset) {
    static const char kFn[] = "pmUnxDskSetPos";
    struct stat st {};
    if (fstat(fileno(d->Stream), &st) != 0) return diskError(kFn, "'fstat' error");
    const auto size = static_cast<uint64_t>(st.st_size);
    if (size < offset) {
        char* line = layer().line;
        std::snprintf(line, sizeof layer().line,
                      "%s: file '%s' holds %llu bytes, fewer than the %llu of its checkpoint", kFn,
                      file->FName, static_cast<unsigned long long>(size),
                      static_cast<unsigned long long>(offset));
        if (traceAbove(1)) trceprnt(kFn, "!ERROR! ", line);
        pmSetErrTxt(line, static_cast<uint32_t>(std::strlen(line)));
        return pmrcFailure;
    }
    if (fseeko(d->Stream, static_cast<off_t>(offset), SEEK_SET) != 0) {
        return diskError(kFn, "'seek' error");
    }
    if (ftruncate(fileno(d->Stream), static_cast<off_t>(offset)) != 0) {
        return diskError(kFn, "'ftruncate' error");
    }
    return pmrcOK;
}

}  // namespace
}  // namespace pm::disk

namespace pm {

uint32_t restartMismatch(const char* fn, uint64_t offset, const FileInfo* file) {
    if (traceAbove(1)) {
        std::snprintf(layer().line, sizeof layer().line,
                      "!ERROR! Position offset %llu lies behind the block (%llu bytes)",
                      static_cast<unsigned long long>(offset),
                      static_cast<unsigned long long>(file->BufferEnd));
        trceprnt(fn, layer().line, "");
    }
    return pmrcRestartMismatch;
}

}  // namespace pm

using namespace pm;
using namespace pm::disk;

extern "C" uint32_t pmUnxDskOpen(FileInfo* File, uint32_t SchemaLength) noexcept {
    static const char kFn[] = "pmUnxDskOpen";
    pm::TraceEntryExit entryExit(kFn);
    (void)SchemaLength;
    File->FIData = 0;
    const char* mode = nullptr;
    switch (File->OpenMode) {
        case pmOpenRead:
            mode = "rb";
            break;
        case pmOpenWrite:
            mode = "wb";
            break;
        case pmOpenUpdate:
            mode = "rb+";
            break;
        default:
            if (traceAbove(1)) trceprnt(kFn, "!ERROR! invalid open mode", "");
            return pmrcBadParm;
    }
    uint32_t token = 0;
    auto* d = static_cast<DiskFileData*>(pmGetMem(sizeof(DiskFileData), &token, 1));
    if (d == nullptr) {
        trceprnt(kFn, "!ERROR! Memory allocation error", "");
        return pmrcMemory;
    }
    d->MMToken = token;
    d->Fd = -1;
    File->Position.Length = sizeof(DiskPosition);
    File->Position.Data = &d->Area;
    if (File->BufferSize == 0) {
        File->BufferSize = kDefaultBlock;
        if (traceAbove(4)) {
            std::snprintf(layer().line, sizeof layer().line, "Set BufferSize to %llu",
                          static_cast<unsigned long long>(File->BufferSize));
            trceprnt(kFn, layer().line, "");
        }
    }
    File->BufferBlkStrt = 0;
    if (traceAbove(4)) {
        trceprnt(kFn, "FName=", File->FName);
        std::snprintf(layer().line, sizeof layer().line, "Unix BufferSize=%llu",
                      static_cast<unsigned long long>(File->BufferSize));
        trceprnt(kFn, layer().line, "");
    }
    uint32_t result = pmrcOK;
    struct stat st {};
    if (stat(File->FName, &st) != 0) {
        if (!(errno == ENOENT && File->OpenMode == pmOpenWrite) && traceAbove(1)) {
            trceprnt(kFn, "!WARNING! 'stat' call failed: ", std::strerror(errno));
            TRCECMTI(kFn, "errno=", errno);
        }
    } else {
        if (traceAbove(2))
            TRCECMTLL(kFn, "statbuf.st_size=", static_cast<unsigned long long>(st.st_size));
        if (S_ISFIFO(st.st_mode)) {
            d->bFIFO = 1;
            if (bMultiInstanceRead) {
                trceprnt(kFn, "!ERROR! FIFO pipe detected", "");
                trceprnt(kFn, "!ERROR! Multi-instance read feature not supported.", "");
                releaseData(File, d);
                return pmrcFailure;
            }
            if (traceAbove(1)) trceprnt(kFn, "!WARNING! FIFO pipe detected", "");
        } else if (File->OpenMode == pmOpenRead && st.st_size == 0) {
            if (traceAbove(1)) trceprnt(kFn, "!WARNING! Empty file detected (for read)", "");
            result = pmrcEmptyFile;
        }
    }
    errno = 0;
    if (d->bFIFO && FIFO_TimeOutSeconds != 0) {
        // Non-blocking, so that a read can wait for the writer with a limit.
        struct stat again {};
        if (stat(File->FName, &again) == 0) {
            int fd = open(File->FName, O_RDONLY | O_NONBLOCK);
            if (fd > 0) {
                d->Fd = fd;
                d->Stream = fdopen(fd, mode);
                if (d->Stream == nullptr) close(fd);
            }
        }
    } else {
        d->Stream = fopen64(File->FName, mode);
    }
    if (d->Stream == nullptr) {
        char text[PM_MAX_FILE_NAME + 16];
        std::snprintf(text, sizeof text, "File: '%s'", File->FName);
        uint32_t rc = diskError(kFn, text);
        if (traceAbove(1)) {
            trceprnt(kFn, "Can't open FName=", File->FName);
            trceprnt(kFn, "oOption=", mode);
        }
        releaseData(File, d);
        return rc;
    }
    File->FIData = static_cast<uint64_t>(reinterpret_cast<uintptr_t>(d));
    if (File->OpenMode == pmOpenUpdate && fseeko(d->Stream, 0, SEEK_END) != 0) {
        return diskError("pmUnxDskSetPos", "'seek' error");
    }
    return result;
}

extern "C" uint32_t pmUnxDskClose(FileInfo* File, uint32_t Restart) noexcept {
    (void)Restart;
    DiskFileData* d = dataOf(File);
    if (d == nullptr) return pmrcOK;
    if (d->Stream != nullptr) fclose(d->Stream);
    releaseData(File, d);
    File->Position.Data = nullptr;
    File->Position.Length = 0;
    return pmrcOK;
}

extern "C" uint32_t pmunxRBuf(FileInfo* File, uint32_t* BytesRead) noexcept {
    static const char kFn[] = "pmunxRBuf";
    pm::TraceEntryExit entryExit(kFn);
    DiskFileData* d = dataOf(File);
    *BytesRead = 0;
    if (!d->bFIFO) {
        uint32_t rc = rememberOffset(File, d, kFn);
        if (rc != pmrcOK) return rc;
    } else if (FIFO_TimeOutSeconds != 0) {
        uint32_t rc = waitForPipe(d);
        if (rc != pmrcOK) return rc;
    }
    size_t got = fread(File->Buffer + File->BufferEnd, 1, File->BufferSize, d->Stream);
    if (traceAbove(4)) {
        TRCECMTLL(kFn, "Reading into buffer at offset=", File->BufferEnd);
        TRCECMTLL(kFn, "frc=", got);
    }
    *BytesRead = static_cast<uint32_t>(got);
    // A non-blocking pipe returns short with an error flag; the bytes count.
    if (got > 0 && ferror(d->Stream)) clearerr(d->Stream);
    if (got == 0) {
        if (feof(d->Stream)) return pmrcEOF;
        // A non-blocking pipe with its writer still there has nothing yet.
        if (d->bFIFO && (errno == EAGAIN || errno == EWOULDBLOCK)) {
            clearerr(d->Stream);
            return pmunxRBuf(File, BytesRead);
        }
        return diskError(kFn, "fread error");
    }
    return pmrcOK;
}

extern "C" uint32_t pmunxWBuf(FileInfo* File) noexcept {
    static const char kFn[] = "pmunxWBuf";
    pm::TraceEntryExit entryExit(kFn);
    DiskFileData* d = dataOf(File);
    uint32_t rc = pmrcOK;
    if (File->BufferEnd != 0) {
        errno = 0;
        size_t put = fwrite(File->Buffer, 1, File->BufferEnd, d->Stream);
        if (put != File->BufferEnd) rc = diskError(kFn, "fwrite byte count error");
        File->BufferEnd = 0;
    } else if (traceAbove(2)) {
        trceprnt(kFn, "!WARNING! Write of empty buffer bypassed", "");
    }
    if (rc == pmrcOK && !d->bFIFO) rc = rememberOffset(File, d, kFn);
    return rc;
}

extern "C" uint32_t pmUnxDskGetPos(FileInfo* File) noexcept {
    static const char kFn[] = "pmUnxDskGetPos";
    pm::TraceEntryExit entryExit(kFn);
    DiskFileData* d = dataOf(File);
    if (d->bFIFO) {
        if (traceAbove(1)) trceprnt(kFn, "!ERROR! Can't position pipe", "");
        File->Position.Length = 0;
        File->Position.Data = nullptr;
        return pmrcPipePosition;
    }
    // A position promises that everything before it is in the file: the
    // stream's own buffer goes out before it is handed over.
    if (File->OpenMode != pmOpenRead && fflush(d->Stream) != 0) {
        return diskError(kFn, "'fflush' error");
    }
    DiskPosition& position = d->Taken;
    position = {};
    position.EOFFlag = File->atEOF;
    if (!File->atEOF) {
        position.BlockOffset = d->Area.BlockOffset;
        position.BufferOffset =
            static_cast<uint32_t>(static_cast<int64_t>(File->BufferPosition) - File->BufferBlkStrt);
    }
    position.RecCount = File->RecCount;
    File->Position.Length = sizeof position;
    File->Position.Data = &position;
    if (traceAbove(2)) {
        trceprnt(kFn, "Position struct", "");
        dump(&position, sizeof position);
    }
    return pmrcOK;
}

extern "C" uint32_t pmUnxDskSetPos(FileInfo* File, pmData* Position) noexcept {
    static const char kFn[] = "pmUnxDskSetPos";
    pm::TraceEntryExit entryExit(kFn);
    DiskFileData* d = dataOf(File);
    if (d->bFIFO) {
        if (traceAbove(1)) trceprnt(kFn, "!ERROR! Can't position pipe", "");
        return pmrcPipePosition;
    }
    if (Position == nullptr || Position->Length != sizeof(DiskPosition) ||
        Position->Data == nullptr) {
        std::snprintf(layer().line, sizeof layer().line,
                      "Invalid position data length, %d.  Expected %d",
                      Position ? static_cast<int>(Position->Length) : 0,
                      static_cast<int>(sizeof(DiskPosition)));
        trceprnt(kFn, layer().line, "");
        return pmrcBadPosLength;
    }
    DiskPosition at;
    std::memcpy(&at, Position->Data, sizeof at);
    if (traceAbove(2)) {
        trceprnt(kFn, "Position struct", "");
        dump(&at, sizeof at);
    }
    File->BufferPosition = 0;
    File->BufferEnd = 0;
    File->RecCount = at.RecCount;
    uint32_t rc = pmrcOK;
    if (at.EOFFlag) {
        File->atEOF = 1;
    } else if (File->OpenMode != pmOpenRead) {
        File->atEOF = 0;
        rc = returnToCheckpoint(File, d, at.BlockOffset);
    } else if (fseeko(d->Stream, static_cast<off_t>(at.BlockOffset), SEEK_SET) != 0) {
        rc = diskError(kFn, "'seek' error");
        File->atEOF = 0;
    } else {
        rc = pmReadn2Buf(File);
        File->atEOF = 0;
        if (rc == pmrcEOF) {
            File->atEOF = 1;
            rc = pmrcOK;
        }
        // A checkpoint is read back from outside: an offset behind the block
        // the file now has can't be the same data, and is never used.
        if (at.BufferOffset > File->BufferEnd) {
            if (!File->atEOF) rc = restartMismatch(kFn, at.BufferOffset, File);
            File->BufferPosition = File->BufferEnd;
        } else {
            File->BufferPosition = at.BufferOffset;
        }
    }
    if (traceAbove(4)) {
        TRCECMTI(kFn, "FileInfo->atEOF=", File->atEOF);
        TRCECMTU(kFn, "FileInfo->RecCount=", File->RecCount);
        std::snprintf(layer().line, sizeof layer().line, "FileInfo->BufferPosition=%llu",
                      static_cast<unsigned long long>(File->BufferPosition));
        trceprnt(kFn, layer().line, "");
        std::snprintf(layer().line, sizeof layer().line, "FileInfo->BufferEnd=%llu",
                      static_cast<unsigned long long>(File->BufferEnd));
        trceprnt(kFn, layer().line, "");
    }
    return rc;
}
