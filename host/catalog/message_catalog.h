// The host's message catalogue: message number -> text in our own words,
// with printf-style places (%s, %d) for the arguments behind the leader.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "px_boundary.h"

namespace buhost {

struct CatalogEntry {
    int32_t number;
    bool hasLeader;  // the first argument is the message leader
    std::string_view text;
};

// The entry for a number, or null for a number we have no text for.
const CatalogEntry* findCatalogEntry(int32_t number);

// Trace lines (and dumps) are passed on verbatim, not rendered.
constexpr bool isTraceMessage(int32_t number) {
    return number == PX_MSG_TRACE_LINE || number == PX_MSG_TRACE_DUMP || number == 19005;
}

// One decoded argument of a message.
struct LogArg {
    int32_t tag;
    int64_t integer;
    std::string text;  // "(null)" for a null text pointer
    bool nullText = false;
};

// The line for a message: leader, then the catalogue text with the
// arguments put in; an unknown number shows its number and raw arguments.
std::string renderMessage(int32_t number, const std::vector<LogArg>& args);

}  // namespace buhost
