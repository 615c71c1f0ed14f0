// zstd_position.h - the module's bytes of a position, as they are kept in a
// job's checkpoint record behind the access layer's 13-byte head: a file
// format, so packed, little-endian and checked field by field.
//
// FrameOffset  where a frame begins in the compressed file. For a file being
//              written it is the end of everything made durable, where the
//              next frame goes; for a file being read, the frame in which
//              the block last delivered begins.
// SkipBytes    uncompressed bytes from the start of that frame to the start
//              of that block; always 0 for a file being written.
#ifndef BU_ZSTDAXSM_ZSTD_POSITION_H
#define BU_ZSTDAXSM_ZSTD_POSITION_H

#include <cstddef>
#include <cstdint>

namespace zstdaxsm {

#pragma pack(push, 1)
struct ZstdPosition {
    uint64_t FrameOffset;
    uint64_t SkipBytes;
};
#pragma pack(pop)

static_assert(offsetof(ZstdPosition, FrameOffset) == 0, "FrameOffset at 0");
static_assert(offsetof(ZstdPosition, SkipBytes) == 8, "SkipBytes at 8");
static_assert(sizeof(ZstdPosition) == 16, "a position is 16 bytes");

}  // namespace zstdaxsm

#endif  // BU_ZSTDAXSM_ZSTD_POSITION_H
