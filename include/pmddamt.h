/*
 * pmddamt.h - the header an Access Module author includes.
 *
 * An Access Module is a shared object that exports one function,
 *
 *     void PIDMMain(CmdBlock_t* Cmd, void* Parm);
 *
 * The layer fills `Cmd->FuncCode` and the in fields of the parameter block
 * that belongs to the code; the module answers in `Cmd->ReturnCode` (a code
 * of pmReturnCode) and the out fields. Every block is packed (no field is
 * aligned), starts with a 30-byte title and a 32-bit length, and is checked
 * below offset by offset. Integers are little-endian.
 * docs/access-module-guide.md explains the contract.
 */
#ifndef PMDDAMT_H
#define PMDDAMT_H

#include "pmdcomt.h"

#ifdef __cplusplus
extern "C" {
#endif

#define AM_AT(type, field, pos) \
    PM_STATIC_ASSERT(offsetof(type, field) == (pos), #type "." #field " at " #pos)

/* Function codes. */
enum pmFuncCode {
    pmfcInit = 1,
    pmfcOpen = 2,
    pmfcClose = 3,
    pmfcRead = 4,
    pmfcWrite = 5,
    pmfcGetPos = 6,
    pmfcSetPos = 7,
    pmfcShut = 8,
    pmfcID = 9,
    pmfcCloseRestart = 10,
    pmfcGetModuleAttr = 11,
    pmfcGetFileAttr = 12,
    pmfcPutModuleAttr = 13,
    pmfcPutFileAttr = 14
};

/* Constants sent in Init_t. */
#define AM_INTERFACE_LEVEL 1001
#define AM_CLIENT_LEVEL 2001

/* Title prefix of every block: "AXSMOD block:" and the block's name. */
#define AM_TITLE_PREFIX "AXSMOD block:"
#define AM_TITLE_SIZE 30

#pragma pack(push, 1)

/* The head's length field is named BlockLength here, since RW_t and Pos_t
 * have a field Length of their own. */
#define AM_BLOCK_HEAD          \
    char Title[AM_TITLE_SIZE]; \
    uint32_t BlockLength

typedef struct CmdBlock_t {
    AM_BLOCK_HEAD;
    uint32_t FuncCode;
    uint32_t ReturnCode;
    uint32_t TraceLevel;
    uint32_t ErrTextLen; /* with ReturnCode 34: the module's own text */
    char* ErrText;
} CmdBlock_t;

typedef struct Init_t {
    AM_BLOCK_HEAD;
    uint64_t PIData; /* out: the module's word for this instance */
    uint16_t InterfaceLevel;
    uint16_t ClientLevel;
    uint32_t ClientNameLen;
    uint32_t InitStrLen; /* of the copy below, at most 512 */
    char ClientName[256];
    char InitStr[513];
    uint32_t InitStrFullLen;
    const char* InitStrFull; /* the whole string; valid until the detach */
} Init_t;

typedef struct Open_t {
    AM_BLOCK_HEAD;
    uint64_t PIData;
    int16_t OpenMode;
    uint16_t BlkHeaderLen; /* out */
    uint32_t BufferSize;   /* in 0; out: the block size the module wants */
    uint64_t FIData;       /* out: the module's word for this file */
    uint16_t FNameLen;
    char FName[32768]; /* not terminated: use FNameLen */
} Open_t;

typedef struct Close_t {
    AM_BLOCK_HEAD;
    uint64_t FIData;
} Close_t;

typedef struct RW_t {
    AM_BLOCK_HEAD;
    uint64_t FIData;
    uint32_t Length; /* read: out, at most BufferSize; write: in */
    uint8_t* Buffer;
} RW_t;

typedef struct Pos_t {
    AM_BLOCK_HEAD;
    uint64_t FIData;
    uint32_t Length; /* get: out; set: in */
    void* Data;      /* get: module memory; set: the same bytes back */
} Pos_t;

typedef struct Shut_t {
    AM_BLOCK_HEAD;
    uint64_t PIData;
    uint16_t Mode; /* 1 orderly, 2 forced */
} Shut_t;

typedef struct ID_t {
    AM_BLOCK_HEAD;
    VersionRecord Version; /* the module fills Name and Version */
} ID_t;

typedef struct Attr_t {
    AM_BLOCK_HEAD;
    uint64_t Data; /* PIData for codes 11 and 13, FIData for 12 and 14 */
    uint32_t NameLen;
    char Name[PM_MAX_ATTR_NAME];
    uint32_t ValueLen;
    char Value[PM_MAX_ATTR_VALUE];
} Attr_t;

#pragma pack(pop)

AM_AT(CmdBlock_t, Title, 0);
AM_AT(CmdBlock_t, BlockLength, 30);
AM_AT(CmdBlock_t, FuncCode, 34);
AM_AT(CmdBlock_t, ReturnCode, 38);
AM_AT(CmdBlock_t, TraceLevel, 42);
AM_AT(CmdBlock_t, ErrTextLen, 46);
AM_AT(CmdBlock_t, ErrText, 50);
PM_STATIC_ASSERT(sizeof(CmdBlock_t) == 58, "CmdBlock_t is 58 bytes");

AM_AT(Init_t, PIData, 34);
AM_AT(Init_t, InterfaceLevel, 42);
AM_AT(Init_t, ClientLevel, 44);
AM_AT(Init_t, ClientNameLen, 46);
AM_AT(Init_t, InitStrLen, 50);
AM_AT(Init_t, ClientName, 54);
AM_AT(Init_t, InitStr, 310);
AM_AT(Init_t, InitStrFullLen, 823);
AM_AT(Init_t, InitStrFull, 827);
PM_STATIC_ASSERT(sizeof(Init_t) == 835, "Init_t is 835 bytes");

AM_AT(Open_t, PIData, 34);
AM_AT(Open_t, OpenMode, 42);
AM_AT(Open_t, BlkHeaderLen, 44);
AM_AT(Open_t, BufferSize, 46);
AM_AT(Open_t, FIData, 50);
AM_AT(Open_t, FNameLen, 58);
AM_AT(Open_t, FName, 60);
PM_STATIC_ASSERT(sizeof(Open_t) == 32828, "Open_t is 32828 bytes");

AM_AT(Close_t, FIData, 34);
PM_STATIC_ASSERT(sizeof(Close_t) == 42, "Close_t is 42 bytes");

AM_AT(RW_t, FIData, 34);
AM_AT(RW_t, Length, 42);
AM_AT(RW_t, Buffer, 46);
PM_STATIC_ASSERT(sizeof(RW_t) == 54, "RW_t is 54 bytes");

AM_AT(Pos_t, FIData, 34);
AM_AT(Pos_t, Length, 42);
AM_AT(Pos_t, Data, 46);
PM_STATIC_ASSERT(sizeof(Pos_t) == 54, "Pos_t is 54 bytes");

AM_AT(Shut_t, PIData, 34);
AM_AT(Shut_t, Mode, 42);
PM_STATIC_ASSERT(sizeof(Shut_t) == 44, "Shut_t is 44 bytes");

AM_AT(ID_t, Version, 34);
PM_STATIC_ASSERT(sizeof(ID_t) == 106, "ID_t is 106 bytes");

AM_AT(Attr_t, Data, 34);
AM_AT(Attr_t, NameLen, 42);
AM_AT(Attr_t, Name, 46);
AM_AT(Attr_t, ValueLen, 301);
AM_AT(Attr_t, Value, 305);
PM_STATIC_ASSERT(sizeof(Attr_t) == 1605, "Attr_t is 1605 bytes");

#undef AM_AT

/* The Access Module's export. */
#define AM_ENTRY_SYMBOL "PIDMMain"

#ifdef __cplusplus
} /* extern "C" */
#endif

#endif /* PMDDAMT_H */
