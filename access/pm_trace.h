// pm_trace.h - the access layer's trace as every layer above it uses it:
// the test of the layer's own level and the entry and exit lines of a
// function, shown at the highest level.
#ifndef BU_ACCESS_PM_TRACE_H
#define BU_ACCESS_PM_TRACE_H

#include <cstdint>

#include "pmdcomt.h"

namespace pm {

// Whether a trace line of the given threshold is shown: "level above n".
inline bool traceAbove(int32_t n) {
    return TLGlobalPtr != nullptr && TLGlobalPtr->CurrentLevel > n;
}

// " entry <<<<" and " exit >>>>" around a function.
class TraceEntryExit {
  public:
    explicit TraceEntryExit(const char* fn) : fn_(fn) {
        if (traceAbove(4)) trceprnt(fn_, " entry <<<<", "");
    }
    ~TraceEntryExit() {
        if (traceAbove(4)) trceprnt(fn_, " exit >>>>", "");
    }
    TraceEntryExit(const TraceEntryExit&) = delete;
    TraceEntryExit& operator=(const TraceEntryExit&) = delete;

  private:
    const char* fn_;
};

}  // namespace pm

#endif  // BU_ACCESS_PM_TRACE_H
