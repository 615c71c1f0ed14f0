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
    // The instance's own pace: the time from PX_Initiate to the end of phase
    // 2 less the wait for the other instances, and the rows and row bytes
    // handed over meanwhile (a restart's rows before its checkpoint excluded).
    uint64_t busyNanos = 0;
    uint64_t timedRows = 0;
    uint64_t timedBytes = 0;
    // The instance's anonymous resident memory (heap and private mappings,
    // not the mapped rows file) once its rows are done, in KiB.
    uint64_t anonKB = 0;
    char failure[480] = {};
};

static_assert(std::atomic<uint64_t>::is_always_lock_free, "shared counters need no lock");

}  // namespace buhost
