// Not built: compiled by the test trace_formats_are_checked, which expects
// the compiler to refuse each call below for its argument's type.
#include <cstdint>

#include "dc_messages.h"

void traceProbe(int64_t count) {
    bu::dc::trace(1, "probe", bu::dc::kInfo, "count %d", count);
}

void traceErrorProbe(int32_t count) {
    bu::dc::traceError("probe", "name %s", count);
}

void traceStatsProbe(const char* name) {
    bu::dc::traceStats("probe", "count %u", name);
}
