// What an instance process tells the parent, through shared memory that
// survives the instance's death.
#pragma once

#include <atomic>
#include <cstdint>

namespace buhost {

struct InstanceSlot {
    std::atomic<uint64_t> rows{0};
    std::atomic<uint64_t> checkpoints{0};
    std::atomic<int32_t> exitCode{0};
    std::atomic<int32_t> finished{0};  // 1 once the instance ran to its end
    uint32_t maxRowSizeKB = 0;
    char failure[480] = {};
};

static_assert(std::atomic<uint64_t>::is_always_lock_free, "shared counters need no lock");

}  // namespace buhost
