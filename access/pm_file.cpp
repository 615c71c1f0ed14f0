// The life of a file: pmOpen builds its FileInfo and block, pmClose and
// pmCloseR flush, close through the module and give everything back.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "pm_layer.h"
#include "pm_record_formats.h"

namespace pm {
namespace {

// Room behind the two blocks for a zero after a delivered record and for a
// length prefix read across the end of a tiny block.
constexpr uint64_t kBufferSlack = 8;

uint32_t chooseFormat(FileInfo* file) {
    static const char kFn[] = "pmOpen";
    const RecordFormat& format = recordFormatOf(file->Format);
    file->FmtRead = format.read;
    file->FmtWrite = format.write;
    // A file opened for reading alone needs the format's reader, any other
    // its writer; pmRead refuses a file whose format has no reader.
    const bool readOnly = file->OpenMode == pmOpenRead;
    if ((readOnly && file->FmtRead == nullptr) || (!readOnly && file->FmtWrite == nullptr)) {
        if (traceAbove(1)) trceprnt(kFn, "!ERROR! Invalid File format", "");
        return pmrcBadFormat;
    }
    if (traceAbove(2)) trceprnt(kFn, format.what, "");
    return pmrcOK;
}

void setDiskFunctions(FileInfo* file) {
    file->ReadBuf = pmunxRBuf;
    file->WriteBuf = pmunxWBuf;
    file->GetPos = pmUnxDskGetPos;
    file->SetPos = pmUnxDskSetPos;
    file->OpenFile = pmUnxDskOpen;
    file->CloseFile = pmUnxDskClose;
}

uint32_t openThroughModule(FileInfo* file, Paramod* mod, uint32_t sharedMemory,
                           uint64_t callerBufferSize) {
    static const char kFn[] = "pmOpen";
    Open_t& b = blocks().open;
    b.PIData = mod->PIData;
    b.OpenMode = file->OpenMode;
    b.BlkHeaderLen = 0;
    b.BufferSize = 0;
    b.FIData = 0;
    b.FNameLen = static_cast<uint16_t>(file->FNameLen);
    std::memcpy(b.FName, file->FName, file->FNameLen);
    uint32_t rc = commWithModule(kFn, mod->pmIPCHandle, &b, pmfcOpen, mod->TraceLvl);
    file->BufferSize = b.BufferSize;
    file->BlkHeaderLen = b.BlkHeaderLen;
    file->FIData = b.FIData;
    if (sharedMemory && rc == pmrcOK) {
        file->bSharedMemory = 1;
        if (traceAbove(1)) trceprnt(kFn, "Shared memory will be used for this file's I/O", "");
        if (callerBufferSize < b.BufferSize) {
            char text[160];
            std::snprintf(text, sizeof text, "%s > %s", "Attached AM requested buffer size",
                          "allocated for multi-reader feature");
            trceprnt(kFn, text, "");
            return pmrcMemory;
        }
        file->BufferSize = callerBufferSize;
    }
    return rc;
}

void linkFile(Paramod* mod, FileInfo* file) {
    if (mod->PrevFile != nullptr) {
        mod->PrevFile->Next = file;
    } else {
        mod->FirstFile = file;
    }
    mod->PrevFile = file;
}

bool unlinkFile(Paramod* mod, FileInfo* file) {
    forgetCheckedFile();
    FileInfo* previous = nullptr;
    FileInfo* f = mod->FirstFile;
    while (f != nullptr && f != file) {
        previous = f;
        f = f->Next;
    }
    if (f == nullptr) return false;
    if (previous != nullptr) {
        previous->Next = file->Next;
    } else {
        mod->FirstFile = file->Next;
    }
    if (mod->PrevFile == file) mod->PrevFile = previous;
    file->Next = nullptr;
    return true;
}

void giveUp(FileInfo* file) {
    uint32_t token = file->MMToken;
    file->MMToken = 0;
    pmFreeMem(token);
}

}  // namespace

uint32_t closeFile(pmFp token, bool forRestart) {
    const char* fn = forRestart ? "pmCloseR" : "pmClose";
    TraceEntryExit entryExit(fn);
    FileInfo* file = nullptr;
    uint32_t rc = checkFp(token, &file, fn);
    if (rc != pmrcOK) return rc;
    Paramod* mod = file->PPtr;
    if (traceAbove(2)) {
        trceprnt(fn, "Closing file=", file->FName);
        if (mod->pmIPCHandle != nullptr) {
            trceprnt(fn, "closed via paramod=", mod->Name);
        } else {
            trceprnt(fn, "closed via default paramod", "");
        }
        TRCECMTU(fn, "Record count=", file->RecCount);
    }
    uint32_t flushRc = pmrcOK;
    if (file->OpenMode == pmOpenWrite || file->OpenMode == pmOpenUpdate) {
        flushRc = file->FmtWrite(file, nullptr, 1);
    }
    if (mod->pmIPCHandle != nullptr) {
        Close_t& b = blocks().close;
        b.FIData = file->FIData;
        uint32_t moduleRc = commWithModule(
            fn, mod->pmIPCHandle, &b, forRestart ? pmfcCloseRestart : pmfcClose, file->TraceLvl);
        rc = moduleRc != pmrcOK ? moduleRc : flushRc;
        std::free(file->Position.Data);
        file->Position.Data = nullptr;
        file->Position.Length = 0;
    } else {
        // A failing closing flush isn't reported for the disk module.
        rc = file->CloseFile(file, forRestart ? 1 : 0);
    }
    if (!unlinkFile(mod, file)) {
        if (traceAbove(1)) trceprnt(fn, "!ERROR! File not found in list", "");
        return pmrcMemory;
    }
    if (!file->bSharedMemory) std::free(file->Buffer);
    file->Buffer = nullptr;
    std::free(file->BlkHeaderSave);
    file->BlkHeaderSave = nullptr;
    giveUp(file);
    return rc;
}

}  // namespace pm

