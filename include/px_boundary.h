/*
 * px_boundary.h - the binary boundary between the operator and the host
 * (the parallel data-movement infrastructure, or our emulator `buhost`).
 *
 * Everything here crosses between separately built objects: the operator's
 * method record, the four handle kinds with their service tables, the log
 * service record, status codes, message argument tags and event codes.
 * Positions are exact for 64-bit little-endian Linux and are checked below
 * with static assertions; the header is plain C so both C and C++ code can
 * include it. Nothing else of the operator is visible to the host.
 */
#ifndef PX_BOUNDARY_H
#define PX_BOUNDARY_H

#include <stdarg.h>
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#define PX_STATIC_ASSERT(cond, msg) static_assert(cond, msg)
#else
#define PX_STATIC_ASSERT(cond, msg) _Static_assert(cond, msg)
#endif

/* ------------------------------------------------------------------------ */
/* Status codes                                                              */
/* ------------------------------------------------------------------------ */

/* X-macro of every status code with its text; both sides build their name
 * tables from it, so the texts cannot drift apart. */
#define PX_STATUS_LIST(X)                               \
    X(0, Success, "Success")                            \
    X(1, BadHandle, "Bad Handle")                       \
    X(2, InvalidArgument, "Invalid Argument")           \
    X(3, NotActive, "Not Active")                       \
    X(4, Warning, "Warning")                            \
    X(5, NotFound, "Not Found")                         \
    X(6, NotEnough, "Not Enough")                       \
    X(7, UnknownError, "Unknown Error")                 \
    X(8, SystemError, "System Error")                   \
    X(9, ProtocolError, "Protocol Error")               \
    X(10, TimeOut, "Time Out")                          \
    X(11, EndOfProcessing, "End Of Processing")         \
    X(12, EndOfData, "End Of Data")                     \
    X(13, Conflict, "Conflict")                         \
    X(14, CatalogError, "Catalog Error")                \
    X(15, ObjectBusy, "Object Busy")                    \
    X(16, NotSupported, "Not Supported")                \
    X(17, DiscardRow, "Discard Row")                    \
    X(18, NullTable, "Null Table")                      \
    X(19, Storage, "Storage")                           \
    X(20, CountError, "Count Error")                    \
    X(21, NullPointer, "Null Pointer")                  \
    X(22, Size, "Size")                                 \
    X(23, OperatorError, "Operator Error")              \
    X(24, PathError, "Path Error")                      \
    X(25, ParserError, "Parser Error")                  \
    X(26, Duplicate, "Duplicate")                       \
    X(27, OpenError, "Open Error")                      \
    X(28, SyntaxError, "Syntax Error")                  \
    X(29, LengthError, "Length Error")                  \
    X(30, Full, "Full")                                 \
    X(31, CommunicationError, "Communication Error")    \
    X(32, NullHandle, "Null Handle")                    \
    X(33, Checkpoint, "Checkpoint")                     \
    X(34, CheckpointNotReady, "Checkpoint Not Ready")   \
    X(35, CheckpointReady, "Checkpoint Ready")          \
    X(36, IOError, "IO Error")                          \
    X(37, MultiPhaseError, "Multi Phase Error")         \
    X(38, NullRow, "Null Row")                          \
    X(39, InvalidDataType, "Invalid DataType")          \
    X(40, DataStreamError, "DataStream Error")          \
    X(41, NextPhase, "Next Phase")                      \
    X(42, EndMethod, "End Method")                      \
    X(43, SamePhase, "Same Phase")                      \
    X(44, SchemaError, "Schema Error")                  \
    X(45, RowError, "Row Error")                        \
    X(46, MetadataError, "Metadata Error")              \
    X(47, RetryError, "Retry Error")                    \
    X(48, FatalError, "Fatal Error")                    \
    X(49, InvalidName, "Invalid Name")                  \
    X(50, NodeError, "Node Error")                      \
    X(51, TaskError, "Task Error")                      \
    X(52, GroupError, "Group Error")                    \
    X(53, LogCommError, "Log Communication Error")      \
    X(54, LogFileError, "Log File Error")               \
    X(55, LogPassword, "Log Password")                  \
    X(56, LogXDRError, "Log XDR Error")                 \
    X(57, LogNoMemory, "Log Insufficient Memory Error") \
    X(58, Loghandle, "Loghandle")                       \
    X(59, NoLogRecord, "No Log Record")                 \
    X(60, NoMessageCatalog, "No Message Catalog")       \
    X(61, NoRow, "No Row")                              \
    X(62, FlushRows, "Flush Rows")                      \
    X(63, InvalidTree, "Invalid Tree")                  \
    X(64, Synchronize, "Synchronize")                   \
    X(65, SynchronizeMaster, "SynchronizeMaster")       \
    X(66, SynchronizeSlave, "SynchronizeSlave")         \
    X(67, DataAcquisitionDone, "DataAcquisitionDone")   \
    X(68, WaitTimeout, "WaitTimeout")                   \
    X(69, UserRestart, "UserRestart")                   \
    X(70, ErrorLimitExceeded, "ErrorLimitExceeded")     \
    X(71, JumpPhase, "JumpPhase")                       \
    X(72, ConsumerCheckpointReq, "ConsumerCheckpointReq")

