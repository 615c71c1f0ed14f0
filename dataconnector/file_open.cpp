// DC_DataConOpen: the data file opens through the attached module, with
// room in its block for the longest record the job can make.
#include <cstring>

#include "dc_messages.h"
#include "file_access.h"
#include "file_catalogue.h"
#include "file_settings.h"
#include "initiation.h"
#include "pm_layer.h"
#include "pm_trace.h"
#include "producer_reads.h"
#include "schema.h"
#include "text_attr.h"

using namespace bu::dc;

namespace {

constexpr const char* kFn = "DC_DataConOpen";

// The longest record: the schema's fixed length, and for text what
// conversion adds, with delimiters, quote marks and a closing delimiter
// where the job asks for them.
uint64_t longestRecord() {
    uint64_t longest = TotalFixedLength;
    if (FileFormat != FMT_TEXT) return longest;
    longest += static_cast<uint64_t>(ConvertedExtraBytes > 0 ? ConvertedExtraBytes : 0);
    if (!isDelimited()) return longest;
    const uint64_t columns = SG_ColCount > 0 ? static_cast<uint64_t>(SG_ColCount) : 0;
    const auto delimiter = static_cast<uint64_t>(TextDelimiter.Length);
    if (columns > 0) longest += (columns - 1) * delimiter;
    if (bQuotedData) {
        const auto open = static_cast<uint64_t>(OpenQuoteMark.Length);
        longest += (open + static_cast<uint64_t>(CloseQuoteMark.Length)) * columns;
        if (CloseQuoteMark.Length == 0) longest += open * columns;
    }
    if (bAppendDelimiter) longest += delimiter;
    return longest;
}

int32_t refuseMissingFile(const char* fileName) {
    // The line carries its own mark.
    trace(1, kFn, kInfo, "!ERROR! file '%s' does not exist.", fileName);
    publicMessage(19231, 3, 6, kText, fileName);
    raiseExitCodeTo(12);
    return PXSTC_FatalError;
}

// A producer's metadata column that carries the name of the file read.
int32_t insertFileName(const char* fileName) {
    const auto length = static_cast<uint32_t>(std::strlen(fileName));
    if (length > FileNameColMaxLen) {
        trace(1, kFn, kWarning, "%s '%s' %s %d, %s '%s' (%d) %s (%d)", "For Metadata type",
              "FileName", "in column", FileNameColNum, "the length of file name", fileName,
              static_cast<int32_t>(length), "exceeds the maximum length allowed by the schema",
              static_cast<int32_t>(FileNameColMaxLen));
        publicMessage(19137, 3, 6, kText, fileName, kInt, static_cast<int32_t>(length), kText,
                      "FileName", kInt, FileNameColNum, kInt,
                      static_cast<int32_t>(FileNameColMaxLen));
        raiseExitCodeTo(12);
        return PXSTC_FatalError;
    }
    if (FileNameColType == kTypeVarchar) FileNameColLen = length;
    if (FileNameInsertBuffer != nullptr) std::memcpy(FileNameInsertBuffer, fileName, length + 1);
    trace(1, kFn, kInfo, "Inserting current FileName '%s'", fileName);
    return 0;
}

// A reading master shares its first block with the instances that read
// with it.
void shareFirstBlock() {
    if (pSMmaster == nullptr || PreadFp == nullptr) return;
    pSMmaster->SHmemIndex = 1;
    PreadFp->Buffer = pDB[0];
}

// UNFORMATTED rows with variable columns have no length of their own: the
// file's reader takes them field by field.
void readRowsByTheirPrefixes() {
    FileInfo* file = nullptr;
    if (pm::checkFp(pmfp, &file, kFn) == pmrcOK) file->FmtRead = pmfmtRVarNone;
}

}  // namespace

// No read master of this operator fills a shared record, so a reading
// instance has no file name parameters to take over.
extern "C" int32_t DC_SetInsertFileName(void) noexcept {
    FileNameColLen = 0;
    FileNameColNum = 0;
    FileNameColType = 0;
    trace(1, "DC_SetInsertFileName", kInfo, "No Metadata FileName insert parameters from master");
    return 0;
}

extern "C" int32_t DC_DataConOpen(OperatorHandle* handle, const char* fileName) noexcept {
    (void)handle;
    pm::TraceEntryExit entryAndExit(kFn);
    FileRecordCount = 0;
    if (bParallelReadSlave) {
        pmfp = 0;
        return 0;
    }
    if (Reading) RowCount = 0;
    if (fileName == nullptr) fileName = "";
    const uint64_t longest = longestRecord();
    uint32_t supplement[2] = {0, 0};
    if (isDelimited()) supplement[0] = Reading ? 1 : 0, supplement[1] = 1;
    uint32_t rc = pmOpen(DC_OpenMode, static_cast<uint32_t>(bParallelReadMaster),
                         static_cast<uint32_t>(FileFormat), pmHadoopFS, BufferSize,
                         longest > UINT32_MAX ? UINT32_MAX : static_cast<uint32_t>(longest),
                         fileName, DC_pmHandle, supplement, &pmfp);
    if (rc == pmrcNoFile) return refuseMissingFile(fileName);
    if (rc != pmrcOK && rc != pmrcEmptyFile) {
        return reportAccessFailure(kFn, "pmOpen", rc, 19304);
    }
    if (FileFormat == FMT_UNFORMATTED && SG_VARtypesFlag) readRowsByTheirPrefixes();
    if (bParallelReadMaster) shareFirstBlock();
    if (bSkipRowsEveryFile) RowsSkipped = 0;
    if (FileNameColNum != 0) return insertFileName(fileName);
    return 0;
}
