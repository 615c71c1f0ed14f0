// The access layer's life: initialisation, handle checks, error texts,
// version records and shutdown.
#include <cstdio>
#include <cstring>
#include <iterator>
#include <string_view>

#include "pm_layer.h"
#include "pm_pool.h"

namespace pm {

LayerState& layer() {
    static LayerState state;
    return state;
}

namespace {

constexpr std::string_view kUnknownFailure = "Unknown Access Module failure";
constexpr std::string_view kUnknownClient = "Unknown Client";

// Texts of codes 0 to 56; null where a code has no text of its own.
constexpr const char* kErrorTexts[] = {
    "No error",
    "Invalid pmHandle parameter",
    "Bad parameter passed to Access Module API",
    "Requested Access Module not found",
    "Requested file not found",
    "File is open for write operations only",
    "File is open for read operations only",
    "Invalid pmFp parameter",
    "Access Module still has open files",
    "End-of-file",
    "File is ready to checkpoint",
    "Access Module does not support this utility",
    "Error encountered during memory mgmt",
    "Access Module does not support this mode",
    "Access Module does not support this format",
    "Access Module does not support this block size",
    "Unexpected data format",
    "Buffer overflow",
    "The DataConnector version is incompatible with Client",
    "File name too long",
    "Access Module Initialization string syntax error",
    "Access Module Init string invalid command char",
    "Access Module Init string invalid command option",
    "Invalid positioning data length",
    "Request unsupported by Access Module",
    "Continue reading until pmrcCPReady",
    "Access Module API not initialized (call pmInit)",
    "Invalid diagnostic trace level",
    "Access Modules still active",
    "Empty file on read open",
    "Redundant pmInit call",
    "Invalid Supplemental Format Information",
    "Invalid Checkpointing method",
    "Unrecognized attribute name",
    nullptr,  // 34: the last-error buffer
    "EOF encountered before end of record",
    "BufferSize exceeded by block reader",
    "Error resolving symbols of access module",
    "LRECL does not match length defined by data schema",
    "Invalid multi-byte character encountered",
    "Invalid attribute value",
    "Can't set access module attribute after file open",
    "Unable to obtain data signature",
    "Data after restart doesn't match",
    "File attribute must be set immediately after open",
    "Requested endianess conflicts with file BOM",
    "File BOM conflicts with defined character set",
    "EscapeRecordDelimiter matches the end-of-record mark",
    nullptr,
    nullptr,
    "Attribute name unrecognized by DataConnector",
    "Attribute value rejected by DataConnector",
    nullptr,
    nullptr,
    nullptr,
    nullptr,
    "Can not checkpoint or restart a PIPE",
};
static_assert(std::size(kErrorTexts) == 57, "texts for codes 0 to 56");

constexpr const char* kNoSuchCode = "No such Access Module API return code";

struct VersionChain {
    VersionRecord records[7] = {};
};

VersionChain& versions() {
    static VersionChain chain;
    return chain;
}

void setVersion(VersionRecord& r, const char* name, const char* version) {
    std::memset(&r, 0, sizeof r);
    std::snprintf(r.Name, sizeof r.Name, "%s", name);
    std::snprintf(r.Version, sizeof r.Version, "%s", version);
}

void buildVersionChain() {
    VersionRecord* r = versions().records;
    setVersion(r[0], "PMPROCS", pmprocsVersion);
    setVersion(r[1], "PMRWFMT", pmrwfmtVersion);
    setVersion(r[2], "PMTRCE", pmtrceVersion);
    setVersion(r[3], "PMMM", pmmmVersion);
    setVersion(r[4], "DCUDDI", dcuddiVersion);
    setVersion(r[5], "PMHEXDMP", pmhexdmpVersion);
    setVersion(r[6], "PMUNXDSK", pmunxdskVersion);
    for (int i = 0; i < 5; ++i) r[i].Next = &r[i + 1];
}

void resetTexts() {
    LayerState& s = layer();
    std::memcpy(s.lastError, kUnknownFailure.data(), kUnknownFailure.size());
    s.lastError[kUnknownFailure.size()] = '\0';
    s.lastErrorLength = static_cast<uint32_t>(kUnknownFailure.size());
    std::memcpy(s.clientName, kUnknownClient.data(), kUnknownClient.size());
    s.clientName[kUnknownClient.size()] = '\0';
}

// Every pool record begins with its own token, so a token that names some
// other kind of record passes that test; these make sure the record is one
// of the layer's live modules or files before anything else of it is used.
bool isAttached(const Paramod* mod) {
    for (const Paramod* p = SG_Paramod_1st; p != nullptr; p = p->Next) {
        if (p == mod) return true;
    }
    return false;
}

bool isOpenFile(const FileInfo* file) {
    for (const Paramod* p = SG_Paramod_1st; p != nullptr; p = p->Next) {
        if (p != file->PPtr) continue;
        for (const FileInfo* f = p->FirstFile; f != nullptr; f = f->Next) {
            if (f == file) return true;
        }
    }
    return false;
}

}  // namespace

VersionRecord* versionChain() {
    return versions().records;
}

uint32_t checkHandle(pmHandle token, Paramod** out, const char* caller) {
    if (!layer().initialized) return notInitialized(caller);
    auto* mod = static_cast<Paramod*>(pmGetMemA(token));
    if (mod == nullptr) return pmrcBadHandle;
    if (mod->MMToken != token || !isAttached(mod)) {
        if (traceAbove(1)) trceprnt(caller, "!ERROR! Invalid Access Module Handle", "");
        return pmrcBadHandle;
    }
    *out = mod;
    return pmrcOK;
}

namespace {

// The file that last passed checkFp whole. A row's write names the same
// file every time, and walking the lists for it cost a cache miss per row;
// the walk can only give another answer once a slot is freed or a file is
// unlinked, and each of those forgets it.
struct CheckedFile {
    pmFp token = 0;
    FileInfo* file = nullptr;
};
CheckedFile lastChecked;

}  // namespace

void forgetCheckedFile() {
    lastChecked = {};
}

uint32_t checkFp(pmFp token, FileInfo** out, const char* caller) {
    if (!layer().initialized) return notInitialized(caller);
    // The record's own token is still compared: it is read next anyway.
    if (token != 0 && token == lastChecked.token && lastChecked.file->MMToken == token) {
        *out = lastChecked.file;
        return pmrcOK;
    }
    auto* file = static_cast<FileInfo*>(pmGetMemA(token));
    if (file == nullptr) {
        if (traceAbove(1)) trceprnt(caller, "!ERROR! NULL memory token pointer", "");
        return pmrcBadFp;
    }
    if (file->MMToken != token || !isOpenFile(file)) {
        trceprnt(caller, "!ERROR! file pointer token mismatch", "");
        char text[96];
        std::snprintf(text, sizeof text, "ThisFp->MMToken=%d, pmFp=%d",
                      static_cast<int>(file->MMToken), static_cast<int>(token));
        trceprnt(caller, text, "");
        trceprnt(caller, "ThisFp block", "");
        uint32_t held = poolEntryLength(token);
        dump(file, held < sizeof(FileInfo) ? held : sizeof(FileInfo));
        return pmrcBadFp;
    }
    lastChecked = {token, file};
    *out = file;
    return pmrcOK;
}

void dump(const void* address, uint32_t length) {
    pmHexDmp(19005, 4096, address, length, "hex:", 0);
}

}  // namespace pm

