// Entry and exit lines of the layer's functions. They go through the access
// layer's trace, whose own level decides.
#include "messages/dc_messages.h"
#include "pmdcomt.h"

namespace bu::dc {

namespace {

bool accessTraceShowsAll() {
    return TLGlobalPtr != nullptr && TLGlobalPtr->CurrentLevel > 4;
}

}  // namespace

FunctionTrace::FunctionTrace(const char* functionName) noexcept : functionName_(functionName) {
    if (accessTraceShowsAll()) trceprnt(functionName_, " entry <<<<", "");
}

FunctionTrace::~FunctionTrace() {
    if (accessTraceShowsAll()) trceprnt(functionName_, " exit >>>>", "");
}

}  // namespace bu::dc
