// DC_EstablishSchema: the host's column descriptions become the flat column
// arrays, the layer's fixed sizes, and the checks of the schema against the
// data format.
#include <cstdlib>
#include <cstring>

#include "date_time_errors.h"
#include "dc_messages.h"
#include "delimited_export.h"
#include "file_settings.h"
#include "initiation.h"
#include "pm_trace.h"
#include "px_datetime.h"
#include "schema.h"

using namespace bu::dc;

extern "C" {
SchemaHandle* schemaHandle = nullptr;
ColumnHandle** ColumnHandleList = nullptr;

char** SG_ColNames = nullptr;
int32_t* SG_ColTypes = nullptr;
int16_t* SG_ColPrecision = nullptr;
int16_t* SG_ColScale = nullptr;
uint32_t* SG_ColLensBase = nullptr;
uint32_t* SG_ColLens = nullptr;
uint32_t* SG_ColOffs = nullptr;
uint8_t* SG_IndBytes = nullptr;
int32_t* SG_IsVarType = nullptr;
int32_t* SG_IsInlineLOB = nullptr;
uint32_t* SG_ColLensOrig = nullptr;
int32_t* SG_ColDlmCnt = nullptr;
int32_t* SG_ClQcount = nullptr;

int32_t SG_ColCount = 0;
int32_t SchemaColCount = 0;
int32_t MetadataCount = 0;
int32_t SG_VARtypesFlag = 0;
int32_t SG_LOBStypesFlag = 0;
int32_t SG_NUMtypesFlag = 0;
int32_t bLOBsINschema = 0;
uint32_t NumIndBytes = 0;
uint32_t SrcNumIndBytes = 0;
uint64_t BufferFixedLength = 0;
uint64_t TotalFixedLength = 0;
int32_t ConvertedExtraBytes = 0;
int32_t ConvertDelimitedData = 0;
int32_t VarDatePresent = 0;
int32_t VarDateUTF16 = 0;
int32_t bUsingUDDI = 0;

int32_t MetadataColNum[2] = {};
int32_t MetadataColKind[2] = {};
int32_t MetadataColType[2] = {};
uint32_t MetadataColLen[2] = {};
uint32_t MetadataColLenBase[2] = {};
int32_t MetadataColPrefix[2] = {};
char* MetadataColName[2] = {};
int32_t FileNameColNum = 0;
int32_t FileRecNumColNum = 0;
uint32_t FileNameColLen = 0;
uint32_t FileNameColMaxLen = 0;
int32_t FileNameColType = 0;
uint32_t FileRecNumColLen = 0;
char* MetadataWorkBuffer = nullptr;
char* FileNameInsertBuffer = nullptr;
char* dtFormatStringIn = nullptr;
char* dtFormatStringOut = nullptr;
char** dtEncodedFormatStrsIn = nullptr;
char** dtEncodedFormatStrsOut = nullptr;
char* dtOutputRow = nullptr;
char* dtInputCol = nullptr;
char* dtOutputCol = nullptr;
}

