/*
 * schema.h - the job's schema as flat per-column arrays, built once at start
 * from the host's column descriptions, and the classification of types.
 */
#ifndef BU_DC_SCHEMA_H
#define BU_DC_SCHEMA_H

#include <cstddef>
#include <cstdint>

#include "bu_export.h"
#include "px_boundary.h"

extern "C" {

// Names of the data type codes 0..68, rows of 35 bytes.
BU_API const char DataTypeNames[69][35];
// Names of the metadata kinds, rows of 17 bytes.
BU_API const char MetadataKindNames[3][17];

BU_API SchemaHandle* schemaHandle;
BU_API ColumnHandle** ColumnHandleList;

// One element per data column.
BU_API char** SG_ColNames;
BU_API int32_t* SG_ColTypes;
BU_API int16_t* SG_ColPrecision;
BU_API int16_t* SG_ColScale;
BU_API uint32_t* SG_ColLensBase;
BU_API uint32_t* SG_ColLens;
BU_API uint32_t* SG_ColOffs;
BU_API uint8_t* SG_IndBytes;
BU_API int32_t* SG_IsVarType;
BU_API int32_t* SG_IsInlineLOB;
BU_API uint32_t* SG_ColLensOrig;
BU_API int32_t* SG_ColDlmCnt;
BU_API int32_t* SG_ClQcount;

BU_API int32_t SG_ColCount;
BU_API int32_t SchemaColCount;
BU_API int32_t MetadataCount;
BU_API int32_t SG_VARtypesFlag;
BU_API int32_t SG_LOBStypesFlag;
BU_API int32_t SG_NUMtypesFlag;
BU_API int32_t bLOBsINschema;
BU_API uint32_t NumIndBytes;
BU_API uint32_t SrcNumIndBytes;
BU_API uint64_t BufferFixedLength;
BU_API uint64_t TotalFixedLength;
BU_API int32_t ConvertedExtraBytes;
BU_API int32_t ConvertDelimitedData;
BU_API int32_t VarDatePresent;
BU_API int32_t VarDateUTF16;
BU_API int32_t bUsingUDDI;

// Result of the latest dcCheckVarType.
BU_API int32_t ColTypeIsLOB;
BU_API int32_t ColTypeIsVar;

// Metadata columns of a producer schema.
BU_API int32_t MetadataColNum[2];
BU_API int32_t MetadataColKind[2];
BU_API int32_t MetadataColType[2];
BU_API uint32_t MetadataColLen[2];
BU_API uint32_t MetadataColLenBase[2];
BU_API int32_t MetadataColPrefix[2];
BU_API char* MetadataColName[2];
BU_API int32_t FileNameColNum;
BU_API int32_t FileRecNumColNum;
BU_API uint32_t FileNameColLen;
BU_API uint32_t FileNameColMaxLen;
BU_API int32_t FileNameColType;
BU_API uint32_t FileRecNumColLen;
// Work buffers of the metadata columns.
extern char* MetadataWorkBuffer;
extern char* FileNameInsertBuffer;

// Date columns of a producer: the two pictures of the column at hand, the
// encoded pictures per column, and work areas for converting a row.
BU_API char* dtFormatStringIn;
BU_API char* dtFormatStringOut;
BU_API char** dtEncodedFormatStrsIn;
BU_API char** dtEncodedFormatStrsOut;
BU_API char* dtOutputRow;
BU_API char* dtInputCol;
BU_API char* dtOutputCol;

// Builds the column arrays. Returns 0, 16 after a metadata fault, 19 when a
// buffer can't be had, 48 for everything else.
BU_API int32_t DC_EstablishSchema(OperatorHandle* handle) noexcept;

// Classifies a type code: sets ColTypeIsLOB and ColTypeIsVar; stores 1 in
// *notAllChar for a non-character type and 0 in *fitForDelimited for a type
// delimited text can't carry. Either pointer may be null.
BU_API void dcCheckVarType(int32_t type, int32_t* notAllChar, int32_t* fitForDelimited) noexcept;
}

namespace bu::dc {

// The type code of VARCHAR columns.
inline constexpr int32_t kTypeVarchar = 7;

// The name of a type code, or "" outside the table.
const char* typeName(int32_t type) noexcept;

// Bytes of dtOutputRow and dtOutputCol (0 while there are none).
size_t dateOutputRowSize() noexcept;
size_t dateOutputColumnSize() noexcept;

// Frees the column arrays and metadata buffers and nulls every pointer, so a
// second call frees nothing twice.
void freeSchema() noexcept;

}  // namespace bu::dc

#endif  // BU_DC_SCHEMA_H