#define PX_STATUS_ENUM_ENTRY(code, name, text) PXSTC_##name = code,
enum PX_StatusCode { PX_STATUS_LIST(PX_STATUS_ENUM_ENTRY) };
#undef PX_STATUS_ENUM_ENTRY

/* Number of status codes (0..72) and the width of one row of a name table. */
#define PX_STATUS_COUNT 73
#define PX_STATUS_NAME_WIDTH 32

PX_STATIC_ASSERT(PXSTC_FatalError == 48, "fatal error is 48");
PX_STATIC_ASSERT(PXSTC_SamePhase == 43, "same phase is 43");
PX_STATIC_ASSERT(PXSTC_ConsumerCheckpointReq == PX_STATUS_COUNT - 1, "73 status codes");

/* ------------------------------------------------------------------------ */
/* Handle kinds and the common head of every handle                          */
/* ------------------------------------------------------------------------ */

enum PX_HandleKind {
    PX_KIND_OPERATOR = 1,
    PX_KIND_SCHEMA = 2,
    PX_KIND_LOG = 3,
    PX_KIND_COLUMN = 4
};

typedef struct OperatorHandle OperatorHandle;
typedef struct SchemaHandle SchemaHandle;
typedef struct LogHandle LogHandle;
typedef struct ColumnHandle ColumnHandle;
typedef struct LogServices LogServices;

/* Positions 0 and 16 belong to the host and are never interpreted by the
 * operator (position 0 is only printed in trace lines). */
#define PX_HANDLE_HEAD  \
    uint64_t hostWord0; \
    uint64_t kind;      \
    uint64_t hostWord16

/* ------------------------------------------------------------------------ */
/* Services of an OperatorHandle                                             */
/* ------------------------------------------------------------------------ */

typedef int32_t (*PX_CreateGlobalVar_t)(OperatorHandle* oh, const char* name, int32_t elemSize,
                                        int32_t elemCount);
typedef int32_t (*PX_DeleteGlobalVar_t)(OperatorHandle* oh, const char* name);
/* The value stays the host's; the caller copies `*length` bytes from it. */
typedef int32_t (*PX_ReadGlobalVar_t)(OperatorHandle* oh, const char* name, int32_t index,
                                      void** value, int32_t* length);
typedef int32_t (*PX_WriteGlobalVar_t)(OperatorHandle* oh, const char* name, const void* value,
                                       int32_t length, int32_t index);
/* 0 with the host's copy of the newest record; 21 when there is none. */
typedef int32_t (*PX_ReadCheckpointRecord_t)(OperatorHandle* oh, void** record, int32_t* length);
typedef int32_t (*PX_WriteCheckpointRecord_t)(OperatorHandle* oh, const void* record,
                                              int32_t length);
typedef int32_t (*PX_ConsoleWrite_t)(OperatorHandle* oh, const char* text, int64_t length);
/* kind: 3 when the operator reads a file, 1 otherwise. */
typedef int32_t (*PX_GetTableSchemaList_t)(OperatorHandle* oh, int64_t schemaKind,
                                           SchemaHandle*** list, int32_t* count);
/* 0 with value and length, 5 not found, 13 multi-valued read as single.
 * Text values carry a zero byte behind `*length`; values live for the job. */
typedef int32_t (*PX_GetAttribute_t)(OperatorHandle* oh, const char* name, void** value,
                                     int32_t* length);