namespace {

constexpr const char* kFn = "DC_EstablishSchema";
constexpr int32_t kTypeChar = 5;
constexpr int32_t kTypeInteger = 1;
constexpr int32_t kTypeBigint = 37;
constexpr int32_t kTypeNumber = 63;
constexpr int32_t kKindFileName = 1;
constexpr int32_t kKindFileRecordNumber = 2;
constexpr size_t kPictureSize = PX_FORMAT_TEXT_SIZE;
// An encoded picture holds its picture's length plus 3: "T" and "Z" each
// grow by one byte, then the zero. The longest picture is kPictureSize - 1.
constexpr size_t kEncodedPictureSize = kPictureSize + 2;

// Sizes of the date work areas, once they exist.
size_t dateRowSize = 0;
size_t dateColumnSize = 0;

// Working state of one run.
struct SchemaRun {
    int32_t notAllChar = 0;
    int32_t fitForDelimited = 1;
    int32_t convertible = 1;
    int32_t status = 0;
    uint64_t lengthSum = 0;
    uint64_t prefixTotal = 0;
    uint64_t schemaTotal = 0;
    uint32_t metadataLengths = 0;
};

int32_t fatal() {
    raiseExitCodeTo(12);
    return PXSTC_FatalError;
}

template <typename T>
void allocate(T*& array, size_t count) {
    std::free(array);
    array = static_cast<T*>(std::calloc(count, sizeof(T)));
}

// The host's schema list: exactly one schema, with at least one column.
int32_t fetchColumnList() {
    SchemaHandle** list = nullptr;
    int32_t count = 0;
    int32_t status = PXSTC_BadHandle;
    if (hasKind(SG_opHandle, PX_KIND_OPERATOR) && SG_opHandle->PX_GetTableSchemaList != nullptr) {
        status = SG_opHandle->PX_GetTableSchemaList(
            SG_opHandle, Reading ? PX_SCHEMA_KIND_READ : PX_SCHEMA_KIND_WRITE, &list, &count);
    }
    if (status != 0) return reportServiceFailure(kFn, "PX_GetTableSchemaList", status);
    if (count != 1 || list == nullptr) {
        trace(1, kFn, kInfo, "Operator expects exactly one schema");
        publicMessage(19105, 3, 6);
        return fatal();
    }
    schemaHandle = list[0];
    status = PXSTC_BadHandle;
    if (hasKind(schemaHandle, PX_KIND_SCHEMA) && schemaHandle->PX_GetColumnSchemaList != nullptr) {
        status =
            schemaHandle->PX_GetColumnSchemaList(schemaHandle, &ColumnHandleList, &SG_ColCount);
    }
    if (status != 0) return reportServiceFailure(kFn, "PX_GetColumnSchemaList", status);
    trace(2, kFn, kInfo, "Schema column count=%d", SG_ColCount);
    if (SG_ColCount < 1) {
        trace(1, kFn, kInfo, "ZERO columns defined in schema");
        publicMessage(19106, 3, 6, kInt, SG_ColCount);
        return fatal();
    }
    return 0;
}

// The column arrays, one element per column. Only the last allocation is
// checked.
int32_t allocateArrays() {
    size_t n = static_cast<size_t>(SG_ColCount);
    allocate(SG_ColNames, n);
    allocate(SG_ColTypes, n);
    allocate(SG_ColPrecision, n);
    allocate(SG_ColScale, n);
    allocate(SG_ColLensBase, n);
    allocate(SG_ColLens, n);
    allocate(SG_ColOffs, n);
    allocate(SG_IndBytes, n);
    allocate(SG_IsVarType, n);
    allocate(SG_IsInlineLOB, n);
    allocate(SG_ColDlmCnt, n);
    allocate(SG_ClQcount, n);
    allocate(SG_ColLensOrig, n);
    if (SG_ColNames == nullptr || SG_ColTypes == nullptr || SG_ColPrecision == nullptr ||
        SG_ColScale == nullptr || SG_ColLensBase == nullptr || SG_ColLens == nullptr ||
        SG_ColOffs == nullptr || SG_IndBytes == nullptr || SG_IsVarType == nullptr ||
        SG_IsInlineLOB == nullptr || SG_ColDlmCnt == nullptr || SG_ClQcount == nullptr ||
        SG_ColLensOrig == nullptr) {
        int32_t bytes = SG_ColCount * 4;
        traceError(kFn, "Unable to allocate %d bytes for SG_ColLensOrig", bytes);
        publicMessage(19475, 3, 6, kInt, bytes);
        return fatal();
    }
    return 0;
}

// Elements of the two arrays of encoded pictures, one per column of the
// host's schema (metadata columns included).
int32_t datePictureSlots = 0;

// The encoded date pictures are kept per column: free both of a column when
// its input picture is there.
void freeDatePictures() {
    if (dtEncodedFormatStrsIn != nullptr) {
        for (int32_t i = 0; i < datePictureSlots; ++i) {
            if (dtEncodedFormatStrsIn[i] == nullptr) continue;
            std::free(dtEncodedFormatStrsIn[i]);
            if (dtEncodedFormatStrsOut != nullptr) std::free(dtEncodedFormatStrsOut[i]);
        }
    }
    std::free(dtEncodedFormatStrsIn);
    std::free(dtEncodedFormatStrsOut);
    dtEncodedFormatStrsIn = dtEncodedFormatStrsOut = nullptr;
    datePictureSlots = 0;
}

// A producer reads date columns and needs their pictures.
void allocateDateAreas() {
    if (OperatorType != PX_OPERATOR_TYPE_PRODUCER) return;
    allocate(dtFormatStringIn, kPictureSize);
    allocate(dtFormatStringOut, kPictureSize);
    allocate(dtEncodedFormatStrsIn, static_cast<size_t>(SG_ColCount));
    allocate(dtEncodedFormatStrsOut, static_cast<size_t>(SG_ColCount));
    datePictureSlots = SG_ColCount;
}

// A producer's VARCHAR with both pictures is a date column: its pictures are
// encoded once here. Returns 0, or 48 after the reported failure.
int32_t encodeDatePictures(ColumnHandle* ch, int32_t i) {
    if (dtFormatStringIn == nullptr || dtFormatStringOut == nullptr ||
        dtEncodedFormatStrsIn == nullptr || dtEncodedFormatStrsOut == nullptr) {
        return 0;
    }
    std::memset(dtFormatStringIn, 0, kPictureSize);
    std::memset(dtFormatStringOut, 0, kPictureSize);
    if (hasKind(ch, PX_KIND_COLUMN) && ch->PX_GetColumnFormats != nullptr) {
        ch->PX_GetColumnFormats(ch, dtFormatStringIn, dtFormatStringOut);
    }
    dtFormatStringIn[kPictureSize - 1] = dtFormatStringOut[kPictureSize - 1] = '\0';
    if (dtFormatStringIn[0] == '\0' || dtFormatStringOut[0] == '\0') return 0;
    allocate(dtEncodedFormatStrsIn[i], kEncodedPictureSize);
    allocate(dtEncodedFormatStrsOut[i], kEncodedPictureSize);
    uint32_t error = 0;
    if (PX_EncodeFormatStrings(dtFormatStringIn, dtFormatStringOut, dtEncodedFormatStrsIn[i],
                               dtEncodedFormatStrsOut[i], &error) != 0) {
        ThrowDateTimeError(error, 1);
        return fatal();
    }
    VarDatePresent = 1;
    if (std::strcmp(SG_CharSetName, "UTF16") == 0) VarDateUTF16 = 1;
    return 0;
}

// Once the columns are known: work areas for converting a row's dates.
void allocateDateWorkAreas() {
    if (!VarDatePresent) return;
    dateRowSize = TotalFixedLength +
                  static_cast<size_t>(SG_ColCount) * static_cast<size_t>(TextDelimiter.Length) + 2;
    // A UTF-16 value comes back twice as wide, with a zero behind it.
    dateColumnSize = VarDateUTF16 ? PX_DATETIME_OUTPUT_SIZE_UTF16 + 2 : kPictureSize + 1;
    allocate(dtOutputRow, dateRowSize);
    allocate(dtInputCol, kPictureSize);
    allocate(dtOutputCol, dateColumnSize);
}

void clearResults() {
    MetadataCount = 0;
    SG_VARtypesFlag = 0;
    SG_LOBStypesFlag = 0;
    SG_NUMtypesFlag = 0;
    bLOBsINschema = 0;
    NumIndBytes = 0;
    SrcNumIndBytes = 0;
    BufferFixedLength = 0;
    TotalFixedLength = 0;
    ConvertedExtraBytes = 0;
    ConvertDelimitedData = 0;
    VarDatePresent = 0;
    VarDateUTF16 = 0;
    FileNameColNum = 0;
    FileRecNumColNum = 0;
    FileNameColLen = 0;
    FileNameColMaxLen = 0;
    FileNameColType = 0;
    FileRecNumColLen = 0;
    for (int k = 0; k < 2; ++k) {
        MetadataColNum[k] = MetadataColKind[k] = MetadataColType[k] = MetadataColPrefix[k] = 0;
        MetadataColLen[k] = MetadataColLenBase[k] = 0;
        MetadataColName[k] = nullptr;
    }
}

// Text width of a column converted for text output; 0 for none.
int32_t textWidth(int32_t type, int16_t precision) {
    int32_t p = precision;
    int32_t fraction = p > 0 ? 2 : 0;
    switch (type) {
        case 1:
            return 11;
        case 2:
            return 6;
        case 3:
            return 24;
        case 4:
            return p + 2;
        case 6:
            return 4;
        case 11:
            return 10;
        case 37:
            return 21;
        case 58:
            return 28;
        case 59:
            return 2 * p + 28 + fraction;
        case 60:
            return 2 * p + 40 + fraction;
        case 61:
            return 2 * p + 46 + fraction;
        case 62:
            return 2 * p + 58 + fraction;
        case 63:
            return 45;
        default:
            return 0;
    }
}

bool keepsConvertible(int32_t type) {
    switch (type) {
        case 5:
        case 7:
        case 15:
        case 40:
        case 41:
        case 42:
        case 65:
        case 66:
        case 67:
        case 68:
            return true;
        default:
            return textWidth(type, 0) != 0 || type == 4;
    }
}

// The conversion rule of a consumer column.
void applyConversionRule(SchemaRun& run, int32_t type, int16_t precision, uint32_t length) {
    if (!keepsConvertible(type)) run.convertible = 0;
    if (FileFormat != FMT_TEXT) return;
    int32_t width = textWidth(type, precision);
    if (width == 0) return;
    ConvertedExtraBytes += width - static_cast<int32_t>(length);
    if (ConvertDelimitedData == 0) ConvertDelimitedData = 1;
}

struct ColumnInfo {
    char* name = nullptr;
    int32_t type = 0;
    uint32_t length = 0;
    uint32_t offset = 0;
    int16_t precision = 0;
    int16_t scale = 0;
    uint8_t ind = 0;
    int32_t kind = 0;
};

void traceColumnRow(const ColumnInfo& c, char m) {
    trace(1, kFn, kInfo, "%16.16s (%3d) %3d %7u %7u %c %s", typeName(c.type), c.type, int{c.ind},
          c.length, c.offset, m, c.name ? c.name : "");
}

// A metadata column of a producer schema. Returns true when the column was
// taken as one (even with a fault, which sets run.status to 16).
bool takeMetadataColumn(SchemaRun& run, const ColumnInfo& c, int32_t number) {
    if (!Reading || (c.kind != kKindFileName && c.kind != kKindFileRecordNumber)) return false;
    const char* kindName = MetadataKindNames[c.kind];
    int32_t& seenAt = c.kind == kKindFileName ? FileNameColNum : FileRecNumColNum;
    if (seenAt != 0) {
        trace(1, kFn, kInfo, "%s '%s' (%d) %s %d.  %s %d", "Multiple definitions of Metadata type",
              kindName, c.kind, "in schema at column", number, "Previously found in column",
              seenAt);
        const char* earlierName = "";
        for (int32_t k = 0; k < MetadataCount; ++k) {
            if (MetadataColKind[k] == c.kind) earlierName = MetadataColName[k];
        }
        publicMessage(19476, 3, 5, kInt, seenAt, kText, earlierName, kInt, number, kText, c.name,
                      kText, kindName);
        run.status = PXSTC_NotSupported;
        return true;
    }
    bool accepted = c.kind == kKindFileName ? (c.type == kTypeChar || c.type == kTypeVarchar)
                                            : (c.type == kTypeInteger || c.type == kTypeBigint);
    if (!accepted) {
        const char* allowed = c.kind == kKindFileName ? "VARCHAR or CHAR" : "INTEGER or BIGINT";
        trace(1, kFn, kInfo, "%s '%s' (%d) %s", "Metadata type", kindName, c.kind,
              c.kind == kKindFileName ? "must be data type VARCHAR or CHAR"
                                      : "must be data type INTEGER or BIGINT");
        publicMessage(19477, 3, 5, kInt, number, kText, c.name, kText, allowed);
        run.status = PXSTC_NotSupported;
        return true;
    }
    int32_t slot = MetadataCount++;
    MetadataColKind[slot] = c.kind;
    MetadataColNum[slot] = number;
    MetadataColType[slot] = c.type;
    MetadataColName[slot] = c.name;
    MetadataColLen[slot] = MetadataColLenBase[slot] = c.length;
    MetadataColPrefix[slot] =
        (c.kind == kKindFileName && c.type == kTypeVarchar && FileFormat != FMT_TEXT) ? 2 : 0;
    seenAt = number;
    if (c.kind == kKindFileName) {
        FileNameColLen = FileNameColMaxLen = c.length;
        FileNameColType = c.type;
    } else {
        FileRecNumColLen = c.length;
    }
    run.metadataLengths += c.length;
    trace(1, kFn, kInfo, "%s '%s' (%d) %s %d", "Metadata type", kindName, c.kind,
          "supported for column", number);
    return true;
}

// A data column at its data index.
void storeDataColumn(SchemaRun& run, const ColumnInfo& c, int32_t index) {
    SG_ColTypes[index] = c.type;
    SG_ColPrecision[index] = c.precision;
    SG_ColScale[index] = c.scale;
    SG_ColNames[index] = c.name;
    dcCheckVarType(c.type, &run.notAllChar, &run.fitForDelimited);
    if (ColTypeIsVar) SG_VARtypesFlag = 1;
    if (ColTypeIsLOB) SG_LOBStypesFlag = 1;
    if (c.type == kTypeNumber) SG_NUMtypesFlag = 1;
    SG_IsVarType[index] = ColTypeIsVar;
    SG_IsInlineLOB[index] = ColTypeIsLOB;
    if (OperatorType != PX_OPERATOR_TYPE_PRODUCER) {
        applyConversionRule(run, c.type, c.precision, c.length);
    }
    if (ColTypeIsLOB) bLOBsINschema = 1;
    SG_IndBytes[index] = 0;
    SG_ColLens[index] = SG_ColLensBase[index] = c.length;
    run.lengthSum += c.length;
    run.schemaTotal += c.length;
    if (FileFormat != FMT_TEXT && ColTypeIsVar) {
        run.prefixTotal += c.type == kTypeNumber ? 1 : 2;
        if (ColTypeIsLOB) run.prefixTotal += 6;
    }
    SG_ColOffs[index] = c.offset - run.metadataLengths;
}

int32_t describeColumns(SchemaRun& run) {
    trace(1, kFn, kInfo, "Data Type              Ind  Length  Offset M Name");
    int32_t dataIndex = 0;
    for (int32_t i = 0; i < SG_ColCount; ++i) {
        ColumnInfo c;
        ColumnHandle* ch = ColumnHandleList != nullptr ? ColumnHandleList[i] : nullptr;
        int32_t status = PXSTC_BadHandle;
        if (hasKind(ch, PX_KIND_COLUMN) && ch->PX_GetMetadataColumnSchema != nullptr) {
            status = ch->PX_GetMetadataColumnSchema(ch, &c.name, &c.type, &c.length, &c.offset,
                                                    &c.precision, &c.scale, &c.ind, &c.kind);
        }
        if (status == 0 && OperatorType == PX_OPERATOR_TYPE_PRODUCER && c.type == kTypeVarchar &&
            encodeDatePictures(ch, i) != 0) {
            return PXSTC_FatalError;
        }
        if (status != 0) return reportServiceFailure(kFn, "PX_GetMetadataColumnSchema", status);
        if (takeMetadataColumn(run, c, i + 1)) {
            traceColumnRow(c, 'Y');
            continue;
        }
        storeDataColumn(run, c, dataIndex++);
        traceColumnRow(c, 'N');
    }
    return 0;
}

// Once the columns are known: indicator bytes, fixed lengths, metadata work
// buffers.
int32_t settleSizes(SchemaRun& run) {
    if (SG_IndicatorData || !Reading) {
        NumIndBytes = static_cast<uint32_t>((SG_ColCount - 1) / 8 + 1);
        SrcNumIndBytes = static_cast<uint32_t>((SG_ColCount - MetadataCount - 1) / 8 + 1);
        trace(1, kFn, kInfo, "NumIndBytes=%u, SrcNumIndBytes=%u", NumIndBytes, SrcNumIndBytes);
        BufferFixedLength = run.lengthSum + NumIndBytes;
        TotalFixedLength = run.lengthSum + run.prefixTotal + (SG_IndicatorData ? NumIndBytes : 0);
    } else {
        NumIndBytes = SrcNumIndBytes = 0;
        BufferFixedLength = run.lengthSum;
        TotalFixedLength = run.lengthSum + run.prefixTotal;
    }
    run.schemaTotal = TotalFixedLength;
    if (MetadataCount == 0) return 0;
    size_t work = TotalFixedLength + FileNameColLen + FileRecNumColLen + 100 +
                  static_cast<size_t>(TextDelimiter.Length) * static_cast<size_t>(SG_ColCount);
    allocate(MetadataWorkBuffer, work);
    if (MetadataWorkBuffer == nullptr) {
        trace(1, kFn, kWarning, " Temporary buffer memory allocation failed.");
        char size[24];
        std::snprintf(size, sizeof size, "%zu", work);
        publicMessage(19140, 3, 6, kText, size);
        raiseExitCodeTo(12);
        return PXSTC_Storage;
    }
    if (FileNameColNum != 0) {
        allocate(FileNameInsertBuffer, FileNameColLen + 10);
        if (FileNameInsertBuffer == nullptr) {
            trace(1, kFn, kWarning, " Column insertion memory allocation failed.");
            char size[24];
            std::snprintf(size, sizeof size, "%u", FileNameColLen + 2);
            publicMessage(19140, 3, 6, kText, size);
            raiseExitCodeTo(12);
            return PXSTC_Storage;
        }
    }
    SG_ColCount -= MetadataCount;
    return 0;
}

// What the data format asks of the schema.
int32_t checkFormatRules(const SchemaRun& run) {
    if (FileFormat == FMT_UNFORMATTED && TotalFixedLength > BufferSize) {
        trace(1, kFn, kInfo, "Data Schema implied record length > size of buffer");
        trace(1, kFn, kInfo, "TotalFixedLength = %llu, BufferSize = %llu",
              static_cast<unsigned long long>(TotalFixedLength),
              static_cast<unsigned long long>(BufferSize));
        if (OperatorType == PX_OPERATOR_TYPE_CONSUMER) {
            trace(1, kFn, kInfo, "Setting BufferSize = TotalFixedLength = %llu",
                  static_cast<unsigned long long>(TotalFixedLength));
            BufferSize = TotalFixedLength;
        } else {
            publicMessage(19107, 3, 6, kInt, static_cast<int32_t>(TotalFixedLength), kInt,
                          static_cast<int32_t>(BufferSize));
            return fatal();
        }
    }
    if (FileFormat == FMT_TEXT && isDelimited() && !run.fitForDelimited) {
        if (OperatorType != PX_OPERATOR_TYPE_PRODUCER) {
            trace(1, kFn, kInfo, "BYTE/GRAPHIC/LOB types not Supported for Delimited text Export");
            publicMessage(19133, 3, 6);
        } else {
            char list[160];
            std::snprintf(list, sizeof list, "%s/%s/%s/%s/%s/%s/%s/%s", "VARCHAR", "JSON",
                          "JSON BY NAME", "CLOB BY NAME", "BLOB BY NAME", "XML BY NAME", "XML",
                          "CLOB");
            traceError(kFn, "!ERROR! %s: %s", "Delimited data supports these types only", list);
            publicMessage(19108, 3, 6, kText, "DELIMITED", kText, list);
        }
        return fatal();
    }
    if (FileFormat == FMT_TEXT && !isDelimited() && run.notAllChar) {
        trace(1, kFn, kInfo, "Text data requires all CHAR or ANSIDATE schema");
        publicMessage(19108, 3, 6, kText, "TEXT", kText, "CHAR/ANSIDATE");
        return fatal();
    }
    return 0;
}

// The delimited set-up, once the parsing case has been formed from the
// delimiter settings.
int32_t setUpDelimitedData() {
    if (!bUDDIcaseSetUp) return 0;
    if (ValidateUDDIcase() != 0) {
        trace(1, kFn, kInfo, "Invalid UDDI parsing case.");
        publicMessage(19160, 3, 6);
        return fatal();
    }
    if (dcCreateUDDIBuffers() != 0) {
        trace(1, kFn, kInfo, "Creation of UDDI buffers failed.");
        publicMessage(19170, 3, 6);
        return fatal();
    }
    return 0;
}

}  // namespace

