// Fuzz target for the length-prefixed and unformatted readers: any bytes in
// any format, delivered in blocks of any size, must give records that lie
// inside the valid bytes of the block, and never more than a block's worth.
//   byte 0: format (2 to 8), byte 1: bit 0 flips prefixes, bits 1-7 the
//   block size less 4; byte 2: bytes per delivered block (0: whole blocks).
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "pm_layer.h"

namespace {

struct Feed {
    const uint8_t* data;
    size_t size;
    size_t at;
    size_t chunk;
};
Feed feed;

uint32_t readBlock(FileInfo* file, uint32_t* count) {
    size_t n = feed.size - feed.at;
    if (n > feed.chunk) n = feed.chunk;
    if (n > file->BufferSize) n = file->BufferSize;
    std::memcpy(file->Buffer + file->BufferEnd, feed.data + feed.at, n);
    feed.at += n;
    *count = static_cast<uint32_t>(n);
    return n == 0 ? pmrcEOF : pmrcOK;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 3) return 0;
    Paramod module{};
    FileInfo file{};
    file.Format = 2 + data[0] % 7;
    file.bFlipEndian = data[1] & 1;
    file.BufferSize = 4 + (data[1] >> 1);
    file.PPtr = &module;
    file.ReadBuf = readBlock;
    file.Buffer = static_cast<uint8_t*>(std::malloc(2 * file.BufferSize + 8));
    feed = {data + 3, size - 3, 0, data[2] == 0 ? file.BufferSize : data[2]};
    for (int i = 0; i < 100000; ++i) {
        pmRecord record{};
        record.Length = static_cast<uint32_t>(i % (file.BufferSize + 2));  // wanted, format 8
        uint32_t rc = file.Format == pmFmtUnformatted ? pmrwfmtRnone(&file, &record)
                                                      : pmrwfmtRvli(&file, &record);
        if (file.BufferPosition > file.BufferEnd || file.BufferEnd > 2 * file.BufferSize) abort();
        if (rc != pmrcOK) break;
        const auto* first = static_cast<const uint8_t*>(record.Data);
        if (record.Length > file.BufferSize) abort();
        if (first < file.Buffer || first + record.Length > file.Buffer + file.BufferEnd) abort();
    }
    std::free(file.Buffer);
    return 0;
}