typedef int32_t (*PX_SetAttribute_t)(OperatorHandle* oh, const char* name, const void* value,
                                     int32_t length);
/* logName null opens the public log; `reserved` is always 0. */
typedef int32_t (*PX_Loginit_t)(OperatorHandle* oh, const char* ownerName, int32_t instance,
                                const char* logName, int32_t reserved, LogHandle** out);
typedef int32_t (*PX_GetUserId_t)(OperatorHandle* oh, char** userId);

struct OperatorHandle {
    PX_HANDLE_HEAD;
    void* reserved24[6];                                 /* 24..64 */
    PX_CreateGlobalVar_t PX_CreateGlobalVar;             /* 72 */
    PX_DeleteGlobalVar_t PX_DeleteGlobalVar;             /* 80 */
    PX_ReadGlobalVar_t PX_ReadGlobalVar;                 /* 88 */
    PX_WriteGlobalVar_t PX_WriteGlobalVar;               /* 96 */
    void* reserved104[4];                                /* 104..128 */
    PX_ReadCheckpointRecord_t PX_ReadCheckpointRecord;   /* 136 */
    PX_WriteCheckpointRecord_t PX_WriteCheckpointRecord; /* 144 */
    void* reserved152[4];                                /* 152..176 */
    PX_ConsoleWrite_t PX_ConsoleWrite;                   /* 184 */
    void* reserved192;                                   /* 192 */
    PX_GetTableSchemaList_t PX_GetTableSchemaList;       /* 200 */
    void* reserved208;                                   /* 208 */
    PX_GetAttribute_t PX_GetAttribute;                   /* 216 */
    PX_SetAttribute_t PX_SetAttribute;                   /* 224 */
    void* reserved232[10];                               /* 232..304 */
    PX_Loginit_t PX_Loginit;                             /* 312 */
    void* reserved320[9];                                /* 320..384 */
    PX_GetUserId_t PX_GetUserId;                         /* 392 */
};

/* ------------------------------------------------------------------------ */
/* Services of a SchemaHandle                                                */
/* ------------------------------------------------------------------------ */

/* 0 with a row, 12 at the end of the stream. `indicators` has one byte per
 * column (non-zero: null); offsets count from the row start, indicator bytes
 * included. Row memory stays valid until the next PX_GetRow/PX_GetBuffer. */
typedef int32_t (*PX_GetRow_t)(SchemaHandle* sh, int32_t* columnCount, uint8_t** indicators,
                               uint32_t** offsets, uint32_t** lengths, void** rowData,
                               uint32_t* rowLength);
/* All metadata arguments are zero when a row is passed without them. */
typedef int32_t (*PX_PutRow_t)(SchemaHandle* sh, int32_t columnCount, const uint8_t* indicators,
                               const uint32_t* offsets, const uint32_t* lengths,
                               const void* rowData, uint32_t rowLength);
typedef int32_t (*PX_GetColumnSchemaList_t)(SchemaHandle* sh, ColumnHandle*** list, int32_t* count);
/* 0 with a buffer of rows in the consumer layout below, 12 at the end. */
typedef int32_t (*PX_GetBuffer_t)(SchemaHandle* sh, uint8_t* hasIndicators, void** buffer,
                                  uint32_t* usedLength);
/* `one` is always 1. */
typedef int32_t (*PX_PutBuffer_t)(SchemaHandle* sh, int32_t one, const void* buffer,
                                  uint32_t length);

struct SchemaHandle {
    PX_HANDLE_HEAD;
    void* reserved24[2];                             /* 24, 32 */
    PX_GetRow_t PX_GetRow;                           /* 40 */
    void* reserved48[2];                             /* 48, 56 */
    PX_PutRow_t PX_PutRow;                           /* 64 */
    void* reserved72[2];                             /* 72, 80 */
    PX_GetColumnSchemaList_t PX_GetColumnSchemaList; /* 88 */
    PX_GetBuffer_t PX_GetBuffer;                     /* 96 */
    PX_PutBuffer_t PX_PutBuffer;                     /* 104 */
};

/* ------------------------------------------------------------------------ */
/* Services of a ColumnHandle                                                */
/* ------------------------------------------------------------------------ */