using namespace pm;

extern "C" int32_t Platform_Endian(void) noexcept {
    return 2;
}

extern "C" uint32_t pmInit(InitBlock* Init) noexcept {
    static const char kFn[] = "pmInit";
    pm::TraceEntryExit entryExit(kFn);
    if (Init == nullptr) return pmrcBadParm;
    if (Init->TraceLevel < 1 || Init->TraceLevel > 5) {
        TLGlobalPtr->CurrentLevel = 2;
        trceprnt(kFn, "!ERROR! ", "Invalid diagnostic trace level");
        return pmrcBadTraceLevel;
    }
    resetTexts();
    TLGlobalPtr->DefaultLevel = Init->TraceLevel;
    TLGlobalPtr->CurrentLevel = Init->TraceLevel;
    buildVersionChain();
    if (Init->InterfaceVerNo != PM_INTERFACE_VERSION) {
        TRCECMTI(kFn, "!ERROR! Invalid parameter value for InterfaceVerNo=", Init->InterfaceVerNo);
        TRCECMTI(kFn, "!ERROR! Correct value for InterfaceVerNo=", PM_INTERFACE_VERSION);
        return pmrcBadVersion;
    }
    // The client name is only measured: modules are always told "Unknown Client".
    if (Init->ClientName != nullptr && strnlen(Init->ClientName, 256) > 255) {
        trceprnt(kFn, "Utility ID too long", "");
        return pmrcBadClient;
    }
    if (!layer().initialized) {
        if (pmMMNewPool() != 0) return pmrcMemory;
        layer().initialized = true;
    }
    return pmrcOK;
}

