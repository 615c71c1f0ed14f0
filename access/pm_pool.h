// pm_pool.h - constants of the access layer's memory pool.
#ifndef BU_ACCESS_PM_POOL_H
#define BU_ACCESS_PM_POOL_H

#include <cstdint>

namespace pm {

constexpr uint32_t kMaxLevels = 16;
constexpr uint32_t kMaxEntries = 1000;
constexpr uint32_t kDefaultSize = 65536;  // DFLTSIZE, the smallest segment
constexpr uint32_t kSegmentHeader = 24;

// Bytes held by the slot of a token in use (0 otherwise).
uint32_t poolEntryLength(uint32_t token);

// Size of the segment most recently added to the current level (0 if none).
uint32_t poolSegmentSizeOfNewest();

}  // namespace pm

#endif  // BU_ACCESS_PM_POOL_H