/* Eight out values: name, type code, length, offset, precision, scale, the
 * "Ind" byte and the metadata kind (0 none, 1 FileName, 2 FileRecordNumber). */
typedef int32_t (*PX_GetMetadataColumnSchema_t)(ColumnHandle* ch, char** name, int32_t* type,
                                                uint32_t* length, uint32_t* offset,
                                                int16_t* precision, int16_t* scale, uint8_t* ind,
                                                int32_t* metadataKind);
/* The caller passes two areas of PX_FORMAT_TEXT_SIZE bytes; the host copies
 * the column's input and output date/time pictures into them, zero-ended
 * (empty when the column has none). */
typedef int32_t (*PX_GetColumnFormats_t)(ColumnHandle* ch, char* inputFormat, char* outputFormat);
#define PX_FORMAT_TEXT_SIZE 256

struct ColumnHandle {
    PX_HANDLE_HEAD;
    void* reserved24[5];                                     /* 24..56 */
    PX_GetMetadataColumnSchema_t PX_GetMetadataColumnSchema; /* 64 */
    void* reserved72;                                        /* 72 */
    PX_GetColumnFormats_t PX_GetColumnFormats;               /* 80 */
};

/* ------------------------------------------------------------------------ */
/* Logs                                                                      */
/* ------------------------------------------------------------------------ */

/* The argument list is a run of (32-bit tag, value) pairs ended by tag 0;
 * the first pair is always a text with the message leader. */
typedef int32_t (*PX_LogWrite_t)(LogHandle* lh, int32_t messageNumber, int32_t messageClass,
                                 int32_t severity, va_list args);
typedef int32_t (*PX_LogClose_t)(LogHandle* lh);

struct LogServices {
    void* reserved0[40];       /* 0..312 */
    PX_LogWrite_t PX_LogWrite; /* 320 */
    PX_LogClose_t PX_LogClose; /* 328 */
};

struct LogHandle {
    PX_HANDLE_HEAD;
    LogServices* services; /* 24 */
};

enum PX_MessageTag {
    PX_TAG_END = 0,   /* no value */
    PX_TAG_INT32 = 2, /* 32-bit integer */
    PX_TAG_INT64 = 3, /* 64-bit integer */
    PX_TAG_TEXT = 5   /* pointer to zero-ended text */
};

/* Message numbers the host treats specially: trace lines for the private log. */
#define PX_MSG_TRACE_LINE 19003
#define PX_MSG_TRACE_DUMP 19004

/* ------------------------------------------------------------------------ */
/* Events and attributes of the boundary                                     */
/* ------------------------------------------------------------------------ */

/* "EventFunction" code asking for the operator's maximum row size. */
#define PX_EVENT_MAX_ROW_SIZE 36

/* Value of "EventData": three 32-bit words. */
typedef struct PX_EventData {
    uint32_t maxRowSizeKB;
    uint32_t maxUsingDataSize; /* always 0 */
    uint32_t exceedRowFlag;    /* always 0 */
} PX_EventData;

/* "SYSTEM_OperatorType" values. */
#define PX_OPERATOR_TYPE_PRODUCER 1
#define PX_OPERATOR_TYPE_CONSUMER 2

/* PX_GetTableSchemaList kinds. */
#define PX_SCHEMA_KIND_WRITE 1
#define PX_SCHEMA_KIND_READ 3

/* Consumer buffer layout: each row behind a 4-byte host-order length,
 * no trailer. */
#define PX_BUFFER_HEADER_SIZE 4
#define PX_BUFFER_LENGTH_SIZE 4
#define PX_BUFFER_TRAILER_SIZE 0

/* ------------------------------------------------------------------------ */
/* The operator's method record                                              */
/* ------------------------------------------------------------------------ */

typedef int32_t (*PX_Method_t)(OperatorHandle* oh);
typedef int32_t (*PX_TerminateMethod_t)(OperatorHandle* oh, int32_t phase);

typedef struct OperatorMethodRecord {
    const char* version;               /* 0: "17.20.00.07" */
    const char* versionCopy;           /* 8: the same string */
    uint64_t count;                    /* 16: 1 */
    PX_Method_t PX_Initiate;           /* 24 */
    PX_Method_t PX_Execute;            /* 32 */
    PX_TerminateMethod_t PX_Terminate; /* 40 */
    PX_Method_t PX_Checkpoint;         /* 48 */
    PX_Method_t PX_Restart;            /* 56 */
    PX_Method_t PX_Event;              /* 64 */
} OperatorMethodRecord;