extern "C" uint32_t pmSetErrTxt(const char* Text, uint32_t Length) noexcept {
    LayerState& s = layer();
    uint32_t n = Length > PM_MAX_ERROR_TEXT ? PM_MAX_ERROR_TEXT : Length;
    if (Text == nullptr) n = 0;
    if (n > 0) std::memmove(s.lastError, Text, n);
    s.lastError[n] = '\0';
    s.lastErrorLength = n;
    return pmrcOK;
}

extern "C" uint32_t pmGetErrText(uint32_t LastReturnCode, pmData* Out) noexcept {
    static char text[PM_MAX_ERROR_TEXT + 1];
    if (Out == nullptr) return pmrcOK;
    LayerState& s = layer();
    if (LastReturnCode == pmrcFailure) {
        std::memcpy(text, s.lastError, s.lastErrorLength + 1);
        Out->Length = s.lastErrorLength;
        Out->Data = text;
        return pmrcOK;
    }
    const char* found =
        LastReturnCode < std::size(kErrorTexts) ? kErrorTexts[LastReturnCode] : nullptr;
    if (found == nullptr) {
        if (traceAbove(1)) trceprnt("pmGetErrText", "!ERROR! Invalid LastReturnCode", "");
        found = kNoSuchCode;
    }
    size_t n = std::strlen(found);
    std::memcpy(text, found, n + 1);
    Out->Length = static_cast<uint32_t>(n);
    Out->Data = text;
    return pmrcOK;
}

extern "C" uint32_t pmGetID(pmHandle Handle, VersionRecord** Out) noexcept {
    VersionRecord* chain = versionChain();
    Paramod* mod = nullptr;
    if (Handle != 0) {
        uint32_t rc = checkHandle(Handle, &mod, "pmGetID");
        if (rc != pmrcOK) return rc;
    }
    if (mod == nullptr || mod->pmIPCHandle == nullptr) {
        chain[5].Next = &chain[6];
    } else {
        VersionRecord* record = nullptr;
        uint32_t rc = moduleGetID(mod, &record);
        if (rc != pmrcOK) return rc;
        chain[5].Next = record;
    }
    if (Out != nullptr) *Out = chain;
    return pmrcOK;
}

extern "C" uint32_t pmShutDown(uint32_t Mode) noexcept {
    static const char kFn[] = "pmShutdown";
    pm::TraceEntryExit entryExit(kFn);
    if (!layer().initialized) return notInitialized(kFn);
    if (Mode != 1 && Mode != 2) {
        if (traceAbove(1)) trceprnt(kFn, "!ERROR! Invalid Mode", "");
        return pmrcBadParm;
    }
    if (Mode == 1 && SG_Paramod_1st != nullptr) {
        if (traceAbove(1)) trceprnt(kFn, "!ERROR! paramods still active", "");
        return pmrcModulesActive;
    }
    if (traceAbove(1)) trceprnt(kFn, "Shutting down API", "");
    uint32_t rc = pmrcOK;
    if (SG_Paramod_1st != nullptr && traceAbove(1)) trceprnt(kFn, "Closing paramods", "");
    while (SG_Paramod_1st != nullptr) {
        rc = pmDetach(SG_Paramod_1st->MMToken, 2);
        if (rc != pmrcOK) break;
    }
    pmMMFreePool();
    // Whatever a failed detach left linked lived in the pool just freed.
    SG_Paramod_1st = nullptr;
    SG_Paramod_last = nullptr;
    layer().initialized = false;
    return rc;
}
