// Text records on write (format 1, text and delimited data): each record is
// followed by a line feed as wide as one character of the job's character
// set, and a Unicode file that asks for it starts with its byte-order mark.
#include <sys/stat.h>

#include <cstring>

#include "charsets.h"
#include "record_writeout.h"

namespace {

constexpr char kFn[] = "pmrwfmtWtext";
constexpr int32_t kUtf16 = 2;
constexpr int32_t kUtf8 = 3;
constexpr int32_t kBigEndian = 1;
constexpr int32_t kLittleEndian = 2;
constexpr int32_t kRecordTooLong = 19471;

// A line feed, in the byte order of the file for UTF-16, on every platform.
void defineEndOfRecord(FileInfo* file) {
    if (SG_UTF_CharsetNum == kUtf16) {
        const bool little = file->ByteOrder == kLittleEndian;
        file->EOR[0] = little ? 0x0A : 0x00;
        file->EOR[1] = little ? 0x00 : 0x0A;
        file->EORLength = 2;
    } else {
        file->EOR[0] = 0x0A;
        file->EORLength = 1;
    }
}

// A mark belongs at the start of the file only. A file opened for writing
// was emptied by the open; one opened to be appended to (which is also how
// a restart reopens it) gets one only when the disk holds none of its bytes
// yet, and never through an Access Module, which alone knows its file.
bool fileStartsEmpty(const FileInfo* file) {
    if (file->OpenMode == pmOpenWrite) return true;
    if (pm::isAccessModule(file)) return false;
    struct stat st {};
    return stat(file->FName, &st) == 0 && st.st_size == 0;
}

void append(FileInfo* file, const void* bytes, uint64_t length) {
    std::memcpy(file->Buffer + file->BufferEnd, bytes, length);
    file->BufferEnd += length;
}

uint32_t appendByteOrderMark(FileInfo* file) {
    static const uint8_t kUtf16Big[] = {0xFE, 0xFF};
    static const uint8_t kUtf16Little[] = {0xFF, 0xFE};
    static const uint8_t kUtf8Mark[] = {0xEF, 0xBB, 0xBF};
    const uint8_t* mark = nullptr;
    uint64_t length = 0;
    const char* what = "Creating UTF file without byte order marker";
    if (SG_UTF_CharsetNum == kUtf16 && file->ByteOrder == kBigEndian) {
        mark = kUtf16Big;
        length = sizeof kUtf16Big;
        what = "Prepending BIG endian Byte Order Mark (BOM)";
    } else if (SG_UTF_CharsetNum == kUtf16 && file->ByteOrder == kLittleEndian) {
        mark = kUtf16Little;
        length = sizeof kUtf16Little;
        what = "Prepending LITTLE endian Byte Order Mark (BOM)";
    } else if (SG_UTF_CharsetNum == kUtf16) {
        trceprnt(kFn, "!ERROR! ", "Invalid UTF16 BOM (FileInfo->Endian) setting!");
        return rf::internalLogicError();
    } else if (SG_UTF_CharsetNum == kUtf8) {
        mark = kUtf8Mark;
        length = sizeof kUtf8Mark;
        what = "Prepending UTF8 Byte Order Mark (BOM)";
    }
    if (pm::traceAbove(1)) trceprnt(kFn, what, "");
    if (length != 0) append(file, mark, length);
    return pmrcOK;
}

// The record and its mark can never share a block: 17, with 19471. The
// record is dropped and the file stays open.
uint32_t refuseRecord(FileInfo* file, uint64_t lengthWithMark) {
    rf::refuseOversize(kFn, "ReqLength", lengthWithMark - file->EORLength, file,
                       "ReqLength+1>BufferSize");
    const int32_t values[2] = {static_cast<int32_t>(lengthWithMark),
                               static_cast<int32_t>(file->BufferSize)};
    pm::publicMessage(kRecordTooLong, 2, values);
    return pmrcOverflow;
}

}  // namespace

extern "C" uint32_t pmrwfmtWtext(FileInfo* File, pmRecord* UserBuffer, uint32_t Flush) noexcept {
    if (UserBuffer == nullptr) return rf::flushOrRefuse(File, Flush);
    // An empty record stores nothing, not even its mark.
    if (UserBuffer->Length == 0) return Flush ? pm::writeOutBuffer(File) : uint32_t{pmrcOK};
    if (File->EORLength == 0) defineEndOfRecord(File);
    if (File->bAtStart == 1 && bWriteBOM && fileStartsEmpty(File)) {
        uint32_t rc = appendByteOrderMark(File);
        if (rc != pmrcOK) return rc;
    }
    if (pm::traceAbove(4)) {
        TRCECMTU(kFn, "ReqLength=", UserBuffer->Length);
        trceprnt(kFn, "user_buffer contents", "");
        pm::dump(UserBuffer->Data, UserBuffer->Length);
    }
    // The mark already in the block isn't counted here: a first record
    // that fills a block sends the mark out alone below.
    const uint64_t lengthWithMark = uint64_t{UserBuffer->Length} + File->EORLength;
    if (lengthWithMark > File->BufferSize) return refuseRecord(File, lengthWithMark);
    uint32_t rc = rf::makeRoom(kFn, "ReqLengthPlus", File, lengthWithMark);
    if (rc != pmrcOK) return rc;
    append(File, UserBuffer->Data, UserBuffer->Length);
    append(File, File->EOR, File->EORLength);
    return Flush ? pm::writeOutBuffer(File) : uint32_t{pmrcOK};
}
