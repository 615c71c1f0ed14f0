/*
 * pmdcomt.h - common types of the access layer (the `pm` functions), shared
 * by the access layer, the data connector layer and the record formats.
 * Layouts are exact and checked with static assertions.
 *
 * Two choices are fixed here for callers:
 *  - `pmOpen` takes the file name as a zero-terminated text; at most 4096
 *    bytes are looked at before the name is refused as too long (19).
 *  - `InitBlock` has natural alignment (24 bytes), like every other record
 *    of this header that isn't marked packed.
 */
#ifndef PMDCOMT_H
#define PMDCOMT_H

#include <stddef.h>
#include <stdint.h>

#include "bu_export.h"

#ifdef __cplusplus
extern "C" {
#define PM_STATIC_ASSERT(cond, msg) static_assert(cond, msg)
#else
#define PM_STATIC_ASSERT(cond, msg) _Static_assert(cond, msg)
#endif

#define PM_AT(type, field, pos) \
    PM_STATIC_ASSERT(offsetof(type, field) == (pos), #type "." #field " at " #pos)

/* Tokens from the access layer's pool naming an attached module and an open
 * file; never pointers. */
typedef uint32_t pmHandle;
typedef uint32_t pmFp;

/* Counted bytes: names, values, positions, error texts and rows all travel
 * in it. Packed, 12 bytes. */
#pragma pack(push, 1)
typedef struct pmData {
    uint32_t Length;
    void* Data;
} pmData;
#pragma pack(pop)

PM_AT(pmData, Length, 0);
PM_AT(pmData, Data, 4);
PM_STATIC_ASSERT(sizeof(pmData) == 12, "pmData is 12 bytes");

/* ------------------------------------------------------------------------ */
/* Return codes; the numbers are a wire format shared with Access Modules.   */
/* ------------------------------------------------------------------------ */

enum pmReturnCode {
    pmrcOK = 0,
    pmrcBadHandle = 1,
    pmrcBadParm = 2,
    pmrcNoModule = 3,
    pmrcNoFile = 4,
    pmrcWriteOnly = 5,
    pmrcReadOnly = 6,
    pmrcBadFp = 7,
    pmrcFilesOpen = 8,
    pmrcEOF = 9,
    pmrcCPReady = 10,
    pmrcBadClient = 11,
    pmrcMemory = 12,
    pmrcBadMode = 13,
    pmrcBadFormat = 14,
    pmrcBadBlockSize = 15,
    pmrcDataFormat = 16,
    pmrcOverflow = 17,
    pmrcBadVersion = 18,
    pmrcNameTooLong = 19,
    pmrcInitSyntax = 20,
    pmrcInitCmdChar = 21,
    pmrcInitCmdOption = 22,
    pmrcBadPosLength = 23,
    pmrcUnsupported = 24,
    pmrcContinue = 25,
    pmrcNotInitialized = 26,
    pmrcBadTraceLevel = 27,
    pmrcModulesActive = 28,
    pmrcEmptyFile = 29,
    pmrcRedundantInit = 30,
    pmrcBadSupplement = 31,
    pmrcBadCheckpointMethod = 32,
    pmrcUnknownAttr = 33,
    pmrcFailure = 34, /* the text is in the last-error buffer */
    pmrcNoEOR = 35,
    pmrcBlockTooLarge = 36,
    pmrcSymbolError = 37,
    pmrcLreclMismatch = 38,
    pmrcBadMBC = 39,
    pmrcBadAttrValue = 40,
    pmrcAttrAfterOpen = 41,
    pmrcNoSignature = 42,
    pmrcRestartMismatch = 43,
    pmrcAttrNotFirst = 44,
    pmrcEndianBOM = 45,
    pmrcCharsetBOM = 46,
    pmrcDCAttrName = 50,
    pmrcDCAttrValue = 51,
    pmrcTimeOut = 55,
    pmrcPipePosition = 56
};

/* A status that an Access Module alone can produce: already reported. */
#define PM_ALREADY_REPORTED 999999u

/* ------------------------------------------------------------------------ */
/* Records                                                                   */
/* ------------------------------------------------------------------------ */

/* Format codes of `pmOpen`. */
enum pmFormat {
    pmFmtText = 1,
    pmFmtBinary = 2,
    pmFmtFormatted = 3,
    pmFmtBinarySelf = 4,
    pmFmtFormatted2 = 5,
    pmFmtBinary4 = 6,
    pmFmtFormatted4 = 7,
    pmFmtUnformatted = 8
};

/* Open modes. */
enum pmOpenMode { pmOpenRead = 1, pmOpenWrite = 2, pmOpenUpdate = 3 };

/* The record buffer of `pmRead`, `pmWrite` and the format functions. On a
 * read `Data` points into the file's block and stays valid until the next
 * call on that file. */
typedef struct pmRecord {
    uint32_t Length;
    void* Data;
    uint16_t Flags;
    uint32_t RecCount;
} pmRecord;

PM_AT(pmRecord, Length, 0);
PM_AT(pmRecord, Data, 8);
PM_AT(pmRecord, Flags, 16);
PM_AT(pmRecord, RecCount, 20);
PM_STATIC_ASSERT(sizeof(pmRecord) == 24, "pmRecord is 24 bytes");

/* One link of the chain of version records handed out by `pmGetID`. */
typedef struct VersionRecord {
    char Name[32];
    char Version[32];
    struct VersionRecord* Next;
} VersionRecord;

PM_AT(VersionRecord, Version, 32);
PM_AT(VersionRecord, Next, 64);
PM_STATIC_ASSERT(sizeof(VersionRecord) == 72, "VersionRecord is 72 bytes");

/* Argument of `pmInit`: natural alignment. */
typedef struct InitBlock {
    int32_t TraceLevel;
    const char* ClientName;
    uint16_t InterfaceVerNo;
} InitBlock;

PM_AT(InitBlock, TraceLevel, 0);
PM_AT(InitBlock, ClientName, 8);
PM_AT(InitBlock, InterfaceVerNo, 16);
PM_STATIC_ASSERT(sizeof(InitBlock) == 24, "InitBlock is 24 bytes");

#define PM_INTERFACE_VERSION 3
#define PM_MAX_MODULE_NAME 512
#define PM_MAX_FILE_NAME 4096
#define PM_MAX_ERROR_TEXT 32000
#define PM_MAX_ATTR_NAME 255
#define PM_MAX_ATTR_VALUE 1300

/* Signature of an Access Module's one entry point. */
typedef void (*PIDMMain_t)(void* CmdBlock, void* ParmBlock);

struct FileInfo;

/* Record format functions, chosen at open by the file's format. */
typedef uint32_t (*pmFmtRead_t)(struct FileInfo* File, pmRecord* Record);
typedef uint32_t (*pmFmtWrite_t)(struct FileInfo* File, pmRecord* Record, uint32_t Flush);

/* The default disk module's functions, stored in every file. */
typedef uint32_t (*pmDiskOpen_t)(struct FileInfo* File, uint32_t SchemaLength);
typedef uint32_t (*pmDiskClose_t)(struct FileInfo* File, uint32_t Restart);
typedef uint32_t (*pmDiskReadBuf_t)(struct FileInfo* File, uint32_t* BytesRead);
typedef uint32_t (*pmDiskWriteBuf_t)(struct FileInfo* File);
typedef uint32_t (*pmDiskGetPos_t)(struct FileInfo* File);
typedef uint32_t (*pmDiskSetPos_t)(struct FileInfo* File, pmData* Position);

/* One attached module. */
typedef struct Paramod {
    uint32_t MMToken;
    int32_t TraceLvl;
    uint32_t NameLen;
    PIDMMain_t pmIPCHandle; /* null for the default module */
    char Name[PM_MAX_MODULE_NAME];
    uint32_t InitStrLen;
    char* InitStr; /* owned: freed by pmDetach when InitStrLen is not 0 */
    uint64_t PIData;
    void* PIDM_LIB_pointer;
    struct FileInfo* FirstFile;
    struct FileInfo* PrevFile;
    struct Paramod* Next;
} Paramod;

PM_AT(Paramod, MMToken, 0);
PM_AT(Paramod, TraceLvl, 4);
PM_AT(Paramod, NameLen, 8);
PM_AT(Paramod, pmIPCHandle, 16);
PM_AT(Paramod, Name, 24);
PM_AT(Paramod, InitStrLen, 536);
PM_AT(Paramod, InitStr, 544);
PM_AT(Paramod, PIData, 552);
PM_AT(Paramod, PIDM_LIB_pointer, 560);
PM_AT(Paramod, FirstFile, 568);
PM_AT(Paramod, PrevFile, 576);
PM_AT(Paramod, Next, 584);
PM_STATIC_ASSERT(sizeof(Paramod) == 592, "Paramod is 592 bytes");

/* One open file, with its block. */
typedef struct FileInfo {
    uint32_t MMToken;
    int32_t TraceLvl;
    uint32_t Format;
    int16_t OpenMode;
    uint32_t LRecl;
    uint64_t FIData;
    uint16_t BlkHeaderLen;
    uint8_t* BlkHeaderSave;
    uint64_t BufferSize;
    uint32_t bSharedMemory;
    uint64_t BufferPosition;
    uint64_t BufferEnd;
    uint8_t* Buffer;
    uint8_t bFlipEndian;
    uint8_t bBypassAMCheckpoint;
    uint8_t atEOF;
    uint8_t bAtStart;
    int32_t ByteOrder;
    uint32_t RecCount;
    uint32_t FNameLen;
    char FName[PM_MAX_FILE_NAME + 1];
    uint16_t EORLength;
    uint8_t EOR[10];
    int32_t BufferBlkStrt;
    pmData Position;
    void* Reserved1; /* both 0: the disk module's plain-file path */
    void* Reserved2;
    pmFmtRead_t FmtRead;
    pmFmtWrite_t FmtWrite;
    pmDiskReadBuf_t ReadBuf;
    pmDiskWriteBuf_t WriteBuf;
    pmDiskGetPos_t GetPos;
    pmDiskSetPos_t SetPos;
    pmDiskOpen_t OpenFile;
    pmDiskClose_t CloseFile;
    uint32_t FmtSupplement;
    Paramod* PPtr;
    struct FileInfo* Next;
    uint8_t Reserved3[32]; /* zero; keeps the record at its 4368 bytes */
} FileInfo;

PM_AT(FileInfo, MMToken, 0);
PM_AT(FileInfo, TraceLvl, 4);
PM_AT(FileInfo, Format, 8);
PM_AT(FileInfo, OpenMode, 12);
PM_AT(FileInfo, LRecl, 16);
PM_AT(FileInfo, FIData, 24);
PM_AT(FileInfo, BlkHeaderLen, 32);
PM_AT(FileInfo, BlkHeaderSave, 40);
PM_AT(FileInfo, BufferSize, 48);
PM_AT(FileInfo, bSharedMemory, 56);
PM_AT(FileInfo, BufferPosition, 64);
PM_AT(FileInfo, BufferEnd, 72);
PM_AT(FileInfo, Buffer, 80);
PM_AT(FileInfo, bFlipEndian, 88);
PM_AT(FileInfo, bBypassAMCheckpoint, 89);
PM_AT(FileInfo, atEOF, 90);
PM_AT(FileInfo, bAtStart, 91);
PM_AT(FileInfo, ByteOrder, 92);
PM_AT(FileInfo, RecCount, 96);
PM_AT(FileInfo, FNameLen, 100);
PM_AT(FileInfo, FName, 104);
PM_AT(FileInfo, EORLength, 4202);
PM_AT(FileInfo, EOR, 4204);
PM_AT(FileInfo, BufferBlkStrt, 4216);
PM_AT(FileInfo, Position, 4220);
PM_AT(FileInfo, Reserved1, 4232);
PM_AT(FileInfo, Reserved2, 4240);
PM_AT(FileInfo, FmtRead, 4248);
PM_AT(FileInfo, FmtWrite, 4256);
PM_AT(FileInfo, ReadBuf, 4264);
PM_AT(FileInfo, WriteBuf, 4272);
PM_AT(FileInfo, GetPos, 4280);
PM_AT(FileInfo, SetPos, 4288);
PM_AT(FileInfo, OpenFile, 4296);
PM_AT(FileInfo, CloseFile, 4304);
PM_AT(FileInfo, FmtSupplement, 4312);
PM_AT(FileInfo, PPtr, 4320);
PM_AT(FileInfo, Next, 4328);
PM_STATIC_ASSERT(sizeof(FileInfo) == 4368, "FileInfo is 4368 bytes");

/* The record behind TLGlobalPtr: the trace tests read `CurrentLevel`. */
typedef struct pmTraceLevels {
    int32_t DefaultLevel;
    int32_t CurrentLevel;
} pmTraceLevels;

PM_AT(pmTraceLevels, CurrentLevel, 4);

/* ------------------------------------------------------------------------ */
/* Exported globals                                                          */
/* ------------------------------------------------------------------------ */

/* The record through which a row passes, and the output file's handle.
 * pmBuffer keeps the 12-byte pmData form on every path; a record read into
 * it (pmRead fills the 24-byte pmRecord) leaves its count in
 * pmBufferRecCount. */
BU_EXPORT extern pmData pmBuffer;
BU_EXPORT extern uint32_t pmBufferRecCount;
BU_EXPORT extern pmFp pmfp;

BU_EXPORT extern pmTraceLevels* TLGlobalPtr;
BU_EXPORT extern int32_t bDisplayFuncName;

/* Module checkpoints: 0 when the job can't restart (no checkpoint interval). */
BU_EXPORT extern int32_t bTakeAMcheckpoint;
/* Handed to pmOpen as its reserved word; it has no effect. */
BU_EXPORT extern void* pmHadoopFS;
/* Named pipe wait in seconds, 0 for none; multi-instance read flag. */
BU_EXPORT extern int32_t FIFO_TimeOutSeconds;
BU_EXPORT extern int32_t bMultiInstanceRead;

/* Multi-reader feature: untouched unless bParallelReadMaster is set. */
typedef struct pmSharedControl {
    int32_t Reserved0;
    int32_t SHmemIndex; /* 1-based number of the shared block in use */
} pmSharedControl;
BU_EXPORT extern int32_t bParallelReadMaster;
BU_EXPORT extern int32_t bParallelReadSlave;
BU_EXPORT extern pmSharedControl* pSMmaster;
BU_EXPORT extern uint8_t* pDB[3];
BU_EXPORT extern int32_t ReadyIndex;
BU_EXPORT extern int32_t bAltPreadBufferReady;
BU_EXPORT extern FileInfo* PreadFp;

BU_EXPORT extern Paramod* SG_Paramod_1st;
BU_EXPORT extern Paramod* SG_Paramod_last;

/* Version texts of the layer's pieces. */
BU_EXPORT extern const char pmprocsVersion[];
BU_EXPORT extern const char pmrwfmtVersion[];
BU_EXPORT extern const char pmtrceVersion[];
BU_EXPORT extern const char pmmmVersion[];
BU_EXPORT extern const char dcuddiVersion[];
BU_EXPORT extern const char pmhexdmpVersion[];
BU_EXPORT extern const char pmunxdskVersion[];

/* ------------------------------------------------------------------------ */
/* Entry points                                                              */
/* ------------------------------------------------------------------------ */

struct LogHandle;

BU_API uint32_t pmInit(InitBlock* Init) BU_NOEXCEPT;
/* Names: two pmData back to back, module name and initialisation string. */
BU_API uint32_t pmAttach(pmData* Names, uint32_t CheckPointMethod, pmHandle* Out) BU_NOEXCEPT;
BU_API uint32_t pmDetach(pmHandle Handle, uint32_t Mode) BU_NOEXCEPT;
BU_API uint32_t pmShutDown(uint32_t Mode) BU_NOEXCEPT;
BU_API uint32_t pmOpen(int16_t OpenMode, uint32_t bSharedMemory, uint32_t Format, void* Reserved,
                       uint64_t BufferSize, uint32_t SchemaLength, const char* FileName,
                       pmHandle Handle, uint32_t* FmtSupplement, pmFp* Out) BU_NOEXCEPT;
BU_API uint32_t pmClose(pmFp Fp) BU_NOEXCEPT;
BU_API uint32_t pmCloseR(pmFp Fp) BU_NOEXCEPT;
BU_API uint32_t pmRead(pmFp Fp, pmRecord* Record) BU_NOEXCEPT;
BU_API uint32_t pmWrite(pmFp Fp, pmRecord* Record) BU_NOEXCEPT;
BU_API uint32_t pmFlush(pmFp Fp) BU_NOEXCEPT;
BU_API uint32_t pmGetPos(pmFp Fp, uint32_t UserDone, pmData* Out) BU_NOEXCEPT;
BU_API uint32_t pmRepos(pmFp Fp, pmData* Position) BU_NOEXCEPT;
BU_API uint32_t pmAGetAttr(pmHandle Handle, pmData* Value, pmData Name) BU_NOEXCEPT;
BU_API uint32_t pmFGetAttr(pmFp Fp, pmData* Value, pmData Name) BU_NOEXCEPT;
BU_API uint32_t pmAPutAttr(pmHandle Handle, pmData Name, pmData Value) BU_NOEXCEPT;
BU_API uint32_t pmFPutAttr(pmFp Fp, pmData Name, pmData Value) BU_NOEXCEPT;
BU_API uint32_t pmGetID(pmHandle Handle, VersionRecord** Out) BU_NOEXCEPT;
BU_API uint32_t pmGetErrText(uint32_t LastReturnCode, pmData* Out) BU_NOEXCEPT;
BU_API uint32_t pmSetErrTxt(const char* Text, uint32_t Length) BU_NOEXCEPT;
BU_API uint32_t pmTrace(uint32_t Scope, uint32_t* TargetToken, int32_t Level) BU_NOEXCEPT;
BU_API uint32_t pmTraceMsg(int32_t Level, const char* Text) BU_NOEXCEPT;
BU_API uint32_t pmDiag(uint32_t Request, uint32_t* Token) BU_NOEXCEPT;
BU_API int32_t Platform_Endian(void) BU_NOEXCEPT;

/* Block refill and block writer used by the record formats. */
BU_API uint32_t pmReadn2Buf(FileInfo* File) BU_NOEXCEPT;
BU_API uint32_t pmWriteBuf(FileInfo* File) BU_NOEXCEPT;

/* Memory pool. */
BU_API int32_t pmMMNewPool(void) BU_NOEXCEPT;
BU_API void pmMMFreePool(void) BU_NOEXCEPT;
BU_API void* pmGetMem(uint32_t Size, uint32_t* Token, uint32_t bZero) BU_NOEXCEPT;
BU_API void* pmGetMemA(uint32_t Token) BU_NOEXCEPT;
BU_API void pmFreeMem(uint32_t Token) BU_NOEXCEPT;
BU_API void pmMMDiag(uint32_t Request) BU_NOEXCEPT;

/* Trace lines on the private log (message 19004) and the hex dump. */
BU_API void trceSetFp(struct LogHandle* Handle) BU_NOEXCEPT;
BU_API void trceprnt(const char* Function, const char* Text1, const char* Text2) BU_NOEXCEPT;
BU_API void TRCECMTI(const char* Function, const char* Text, int32_t Value) BU_NOEXCEPT;
BU_API void TRCECMTU(const char* Function, const char* Text, uint32_t Value) BU_NOEXCEPT;
BU_API void TRCECMTLL(const char* Function, const char* Text, unsigned long long Value) BU_NOEXCEPT;
BU_API void TRCECMTX(const char* Function, const char* Text, uint32_t Value) BU_NOEXCEPT;
BU_API void TRCECMTC(const char* Function, const char* Text, char Value) BU_NOEXCEPT;
BU_API void TRCECMTD(const char* Function, const char* Text, double Value) BU_NOEXCEPT;
BU_API void pmHexDmp(int32_t MessageNumber, uint32_t MaxBytes, const void* Address, uint32_t Length,
                     const char* Label, uint32_t bHeader) BU_NOEXCEPT;

/* Record formats of the length-prefixed and unformatted files. */
BU_API uint32_t pmrwfmtRvli(FileInfo* File, pmRecord* Record) BU_NOEXCEPT;
BU_API uint32_t pmrwfmtWvli(FileInfo* File, pmRecord* Record, uint32_t Flush) BU_NOEXCEPT;
BU_API uint32_t pmrwfmtRnone(FileInfo* File, pmRecord* Record) BU_NOEXCEPT;
BU_API uint32_t pmrwfmtWnone(FileInfo* File, pmRecord* Record, uint32_t Flush) BU_NOEXCEPT;
/* Text records; provided by the text record code. */
BU_API uint32_t pmrwfmtRtext(FileInfo* File, pmRecord* Record) BU_NOEXCEPT;
BU_API uint32_t pmrwfmtWtext(FileInfo* File, pmRecord* Record, uint32_t Flush) BU_NOEXCEPT;

/* The default disk module. */
BU_API uint32_t pmUnxDskOpen(FileInfo* File, uint32_t SchemaLength) BU_NOEXCEPT;
BU_API uint32_t pmUnxDskClose(FileInfo* File, uint32_t Restart) BU_NOEXCEPT;
BU_API uint32_t pmunxRBuf(FileInfo* File, uint32_t* BytesRead) BU_NOEXCEPT;
BU_API uint32_t pmunxWBuf(FileInfo* File) BU_NOEXCEPT;
BU_API uint32_t pmUnxDskGetPos(FileInfo* File) BU_NOEXCEPT;
BU_API uint32_t pmUnxDskSetPos(FileInfo* File, pmData* Position) BU_NOEXCEPT;

#undef PM_AT

#ifdef __cplusplus
} /* extern "C" */
#endif

#endif /* PMDCOMT_H */