/* The one symbol the host looks up. */
typedef int32_t (*PX_GetOperatorMethods_t)(OperatorMethodRecord** record);
#define PX_GET_OPERATOR_METHODS_SYMBOL "PX_GetOperatorMethods"

/* ------------------------------------------------------------------------ */
/* Positions, checked                                                        */
/* ------------------------------------------------------------------------ */

PX_STATIC_ASSERT(sizeof(void*) == 8, "64-bit platform");

#define PX_AT(type, field, pos) \
    PX_STATIC_ASSERT(offsetof(type, field) == (pos), #type "." #field " at " #pos)

PX_AT(OperatorMethodRecord, version, 0);
PX_AT(OperatorMethodRecord, versionCopy, 8);
PX_AT(OperatorMethodRecord, count, 16);
PX_AT(OperatorMethodRecord, PX_Initiate, 24);
PX_AT(OperatorMethodRecord, PX_Execute, 32);
PX_AT(OperatorMethodRecord, PX_Terminate, 40);
PX_AT(OperatorMethodRecord, PX_Checkpoint, 48);
PX_AT(OperatorMethodRecord, PX_Restart, 56);
PX_AT(OperatorMethodRecord, PX_Event, 64);
PX_STATIC_ASSERT(sizeof(OperatorMethodRecord) == 72, "method record size");

PX_AT(OperatorHandle, hostWord0, 0);
PX_AT(OperatorHandle, kind, 8);
PX_AT(OperatorHandle, hostWord16, 16);
PX_AT(OperatorHandle, PX_CreateGlobalVar, 72);
PX_AT(OperatorHandle, PX_DeleteGlobalVar, 80);
PX_AT(OperatorHandle, PX_ReadGlobalVar, 88);
PX_AT(OperatorHandle, PX_WriteGlobalVar, 96);
PX_AT(OperatorHandle, PX_ReadCheckpointRecord, 136);
PX_AT(OperatorHandle, PX_WriteCheckpointRecord, 144);
PX_AT(OperatorHandle, PX_ConsoleWrite, 184);
PX_AT(OperatorHandle, PX_GetTableSchemaList, 200);
PX_AT(OperatorHandle, PX_GetAttribute, 216);
PX_AT(OperatorHandle, PX_SetAttribute, 224);
PX_AT(OperatorHandle, PX_Loginit, 312);
PX_AT(OperatorHandle, PX_GetUserId, 392);
PX_STATIC_ASSERT(sizeof(OperatorHandle) == 400, "operator handle size");

PX_AT(SchemaHandle, kind, 8);
PX_AT(SchemaHandle, PX_GetRow, 40);
PX_AT(SchemaHandle, PX_PutRow, 64);
PX_AT(SchemaHandle, PX_GetColumnSchemaList, 88);
PX_AT(SchemaHandle, PX_GetBuffer, 96);
PX_AT(SchemaHandle, PX_PutBuffer, 104);
PX_STATIC_ASSERT(sizeof(SchemaHandle) == 112, "schema handle size");

PX_AT(ColumnHandle, kind, 8);
PX_AT(ColumnHandle, PX_GetMetadataColumnSchema, 64);
PX_AT(ColumnHandle, PX_GetColumnFormats, 80);
PX_STATIC_ASSERT(sizeof(ColumnHandle) == 88, "column handle size");

PX_AT(LogHandle, kind, 8);
PX_AT(LogHandle, services, 24);
PX_STATIC_ASSERT(sizeof(LogHandle) == 32, "log handle size");
PX_AT(LogServices, PX_LogWrite, 320);
PX_AT(LogServices, PX_LogClose, 328);
PX_STATIC_ASSERT(sizeof(LogServices) == 336, "log service record size");

PX_AT(PX_EventData, maxRowSizeKB, 0);
PX_AT(PX_EventData, maxUsingDataSize, 4);
PX_AT(PX_EventData, exceedRowFlag, 8);
PX_STATIC_ASSERT(sizeof(PX_EventData) == 12, "EventData is 12 bytes");

#undef PX_AT

#ifdef __cplusplus
} /* extern "C" */
#endif

#endif /* PX_BOUNDARY_H */