using namespace pm;

extern "C" uint32_t pmOpen(int16_t OpenMode, uint32_t bSharedMemory, uint32_t Format,
                           void* Reserved, uint64_t BufferSize, uint32_t SchemaLength,
                           const char* FileName, pmHandle Handle, uint32_t* FmtSupplement,
                           pmFp* Out) noexcept {
    static const char kFn[] = "pmOpen";
    pm::TraceEntryExit entryExit(kFn);
    (void)Reserved;
    Paramod* mod = nullptr;
    uint32_t rc = checkHandle(Handle, &mod, kFn);
    if (rc != pmrcOK) return rc;
    if (Out == nullptr) return pmrcBadParm;
    *Out = 0;
    if (Format < 1 || Format > 8) {
        if (traceAbove(1)) trceprnt(kFn, "!ERROR! Invalid File format", "");
        return pmrcBadFormat;
    }
    if (FileName == nullptr) FileName = "";
    size_t nameLength = strnlen(FileName, PM_MAX_FILE_NAME + 1);
    if (nameLength > PM_MAX_FILE_NAME) {
        TRCECMTI(kFn, "!ERROR! Filename length >", PM_MAX_FILE_NAME);
        return pmrcNameTooLong;
    }
    if (traceAbove(2)) {
        char* line = layer().line;
        std::snprintf(line, sizeof layer().line, "FileName='%s', Format=%d, OpenMode=%d", FileName,
                      static_cast<int>(Format), static_cast<int>(OpenMode));
        trceprnt(kFn, line, "");
        if (mod->pmIPCHandle != nullptr) {
            trceprnt(kFn, "opening via paramod=", mod->Name);
        } else {
            trceprnt(kFn, "opening via default paramod", "");
        }
    }
    uint32_t token = 0;
    auto* file = static_cast<FileInfo*>(pmGetMem(sizeof(FileInfo), &token, 1));
    if (file == nullptr) {
        trceprnt(kFn, "!ERROR! Memory allocation error", "");
        return pmrcMemory;
    }
    file->MMToken = token;
    file->TraceLvl = mod->TraceLvl;
    file->Format = Format;
    file->OpenMode = OpenMode;
    file->bFlipEndian = EndianFlip != 0;
    file->bBypassAMCheckpoint = bTakeAMcheckpoint == 0;
    file->bAtStart = 1;
    file->ByteOrder = Platform_Endian();
    file->FNameLen = static_cast<uint32_t>(nameLength);
    std::memcpy(file->FName, FileName, nameLength);
    file->FmtSupplement = FmtSupplement != nullptr ? *FmtSupplement : 0;
    file->PPtr = mod;
    rc = chooseFormat(file);
    if (rc != pmrcOK) {
        giveUp(file);
        return rc;
    }
    setDiskFunctions(file);
    if (mod->pmIPCHandle != nullptr) {
        rc = openThroughModule(file, mod, bSharedMemory, BufferSize);
    } else {
        file->BufferSize = BufferSize;
        rc = file->OpenFile(file, SchemaLength);
    }
    file->BufferBlkStrt = -static_cast<int32_t>(file->BlkHeaderLen);
    if (traceAbove(2)) {
        char* line = layer().line;
        std::snprintf(line, sizeof layer().line,
                      "BufferSize=%llu, BlkHeaderLen=%d, BufferBlkStrt=%d",
                      static_cast<unsigned long long>(file->BufferSize),
                      static_cast<int>(file->BlkHeaderLen), static_cast<int>(file->BufferBlkStrt));
        trceprnt(kFn, line, "");
    }
    if (rc != pmrcOK && rc != pmrcEmptyFile) {
        giveUp(file);
        return rc;
    }
    uint32_t openRc = rc;
    if (file->BlkHeaderLen != 0) {
        file->BlkHeaderSave = static_cast<uint8_t*>(std::malloc(file->BlkHeaderLen));
        if (file->BlkHeaderSave == nullptr) {
            trceprnt(kFn, "!ERROR! Memory allocation error", "");
            giveUp(file);
            return pmrcMemory;
        }
    }
    // A shared open shares its blocks whatever the open answered, 29 included.
    if (bSharedMemory) file->bSharedMemory = 1;
    if (file->bSharedMemory) {
        PreadFp = file;
        if (traceAbove(2)) trceprnt(kFn, "SM memory allocated", "");
        // Marks the buffer until the caller puts the first shared block here.
        file->Buffer = reinterpret_cast<uint8_t*>(uintptr_t{1});
    } else {
        if (traceAbove(2)) TRCECMTLL(kFn, "Allocating buffer size=", file->BufferSize);
        file->Buffer = file->BufferSize <= SIZE_MAX / 2
                           ? static_cast<uint8_t*>(std::malloc(2 * file->BufferSize + kBufferSlack))
                           : nullptr;
        if (file->Buffer == nullptr) {
            std::free(file->BlkHeaderSave);
            file->BlkHeaderSave = nullptr;
            trceprnt(kFn, "!ERROR! Memory allocation error", "");
            giveUp(file);
            return pmrcMemory;
        }
    }
    if (traceAbove(1)) {
        char* line = layer().line;
        std::snprintf(line, sizeof layer().line, "ThisFp->Buffer addr = %p",
                      static_cast<void*>(file->Buffer));
        trceprnt(kFn, line, "");
        TRCECMTLL(kFn, "ThisFp->BufferSize = ", file->BufferSize);
    }
    file->BufferPosition = 0;
    file->BufferEnd = 0;
    linkFile(mod, file);
    *Out = token;
    return openRc;
}

extern "C" uint32_t pmClose(pmFp Fp) noexcept {
    return closeFile(Fp, false);
}

extern "C" uint32_t pmCloseR(pmFp Fp) noexcept {
    return closeFile(Fp, true);
}
