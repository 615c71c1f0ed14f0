// The size of the data file's I/O block. "IOBufferSize" is read and noted
// only; the block is sized from the schema: a writer's holds at least one
// whole record, a reader's a default block plus room for one more.
#include "attributes.h"
#include "dc_messages.h"
#include "file_catalogue.h"
#include "file_settings.h"
#include "initiation.h"
#include "schema.h"

using namespace bu::dc;

namespace {

constexpr const char* kFn = "DC_DataConFileInfo";
constexpr uint32_t kExpandedBufferSize = 1048586;
constexpr uint32_t kMultiReaderBufferSize = 1048575;

void sizeWriterBuffer() {
    if (TotalFixedLength < kExpandedBufferSize + 1) {
        BufferSize = kExpandedBufferSize;
        trace(1, kFn, kInfo, "FILE_WRITER: BufferSize set to EXPANDED_BUFSIZE (%u)",
              kExpandedBufferSize);
    } else {
        BufferSize = TotalFixedLength;
        trace(1, kFn, kInfo, "FILE_WRITER: BufferSize set to TotalFixedLength (%llu)",
              static_cast<unsigned long long>(TotalFixedLength));
    }
}

void sizeReaderBuffer() {
    if (BufferSize == kBufferSizeUnset) {
        if (bAllowMultiInstanceRead) {
            BufferSize = kMultiReaderBufferSize;
            trace(1, kFn, kInfo, "FILE_READER: BufferSize set to PREAD_DEFAULT_BUFSIZE (%llu)",
                  static_cast<unsigned long long>(BufferSize));
        } else {
            BufferSize = kExpandedBufferSize;
            trace(1, kFn, kInfo, "FILE_READER: BufferSize set to EXPANDED_BUFSIZE (%llu)",
                  static_cast<unsigned long long>(BufferSize));
        }
    }
    if (TotalFixedLength <= BufferSize) {
        displayBanner("%s: %llu (default)", "IOBufferSize",
                      static_cast<unsigned long long>(BufferSize));
        return;
    }
    BufferSize += TotalFixedLength;
    trace(1, kFn, kInfo, "FILE_READER: BufferSize expanded with TotalFixedLength to %llu",
          static_cast<unsigned long long>(BufferSize));
}

}  // namespace

namespace bu::dc {

int32_t readIoBufferSize(const FileAttribute& row, bool& present) noexcept {
    int32_t value = 0;
    int32_t rc = readOptionalInt(kFn, row.name, &value, &present);
    if (rc != 0) return rc;
    if (present) {
        trace(3, kFn, kInfo,
              "%s attribute found, value = %u - %s attribute is deprecated and will be ignored",
              row.name, static_cast<uint32_t>(value), row.name);
    }
    BufferSize = kBufferSizeUnset;
    trace(4, kFn, kInfo, "BufferSize variable set to %llu",
          static_cast<unsigned long long>(BufferSize));
    return 0;
}

void sizeIoBuffer() noexcept {
    trace(4, kFn, kInfo, "TotalFixedLength = %llu",
          static_cast<unsigned long long>(TotalFixedLength));
    trace(4, kFn, kInfo, "EXPANDED_BUFSIZE = %u", kExpandedBufferSize);
    if (OperatorType == PX_OPERATOR_TYPE_PRODUCER) {
        sizeReaderBuffer();
    } else {
        sizeWriterBuffer();
    }
}

}  // namespace bu::dc
