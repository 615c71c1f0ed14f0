// Buffer mode set-up: whether the host turned it on, and the layout of a
// buffer. A consumer fixes the layout itself (4-byte row lengths, no
// trailer but what the host adds); a producer is told it by the consumer at
// the far end and checks that a row of its schema can fit.
#include "buffer_mode.h"

#include <cstdlib>
#include <cstring>

#include "attributes.h"
#include "dc_messages.h"
#include "file_settings.h"
#include "schema.h"
#include "var_fields.h"

using namespace bu::dc;

extern "C" {
dcBufferInfo_t* BufferInfo = nullptr;
uint32_t MaxBufferRowLen = 0;
}

namespace {

constexpr const char* kInfoFn = "DC_GetBufferModeInfo";
constexpr const char* kLayoutFn = "DC_GetBufferLayout";
constexpr const char* kModeName = "SYSTEM_BUFFERMODE";
constexpr uint32_t kConsumerHeader = 4;
// A consumer's buffers are sized in steps of this many bytes.
constexpr uint64_t kSizeStep = 1024000;

int32_t readLayoutWord(const char* name, int32_t* target) {
    int32_t rc = readRequiredInt(kInfoFn, name, target);
    if (rc == 0) trace(1, kInfoFn, kInfo, "%s: %d", name, *target);
    return rc;
}

// A producer's rows must fit the consumer's buffers. With variable columns
// the real rows may well be shorter than the schema allows: a warning.
int32_t checkProducerRowFits(dcBufferInfo_t& info) {
    const uint64_t least = uint64_t{FileRecNumColLen} + FileNameColMaxLen + BufferFixedLength -
                           NumIndBytes + static_cast<uint64_t>(info.RowOverheadBytes);
    if (least <= info.MaxSize) return 0;
    trace(1, kInfoFn, kInfo, "Buffer mode buffer size conflict.");
    trace(1, kInfoFn, kInfo, "%s (%d) %s: %d", "Maximum buffer size (defined by consumer)",
          static_cast<int32_t>(info.MaxSize), "is less than minimum required by producer",
          static_cast<int32_t>(least));
    const auto maxSize = static_cast<int32_t>(info.MaxSize);
    const auto needed = static_cast<int32_t>(least);
    if (SG_VARtypesFlag) {
        publicMessage(19135, 2, 4, kInt, maxSize, kInt, needed);
        return 0;
    }
    publicMessage(19136, 2, 6, kInt, maxSize, kInt, needed);
    raiseExitCodeTo(12);
    return PXSTC_FatalError;
}

int32_t readProducerLayout(dcBufferInfo_t& info) {
    int32_t maxSize = 0;
    int32_t rc = readLayoutWord("BUFFERLENGTHSIZE", &info.LengthSize);
    if (rc == 0) rc = readLayoutWord("BUFFERHEADERSIZE", &info.HeaderSize);
    if (rc == 0) rc = readLayoutWord("BUFFERTRAILERSIZE", &info.TrailerSize);
    if (rc == 0) rc = readLayoutWord("BUFFERMAXSIZE", &maxSize);
    if (rc != 0) return rc;
    info.MaxSize = static_cast<uint32_t>(maxSize);
    if (info.HeaderSize < info.LengthSize) {
        trace(1, kInfoFn, kInfo,
              "!ERROR! Buffer Mode row header size, %d, is less than row length size, %d",
              info.HeaderSize, info.LengthSize);
        char header[16];
        char length[16];
        std::snprintf(header, sizeof header, "%d", info.HeaderSize);
        std::snprintf(length, sizeof length, "%d", info.LengthSize);
        publicMessage(19153, 3, 6, kText, header, kText, length);
        raiseExitCodeTo(12);
        return PXSTC_FatalError;
    }
    const int32_t metadataColumns = (FileNameColNum != 0 ? 1 : 0) + (FileRecNumColNum != 0 ? 1 : 0);
    info.RowIndBytes = (SG_ColCount + metadataColumns + 7) / 8;
    int32_t prefixes = 0;
    for (int32_t i = 0; i < SG_ColCount; ++i)
        prefixes += static_cast<int32_t>(columnPrefixBytes(i));
    if (FileNameColNum != 0 && FileNameColType == kTypeVarchar) prefixes += 2;
    info.RowPrefixBytes = prefixes;
    info.RowFixedBytes = info.RowIndBytes + info.RowPrefixBytes;
    info.HeaderTrailerBytes = info.HeaderSize + info.TrailerSize;
    info.RowOverheadBytes = info.RowFixedBytes + info.HeaderTrailerBytes;
    return checkProducerRowFits(info);
}

// Stores `length` in a row's length field of `size` bytes, little-endian as
// this platform is: a wider field keeps its upper bytes zero, a narrower one
// must hold the whole length.
int32_t storeLength(uint8_t* field, int32_t size, uint32_t length) {
    if (size >= 4) {
        std::memset(field, 0, static_cast<size_t>(size));
        std::memcpy(field, &length, sizeof length);
        return 0;
    }
    if (size <= 0) return 0;
    if ((length >> (8 * size)) != 0) {
        trace(1, "SetRowLength", kInfo,
              "!ERROR! Buffer Mode row length size, %d, is too short to contain row length of %d",
              size, static_cast<int32_t>(length));
        char sizeText[16];
        char lengthText[16];
        std::snprintf(sizeText, sizeof sizeText, "%d", size);
        std::snprintf(lengthText, sizeof lengthText, "%u", length);
        publicMessage(19152, 3, 6, kText, sizeText, kText, lengthText);
        raiseExitCodeTo(12);
        return PXSTC_FatalError;
    }
    std::memcpy(field, &length, static_cast<size_t>(size));
    return 0;
}

}  // namespace

