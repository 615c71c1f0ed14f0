// disk_position.h - the default disk module's position data. The 32 bytes
// go unchanged into the checkpoint record, so the layout is a file format
// that a restart reads back.
#ifndef BU_ACCESS_DISK_POSITION_H
#define BU_ACCESS_DISK_POSITION_H

#include <cstddef>
#include <cstdint>

namespace pm::disk {

struct DiskPosition {
    uint8_t EOFFlag;
    uint8_t Pad[7];
    uint64_t BlockOffset;   // offset of the block last read, or of the end written
    uint32_t BufferOffset;  // how far the reader was inside that block
    uint32_t RecCount;
    uint8_t Reserved[8];
};

static_assert(offsetof(DiskPosition, EOFFlag) == 0);
static_assert(offsetof(DiskPosition, BlockOffset) == 8);
static_assert(offsetof(DiskPosition, BufferOffset) == 16);
static_assert(offsetof(DiskPosition, RecCount) == 20);
static_assert(offsetof(DiskPosition, Reserved) == 24);
static_assert(sizeof(DiskPosition) == 32);

}  // namespace pm::disk

#endif  // BU_ACCESS_DISK_POSITION_H
