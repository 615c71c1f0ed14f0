/*
 * file_catalogue.h - the settings of the data file and of its records. The
 * catalogue in file_catalogue.cpp holds one row per attribute, in the order
 * DC_DataConFileInfo reads them: type, size, default, who may use it, when
 * it is read, where it lands, and its reader with the attribute's own rules.
 */
#ifndef BU_DC_FILE_CATALOGUE_H
#define BU_DC_FILE_CATALOGUE_H

#include <cstdint>

#include "bu_export.h"
#include "pmdcomt.h"
#include "px_boundary.h"
#include "text_attr.h"

extern "C" {

BU_API char DC_FileName[PM_MAX_FILE_NAME + 1];
// The file being read or written, once it is open; null before.
BU_API const char* pCurrentFileName;
// The open mode: pmOpenRead, pmOpenWrite, pmOpenUpdate ("WriteAppend"); -1
// until "OpenMode" is read.
BU_API int16_t DC_OpenMode;
BU_API int32_t SG_AcceptExcessColumns;
BU_API int32_t SG_AcceptMissingColumns;
BU_API int32_t TruncateColumnsOpt;
// Rows the producer side skipped.
BU_API uint32_t RowsSkipped;
// Set by hosts of other kinds; shown, and a reader's buffer depends on it.
BU_API int32_t Hadoop_JobType;
BU_API int32_t bAllowMultiInstanceRead;

// Reads and checks every attribute of the file and its records, hands the
// record type to an Access Module, establishes the schema and sizes the I/O
// buffer. Returns 0, 16 (exit code 8 raised), 48, or the schema's status.
BU_API int32_t DC_DataConFileInfo(OperatorHandle* handle) noexcept;
}

namespace bu::dc {

enum class AttrType {
    YesNo,    // DC_GetYN; size is the kind (1 admits optional, 2 yes without log)
    Special,  // GetSpecialChars with the twin "<name>HEX"; at most 100 bytes
    Number,   // a 32-bit number of exact length 4
    Text,     // text of at most `size` bytes (exactly `size` where it says so)
    ToModule  // not read: handed to the Access Module
};

// Instances that may use an attribute.
enum Side : uint8_t { kConsumer = 1, kProducer = 2, kEitherSide = 3 };

// Jobs in which the catalogue reads a row.
enum class ReadWhen {
    Always,
    Delimited,         // "Format" is DELIMITED
    IfAboveAbsent,     // the row above is absent (an older name or a fallback)
    WithErrorFile,     // a record error file is named
    WithAccessModule,  // "AccessModuleName" was given
};

struct FileAttribute;
// Reads one row; `present` tells whether the attribute was given.
using AttributeReader = int32_t (*)(const FileAttribute& row, bool& present);

struct FileAttribute {
    const char* name;
    AttrType type;
    int32_t size;
    int32_t number;    // default of a yes/no or number row
    const char* text;  // default of a text or special row; null for none
    Side who;
    ReadWhen when;
    void* target;  // the global it lands in, where one row has one
    AttributeReader read;
};

// Fetches a text row's value: at most `row.size` bytes, or exactly that many
// with `exact`. `present` tells whether it was given; `value` then points at
// the host's bytes and `length` counts them. Returns 0 or 48.
int32_t fetchText(const FileAttribute& row, bool required, bool exact, const char** value,
                  int32_t* length, bool& present) noexcept;
// Copies a fetched value into a target of `row.size` + 1 bytes, terminated.
void storeText(const FileAttribute& row, const char* value, int32_t length) noexcept;

// Reads a special row into its record from the value or its twin
// "<name>HEX", as GetSpecialChars does; null `defaults` for none.
int32_t readSpecial(const FileAttribute& row, TextAttr* defaults) noexcept;

// The open mode as given, or as defaulted.
const char* openModeText() noexcept;

// The delimiter of DELIMITED records unless the job names one.
inline constexpr char kPipe[] = "|";

// Whether this instance is among the row's users.
bool servesThisSide(const FileAttribute& row) noexcept;
// The format keyword was DELIMITED.
bool formatIsDelimited() noexcept;

// Readers of the rows, by their files.
int32_t readYesNo(const FileAttribute& row, bool& present) noexcept;
int32_t readFileName(const FileAttribute& row, bool& present) noexcept;
int32_t readOpenMode(const FileAttribute& row, bool& present) noexcept;
int32_t readFormat(const FileAttribute& row, bool& present) noexcept;
int32_t readValidUtf8(const FileAttribute& row, bool& present) noexcept;
int32_t readReplacementChar(const FileAttribute& row, bool& present) noexcept;
int32_t readWriteBom(const FileAttribute& row, bool& present) noexcept;
int32_t sendRecordType(const FileAttribute& row, bool& present) noexcept;
int32_t readAppendDelimiter(const FileAttribute& row, bool& present) noexcept;
int32_t readTextDelimiter(const FileAttribute& row, bool& present) noexcept;
int32_t readEscapeTextDelimiter(const FileAttribute& row, bool& present) noexcept;
int32_t readOpenQuoteMark(const FileAttribute& row, bool& present) noexcept;
int32_t readCloseQuoteMark(const FileAttribute& row, bool& present) noexcept;
int32_t readEscapeQuoteDelimiter(const FileAttribute& row, bool& present) noexcept;
int32_t readTrimColumns(const FileAttribute& row, bool& present) noexcept;
int32_t readTrimChar(const FileAttribute& row, bool& present) noexcept;
int32_t readEscapeRecordDelimiter(const FileAttribute& row, bool& present) noexcept;
int32_t readGeneralUddiCase(const FileAttribute& row, bool& present) noexcept;
int32_t readIoBufferSize(const FileAttribute& row, bool& present) noexcept;
int32_t readErrorFileName(const FileAttribute& row, bool& present) noexcept;
int32_t readLogDirectory(const FileAttribute& row, bool& present) noexcept;
int32_t readErrorLimit(const FileAttribute& row, bool& present) noexcept;
int32_t readErrorFilePrefix(const FileAttribute& row, bool& present) noexcept;
int32_t readErrorVerbosity(const FileAttribute& row, bool& present) noexcept;

// A keyword value that names nothing: warnings, message 19205 from instance
// 1 with the name, the value and the valid values. Returns 48.
int32_t refuseValue(const char* caller, const char* name, const char* value,
                    const char* validValues) noexcept;

// Replaces each "TAB" of a user's delimiter by the tab byte (and, in a UTF16
// job, the UTF16 form of the three letters by the 16-bit tab).
void applyTabRule(TextAttr& attr) noexcept;

// The I/O block of the data file, by side and the schema's fixed length.
void sizeIoBuffer() noexcept;

// Forgets what the file kind's reading kept for its own messages.
void resetFileKind() noexcept;

}  // namespace bu::dc

#endif  // BU_DC_FILE_CATALOGUE_H