extern "C" int32_t DC_GetBufferModeInfo(void) noexcept {
    void* value = nullptr;
    int32_t length = 0;
    int32_t status = 0;
    int32_t rc = dcGetAttribute(kInfoFn, kModeName, &value, 0, 1, 1, &length, &status);
    if (rc != 0) return rc;
    const char mode = status == kAttrAbsent ? 'N' : *static_cast<const char*>(value);
    if (mode != 'Y' && mode != 'y') {
        trace(1, kInfoFn, kInfo, "%s: 'no'", kModeName);
        return 0;
    }
    auto* info = static_cast<dcBufferInfo_t*>(std::malloc(sizeof(dcBufferInfo_t)));
    if (info == nullptr) {
        trace(1, kInfoFn, kInfo, "%s %d %s.", "Unable to allocate",
              static_cast<int32_t>(sizeof(dcBufferInfo_t)), "bytes for Buffer Mode Information");
        publicMessage(19140, 3, 6, kText, "80");
        raiseExitCodeTo(12);
        return PXSTC_Storage;
    }
    std::memset(info, 0, sizeof *info);
    BufferInfo = info;
    trace(1, kInfoFn, kInfo, "%s: 'yes'", kModeName);
    if (Reading) return readProducerLayout(*info);
    trace(4, kInfoFn, kInfo, "Getting values set by call to DC_GetBufferLayout()");
    rc = readLayoutWord("BUFFERTRAILERSIZE", &info->TrailerSize);
    if (rc != 0) return rc;
    info->RowIndBytes = (SG_ColCount + 7) / 8;
    return 0;
}

extern "C" int32_t DC_GetBufferLayout(uint32_t* layout) noexcept {
    uint64_t sum = BufferFixedLength + kConsumerHeader;
    for (int32_t i = 0; i < SG_ColCount; ++i) sum += columnPrefixBytes(i);
    MaxBufferRowLen = static_cast<uint32_t>(sum - kConsumerHeader);
    // The next step above the row, so one row always fits: a row of exactly
    // a step gets one more.
    const auto maxSize = static_cast<uint32_t>((sum / kSizeStep + 1) * kSizeStep);
    if (layout != nullptr) {
        layout[0] = maxSize;
        layout[1] = kConsumerHeader;
        layout[2] = kConsumerHeader;
        layout[3] = 0;
    }
    if (DC_TraceLvl > 1) {
        trace(1, kLayoutFn, kInfo, "Buffer mode attributes defined by consumer instance:");
        trace(1, kLayoutFn, kInfo, "%s set to: %d", "BUFFERLENGTHSIZE", int32_t{kConsumerHeader});
        trace(1, kLayoutFn, kInfo, "%s set to: %d", "BUFFERHEADERSIZE", int32_t{kConsumerHeader});
        trace(1, kLayoutFn, kInfo, "%s set to: %d", "BUFFERTRAILERSIZE", 0);
        trace(1, kLayoutFn, kInfo, "%s set to: %u", "BUFFERMAXSIZE", maxSize);
    }
    return 0;
}

extern "C" int32_t SetRowLength(uint32_t length) noexcept {
    if (BufferInfo == nullptr || BufferInfo->CurrentPos == nullptr) return PXSTC_FatalError;
    return storeLength(BufferInfo->CurrentPos, BufferInfo->LengthSize, length);
}
