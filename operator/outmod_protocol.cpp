// The OUTMOD protocol: one copy of each row into the static in buffer, one
// call, and the choice of what is to be written, which pmBuffer then shows.
// Nothing is allocated per row.
#include "outmod_protocol.h"

#include <dlfcn.h>

#include <cstring>
#include <string>

#include "attributes.h"
#include "dc_messages.h"
#include "file_access.h"
#include "operator_state.h"
#include "pmdcomt.h"
#include "row_intake.h"

using namespace bu::dc;

extern "C" {
char OutmodInBuffer[OUTMOD_BUFFER_SIZE];
char OutmodOutBuffer[OUTMOD_BUFFER_SIZE];
int32_t OutmodRequestCell = 0;
int32_t OutmodReservedCell = 0;
int32_t OutmodInLen = 0;
int32_t OutmodOutLen = 0;
int32_t OutmodReq = 0;
OutmodEntry OutmodEntryPoint = nullptr;
}

namespace bu::op {

namespace {

constexpr const char* kLoadFn = "PX_Initiate";
constexpr const char* kRowFn = "PX_Execute";

int32_t invoke(int32_t request) {
    OutmodRequestCell = request;
    int32_t rc = OutmodEntryPoint(&OutmodRequestCell, &OutmodReservedCell, &OutmodInLen,
                                  OutmodInBuffer, &OutmodOutLen, OutmodOutBuffer);
    trace(3, "OUTMOD", kInfo, "OUTMOD returned, req=%d, OutLen=%d, InLen=%d", request, OutmodOutLen,
          OutmodInLen);
    return rc;
}

// The name of the OUTMOD as a zero-ended text, or a status when it can't be
// read.
int32_t readOutmodName(std::string& path) {
    const AttributeAnswer answer = askForAttribute(SG_opHandle, "OUTMODname", kMaxTextAttribute, 0);
    if (answer.status == PXSTC_NotFound) {
        traceError(kLoadFn, "Required attribute '%s' not found", "OUTMODname");
        publicMessage(19201, 3, 6, kText, "OUTMODname");
        return fatal();
    }
    if (!answer.fits) {
        reportServiceFailure(kLoadFn, "PX_GetAttribute", answer.outcome());
        return fatal();
    }
    path.assign(static_cast<const char*>(answer.value), static_cast<size_t>(answer.length));
    // The loader takes the name up to its first zero byte.
    path.resize(std::strlen(path.c_str()));
    return 0;
}

// The loader's text may well be gone by the time the message asks again.
const char* loaderText() {
    const char* text = dlerror();
    return text != nullptr ? text : "";
}

int32_t resolveEntry(const std::string& path) {
    trace(1, kLoadFn, kInfo, "loading OUTMOD='%s'", path.c_str());
    // The object stays loaded for the life of the process.
    void* module = dlopen(path.c_str(), RTLD_LAZY);
    if (module == nullptr) {
        traceError(kLoadFn, "Could not load OUTMOD! dlopen failed!");
        traceError(kLoadFn, "%s", loaderText());
        publicMessage(19501, 3, 6, kText, "dlopen", kText, dlerror());
        return fatal();
    }
    trace(1, kLoadFn, kInfo, "Resolving entrypoint '%s'", OUTMOD_ENTRY_SYMBOL);
    void* entry = dlsym(module, OUTMOD_ENTRY_SYMBOL);
    if (entry == nullptr) {
        traceError(kLoadFn, "Could not resolve entrypoint!  dlsym failed!");
        traceError(kLoadFn, "%s", loaderText());
        publicMessage(19502, 3, 6, kText, "dlsym", kText, dlerror());
        return fatal();
    }
    OutmodEntryPoint = reinterpret_cast<OutmodEntry>(entry);
    trace(1, kLoadFn, kInfo, "Done with loading the outmod.");
    trace(1, kLoadFn, kInfo, "omodaddr: %x",
          static_cast<unsigned>(reinterpret_cast<uintptr_t>(entry)));
    return 0;
}

// What the OUTMOD left: the out buffer wins over the in buffer; lengths of
// 0 or less mean nothing, and the row stays with a length of 0.
pmData chooseRecord(const pmData& row) {
    if (OutmodOutLen > 0) return {static_cast<uint32_t>(OutmodOutLen), OutmodOutBuffer};
    if (OutmodInLen > 0) return {static_cast<uint32_t>(OutmodInLen), OutmodInBuffer};
    return {0, row.Data};
}

// A row longer than the in buffer is refused before anything is copied.
int32_t refuseOversizeRow(uint32_t length) {
    traceError(kRowFn, "%s %u\n%s %d", "The row to be passed to the OUTMOD has a length of", length,
               "But the maximum length allowed is", OUTMOD_BUFFER_SIZE);
    publicMessage(19505, 3, 6, kInt, static_cast<int32_t>(length > INT32_MAX ? INT32_MAX : length),
                  kInt, int32_t{OUTMOD_BUFFER_SIZE});
    return fatal();
}

int32_t writeChosenRecord(const pmData& chosen) {
    if (chosen.Length > OUTMOD_BUFFER_SIZE) {
        traceError(kRowFn, "%s %d\n%s %d", "The OUTMOD has provided a buffer length of",
                   static_cast<int>(chosen.Length), "But the maximum length allowed is",
                   OUTMOD_BUFFER_SIZE);
        publicMessage(19505, 3, 6, kInt, static_cast<int32_t>(chosen.Length), kInt,
                      int32_t{OUTMOD_BUFFER_SIZE});
        return fatal();
    }
    if (!bWriteToFile) {
        traceError(kRowFn, "%s\n%s", "The OUTMOD has requested that the operator write a record.",
                   "But no FileName attribute was provided to the operator.");
        publicMessage(19506, 3, 6);
        return fatal();
    }
    pmRecord record{chosen.Length, chosen.Data, 0, 0};
    uint32_t rc = pmWrite(pmfp, &record);
    if (rc == pmrcOK) return PXSTC_SamePhase;
    // The row path tells of a refused write in error lines.
    reportAccessFailure(kRowFn, "pmWrite", rc, 19306, kError);
    return fatal();
}

}  // namespace

int32_t reportOutmodFailure(const char* method, int32_t rc) noexcept {
    traceError(method, "Call to OUTMOD failed, rc=%d", rc);
    publicMessage(19503, 3, 6, kInt, rc);
    return fatal();
}

int32_t loadOutmod() noexcept {
    std::string path;
    if (readOutmodName(path) != 0) return PXSTC_FatalError;
    if (resolveEntry(path) != 0) return PXSTC_FatalError;
    // Code 1 comes with both lengths at 0, also on a start after a stop.
    OutmodInLen = OutmodOutLen = 0;
    OutmodReq = OUTMOD_REQ_INITIALIZE;
    int32_t rc = invoke(OutmodReq);
    if (rc != 0) return reportOutmodFailure(kLoadFn, rc);
    OutmodReq = OUTMOD_REQ_RECORD;
    return PXSTC_EndMethod;
}

int32_t callOutmod(int32_t request) noexcept {
    // A start that failed before the entry was resolved leaves nothing to call.
    if (OutmodEntryPoint == nullptr) return -1;
    return invoke(request);
}

int32_t passRowToOutmod(const pmData& row) noexcept {
    if (row.Length > OUTMOD_BUFFER_SIZE) return refuseOversizeRow(row.Length);
    if (OutmodEntryPoint == nullptr) return reportOutmodFailure(kRowFn, -1);
    if (row.Length > 0) std::memcpy(OutmodInBuffer, row.Data, row.Length);
    OutmodInLen = static_cast<int32_t>(row.Length);
    OutmodOutLen = 0;
    int32_t rc = invoke(OutmodReq);
    if (rc != 0) return reportOutmodFailure(kRowFn, rc);
    const pmData chosen = chooseRecord(row);
    bu::dc::mirrorInPmBuffer(chosen);
    if (chosen.Length == 0) return PXSTC_SamePhase;
    return writeChosenRecord(chosen);
}

}  // namespace bu::op
