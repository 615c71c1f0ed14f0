// block_feed.h - the file a record reader's fuzz target reads: the input's
// bytes, delivered into the file's block at most `chunk` bytes at a time;
// and the check of what a read left.
#ifndef BU_TESTS_BLOCK_FEED_H
#define BU_TESTS_BLOCK_FEED_H

#include <cstdint>
#include <cstring>

#include "pmdcomt.h"

namespace bu::test {

struct BlockFeed {
    const uint8_t* data;
    size_t size;
    size_t at;
    size_t chunk;
};

inline BlockFeed blockFeed;

// The file's read function: the next bytes of blockFeed behind the block's
// end; 9 once they are used up.
inline uint32_t readFedBlock(FileInfo* file, uint32_t* count) {
    BlockFeed& feed = blockFeed;
    size_t n = feed.size - feed.at;
    if (n > feed.chunk) n = feed.chunk;
    if (n > file->BufferSize) n = file->BufferSize;
    std::memcpy(file->Buffer + file->BufferEnd, feed.data + feed.at, n);
    feed.at += n;
    *count = static_cast<uint32_t>(n);
    return n == 0 ? pmrcEOF : pmrcOK;
}

// After a read: the block's positions are in order, and a record delivered
// lies inside the block's valid bytes and is no longer than a block.
inline bool readWithinBlock(const FileInfo& file, uint32_t rc, const pmRecord& record) {
    if (file.BufferPosition > file.BufferEnd || file.BufferEnd > 2 * file.BufferSize) return false;
    if (rc != pmrcOK) return true;
    const auto* first = static_cast<const uint8_t*>(record.Data);
    return record.Length <= file.BufferSize && first >= file.Buffer &&
           first + record.Length <= file.Buffer + file.BufferEnd;
}

}  // namespace bu::test

#endif  // BU_TESTS_BLOCK_FEED_H
