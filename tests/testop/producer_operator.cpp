// A test double of a producer operator built on the exported layer of
// libbuoutop.so: it starts the layer as a producer, reads the file
// "FileName" record by record, splits delimited records into rows and puts
// every row into the data stream, one at a time or in buffers. A record the
// parser refuses is left to the record error file when one is open, and
// ends the job otherwise. Date columns are rewritten to their output picture
// on the way. With "FileList" = "Y" the file names a list of data
// files, read one after the other.
#include <cstring>
#include <vector>

#include "attributes.h"
#include "bu_export.h"
#include "bu_version.h"
#include "buffer_mode.h"
#include "date_time_errors.h"
#include "dc_messages.h"
#include "delimited_parse.h"
#include "file_access.h"
#include "file_catalogue.h"
#include "file_list.h"
#include "initiation.h"
#include "producer_reads.h"
#include "record_error_file.h"
#include "row_output.h"
#include "schema.h"
#include "termination.h"
#include "text_attr.h"

namespace {

constexpr char kFn[] = "TestProducer";
// Rows put per PX_Execute, so that the host's loop runs more than once.
constexpr int kRowsPerExecute = 64;

// The block a buffer is filled in; the layer leaves getting it to us.
std::vector<uint8_t> block;
bool started = false;
int32_t listed = 0;
bool listEmpty = false;

// The list's next file opened; 12 (end of data) when the list is done.
int32_t openNextListed(OperatorHandle* handle) {
    char name[PM_MAX_FILE_NAME + 1];
    const int32_t rc = DC_GetNextFListfile(name);
    return rc == 0 ? DC_DataConOpen(handle, name) : rc;
}

// The job's file, or the first of its list (12 for an empty list).
int32_t openFirst(OperatorHandle* handle) {
    if (DC_GetYN("FileList", &listed, 0, 0, 1) != 0) return PXSTC_FatalError;
    if (listed == 0) return DC_DataConOpen(handle, DC_FileName);
    DC_SetFileListFlag();
    int32_t count = 0;
    const int32_t rc = DC_FListCount(DC_FileName, &count);
    if (rc != 0) return rc;
    return count == 0 ? PXSTC_EndOfData : openNextListed(handle);
}

// At the end of a file: the list's next one, or 12 when none is left.
int32_t openFollowing(OperatorHandle* handle) {
    if (listed == 0) return PXSTC_EndOfData;
    if (pmClose(pmfp) != 0) return PXSTC_FatalError;
    pmfp = 0;
    const int32_t rc = openNextListed(handle);
    if (rc == PXSTC_EndOfData && DC_CloseFList() != 0) return PXSTC_FatalError;
    return rc;
}

void newBuffer() {
    block.assign(BufferInfo->MaxSize + static_cast<uint32_t>(BufferInfo->TrailerSize), 0);
    BufferInfo->Buffer = BufferInfo->CurrentPos = block.data();
    BufferInfo->UsedOffset = 0;
}

int32_t initiate(OperatorHandle* handle) {
    SG_opHandle = handle;
    int32_t rc = DC_Initiate(handle);
    if (rc == 0 && OperatorType != PX_OPERATOR_TYPE_PRODUCER) rc = PXSTC_FatalError;
    if (rc == 0) rc = DC_DataConInit(handle);
    if (rc == 0) rc = DC_DataConAttach(handle);
    if (rc == 0) rc = DC_DataConFileInfo(handle);
    if (rc == 0) rc = openFirst(handle);
    listEmpty = rc == PXSTC_EndOfData;
    if (listEmpty) rc = 0;
    if (rc == 0) rc = DC_EstablishSchema(handle);
    if (rc == 0) rc = DC_GetBufferModeInfo();
    if (rc != 0) return rc;
    if (BufferInfo != nullptr) newBuffer();
    started = true;
    return PXSTC_EndMethod;
}

// Whether a refused record still makes a row: too many or too few columns,
// or a column cut, with the option that accepts it.
bool accepted(int32_t error) {
    return (error == 1 && SG_AcceptExcessColumns != 0) ||
           (error == 2 && SG_AcceptMissingColumns != 0) || (error == 3 && TruncateColumnsOpt != 0);
}

// Columns a short record lacks are the caller's to fill: NULL here.
void nullMissingColumns() {
    for (int32_t i = ActualColumnCount; i < SG_ColCount; ++i) {
        SG_IndBytes[i] = 1;
        SG_ColLens[i] = 0;
        SG_ColOffs[i] = 0;
    }
}

// Puts the row in pmBuffer; a full buffer goes on and the row comes again.
int32_t putRow() {
    const uint32_t length = pmBuffer.Length;
    int32_t rc = DC_CheckPutRow(pmBuffer.Data, length, length);
    if (BufferInfo != nullptr && rc == PXSTC_SamePhase) {
        newBuffer();
        rc = DC_CheckPutRow(pmBuffer.Data, length, length);
    }
    return rc == PXSTC_SamePhase ? 0 : rc;
}

// The last buffer, however full.
int32_t flushBuffer() {
    if (BufferInfo == nullptr || BufferInfo->UsedOffset == 0) return 0;
    const int32_t rc = schemaHandle->PX_PutBuffer(
        schemaHandle, 1, BufferInfo->Buffer,
        static_cast<uint32_t>(BufferInfo->TrailerSize) + BufferInfo->UsedOffset);
    BufferInfo->UsedOffset = 0;
    return rc;
}

int32_t execute(OperatorHandle* handle) {
    SG_opHandle = handle;
    if (!started) return PXSTC_FatalError;
    if (listEmpty) return PXSTC_EndMethod;
    for (int n = 0; n < kRowsPerExecute; ++n) {
        int32_t rc = dcRead(kFn, dcReadEndOfData);
        if (rc == PXSTC_EndOfData && (rc = openFollowing(handle)) == 0) continue;
        if (rc == PXSTC_EndOfData) return flushBuffer() == 0 ? PXSTC_EndMethod : PXSTC_FatalError;
        if (rc != 0) return rc;
        if (TextDelimiter.Length != 0) {
            rc = ExtractDelimitedText();
            if (rc != 0 && !accepted(rc)) {
                // Kept in the record error file, or the end of the job.
                int32_t skip = 0;
                int32_t keep = 0;
                if (dcCheckContinue(&skip, &keep) != 0 || skip == 0) return PXSTC_FatalError;
                continue;
            }
            if (rc == 2) nullMissingColumns();
            if (VarDatePresent != 0 && (rc = FormatVarDateColsInRow()) != 0) {
                ThrowDateTimeError(static_cast<uint32_t>(rc), 1);
                return PXSTC_FatalError;
            }
        }
        ++FileRecordCount;
        if ((rc = putRow()) != 0) return rc;
    }
    return PXSTC_SamePhase;
}

int32_t terminate(OperatorHandle* handle, int32_t phase) {
    SG_opHandle = handle;
    DC_Terminate(phase);
    if (phase == 1) return PXSTC_NextPhase;
    started = false;
    return PXSTC_EndMethod;
}

int32_t checkpoint(OperatorHandle*) {
    return PXSTC_EndMethod;
}

int32_t restart(OperatorHandle*) {
    return PXSTC_EndMethod;
}

int32_t event(OperatorHandle*) {
    return PXSTC_NotSupported;
}

OperatorMethodRecord methods = {BU_VERSION, BU_VERSION, 1,       initiate, execute,
                                terminate,  checkpoint, restart, event};

}  // namespace

BU_API int32_t PX_GetOperatorMethods(OperatorMethodRecord** record) noexcept {
    *record = &methods;
    return 0;
}
