// Fuzz target for the length-prefixed and unformatted readers: any bytes in
// any format, delivered in blocks of any size, must give records that lie
// inside the valid bytes of the block, and never more than a block's worth.
//   byte 0: format (2 to 8), byte 1: bit 0 flips prefixes, bits 1-7 the
//   block size less 4; byte 2: bytes per delivered block (0: whole blocks).
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "block_feed.h"
#include "pm_layer.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 3) return 0;
    Paramod module{};
    FileInfo file{};
    file.Format = 2 + data[0] % 7;
    file.bFlipEndian = data[1] & 1;
    file.BufferSize = 4 + (data[1] >> 1);
    file.PPtr = &module;
    file.ReadBuf = bu::test::readFedBlock;
    file.Buffer = static_cast<uint8_t*>(std::malloc(2 * file.BufferSize + 8));
    bu::test::blockFeed = {data + 3, size - 3, 0, data[2] == 0 ? file.BufferSize : data[2]};
    for (int i = 0; i < 100000; ++i) {
        pmRecord record{};
        record.Length = static_cast<uint32_t>(i % (file.BufferSize + 2));  // wanted, format 8
        uint32_t rc = file.Format == pmFmtUnformatted ? pmrwfmtRnone(&file, &record)
                                                      : pmrwfmtRvli(&file, &record);
        if (!bu::test::readWithinBlock(file, rc, record)) abort();
        if (rc != pmrcOK) break;
    }
    std::free(file.Buffer);
    return 0;
}