namespace bu::dc {

void freeSchema() noexcept {
    auto release = [](auto*& p) {
        std::free(p);
        p = nullptr;
    };
    release(SG_IndBytes);
    release(SG_ColLens);
    release(SG_ColLensBase);
    release(SG_ColLensOrig);
    release(SG_ColNames);
    release(SG_ColOffs);
    release(SG_ColDlmCnt);
    release(SG_ColTypes);
    release(SG_ColPrecision);
    release(SG_ColScale);
    release(SG_IsInlineLOB);
    release(SG_IsVarType);
    freeDatePictures();
    release(dtFormatStringIn);
    release(dtFormatStringOut);
    release(dtOutputRow);
    release(dtInputCol);
    release(dtOutputCol);
    dateRowSize = dateColumnSize = 0;
    release(MetadataWorkBuffer);
    release(FileNameInsertBuffer);
}

size_t dateOutputRowSize() noexcept {
    return dateRowSize;
}

size_t dateOutputColumnSize() noexcept {
    return dateColumnSize;
}

}  // namespace bu::dc

extern "C" int32_t DC_EstablishSchema(OperatorHandle* handle) noexcept {
    (void)handle;  // the layer works from SG_opHandle
    pm::TraceEntryExit entryAndExit(kFn);
    freeDatePictures();
    int32_t rc = fetchColumnList();
    if (rc != 0) return rc;
    if ((rc = allocateArrays()) != 0) return rc;
    allocateDateAreas();
    clearResults();
    SchemaRun run;
    if ((rc = describeColumns(run)) != 0) return rc;
    if (run.status != 0) {
        NewExitCode = exitCodeForStatus(run.status);
        raiseExitCode();
        return run.status;
    }
    if (OperatorType != PX_OPERATOR_TYPE_PRODUCER) {
        run.fitForDelimited = run.convertible;
        if (!run.convertible || !isDelimited()) ConvertDelimitedData = 0;
    }
    trace(1, kFn, kInfo, "%s all character data", run.notAllChar ? "Schema is not" : "Schema is");
    trace(1, kFn, kInfo, "%s compatible with delimited data",
          run.fitForDelimited ? "Schema is" : "Schema is not");
    if ((rc = settleSizes(run)) != 0) return rc;
    SchemaColCount = SG_ColCount;
    allocateDateWorkAreas();
    if ((rc = checkFormatRules(run)) != 0) return rc;
    trace(2, kFn, kInfo, "SG_VARtypesFlag=%d, NumIndBytes=%d, TotalFixedLength=%llu",
          SG_VARtypesFlag, static_cast<int>(NumIndBytes),
          static_cast<unsigned long long>(TotalFixedLength));
    if ((rc = setUpDelimitedData()) != 0) return rc;
    bUsingUDDI = 1;
    trace(4, kFn, kInfo, "totalSchemaBytes = %llu",
          static_cast<unsigned long long>(run.schemaTotal));
    return 0;
}
