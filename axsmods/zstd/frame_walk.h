// frame_walk.h - finds where the frames of a compressed file end, by their
// headers and block headers alone (nothing is decompressed). A restart may
// only cut the file, or resume reading, where a frame ends.
#ifndef BU_ZSTDAXSM_FRAME_WALK_H
#define BU_ZSTDAXSM_FRAME_WALK_H

#include <cstdint>
#include <string>

#include "posix_file.h"

namespace zstdaxsm {

// Walks whole frames from the start of the file towards `target` (at most
// the file's size). True when a frame ends exactly at `target` (or `target`
// is 0); otherwise false with a text that says what lies there.
bool frameEndsAt(PosixFile& file, uint64_t target, uint64_t fileSize, std::string* why);

}  // namespace zstdaxsm

#endif  // BU_ZSTDAXSM_FRAME_WALK_H
