// Lists of data files; see file_list.h. The list is a text file whatever the
// job's "Format", so its record ends and byte-order mark are the text
// reader's business; names are taken as they stand.
#include "file_list.h"

#include <cstring>

#include "dc_messages.h"
#include "file_access.h"
#include "file_settings.h"
#include "producer_reads.h"

using namespace bu::dc;

extern "C" {
pmFp FileListFp = 0;
int32_t FileListRecord = 0;
int32_t UsingFileList = 0;
}

namespace {

constexpr uint32_t kLongestName = PM_MAX_FILE_NAME;
// The block of a list opened before the data file's settings sized one.
constexpr uint64_t kDefaultBlock = 1048586;

uint32_t openList(const char* fileName) {
    uint32_t supplement[2] = {1, 0};
    const uint64_t block = BufferSize == kBufferSizeUnset ? kDefaultBlock : BufferSize;
    return pmOpen(pmOpenRead, 0, pmFmtText, pmHadoopFS, block, kLongestName, fileName, DC_pmHandle,
                  supplement, &FileListFp);
}

// A record came: also the last one without its end mark, where the job
// takes the end of the file for one.
bool recordRead(uint32_t rc) {
    return rc == pmrcOK || (rc == pmrcNoEOR && bAcceptEOFasEOR);
}

}  // namespace

extern "C" void DC_SetFileListFlag(void) noexcept {
    UsingFileList = 1;
}

extern "C" int32_t DC_FListCount(const char* fileName, int32_t* count) noexcept {
    static const char kFn[] = "DC_FListCount";
    *count = 0;
    uint32_t rc = openList(fileName);
    if (rc == pmrcEmptyFile) {
        trace(1, kFn, kWarning, "Empty file detected");
        pmClose(FileListFp);
        return 0;
    }
    if (rc != pmrcOK) return reportAccessFailure(kFn, "pmOpen", rc, 19304);
    int32_t names = 0;
    while (recordRead(rc = readIntoPmBuffer(FileListFp))) {
        if (pmBuffer.Length != 0) ++names;
    }
    if (rc != pmrcEOF) {
        pmClose(FileListFp);
        return reportAccessFailure(kFn, "pmRead", rc, 19305);
    }
    // Closed and opened again: the way back to the list's start.
    if ((rc = pmClose(FileListFp)) != pmrcOK) return reportAccessFailure(kFn, "pmClose", rc, 19309);
    if ((rc = openList(fileName)) != pmrcOK) return reportAccessFailure(kFn, "pmOpen", rc, 19304);
    *count = names;
    FileListRecord = 0;
    return 0;
}

extern "C" int32_t DC_GetNextFListfile(char* name) noexcept {
    static const char kFn[] = "DC_GetNextFListfile";
    for (;;) {
        const uint32_t rc = readIntoPmBuffer(FileListFp);
        if (rc == pmrcEOF) {
            name[0] = '\0';
            return PXSTC_EndOfData;
        }
        if (!recordRead(rc)) return reportAccessFailure(kFn, "pmRead", rc, 19305);
        if (pmBuffer.Length > kLongestName) {
            trace(1, kFn, kWarning, "Filename length error on record %d", FileListRecord + 1);
            publicMessage(19155, 3, 6);
            return PXSTC_LengthError;
        }
        if (pmBuffer.Length == 0) continue;
        ++FileListRecord;
        std::memcpy(name, pmBuffer.Data, pmBuffer.Length);
        name[pmBuffer.Length] = '\0';
        return 0;
    }
}

extern "C" int32_t DC_CloseFList(void) noexcept {
    const uint32_t rc = pmClose(FileListFp);
    return rc == pmrcOK ? 0 : reportAccessFailure("DC_CloseFList", "pmClose", rc, 19309);
}
