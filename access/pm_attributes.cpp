// Module and file attributes: pmAGetAttr, pmFGetAttr, pmAPutAttr, pmFPutAttr.
// The default module accepts the module attributes the data connector sends
// and has no attributes to give.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "pm_layer.h"

namespace pm {
namespace {

constexpr std::string_view kTimeoutName = "TIMEOUT_SECONDS";
constexpr const char* kKnownToDefault[] = {
    "CHARSET_NAME",          "CHARSET_NUMBER", "WRITE_BOM",       "BYTE_ORDER",
    "PRESERVE_RESTART_INFO", "RECORD_TYPE",    "DELIMITER_VALUE", "TIMEOUT_SECONDS"};

// The name as text, for traces; attribute names aren't terminated.
const char* shownName(const pmData& name, char (&out)[PM_MAX_ATTR_NAME + 1]) {
    std::snprintf(out, sizeof out, "%.*s", static_cast<int>(name.Length),
                  name.Data ? static_cast<const char*>(name.Data) : "");
    return out;
}

bool isTimeoutName(const pmData& name) {
    char shown[PM_MAX_ATTR_NAME + 1];
    return kTimeoutName == shownName(name, shown);
}

uint32_t checkLengths(const char* fn, const pmData& name, const pmData* value) {
    if (name.Length > PM_MAX_ATTR_NAME) {
        TRCECMTI(fn, "!ERROR! Attribute Name length >", PM_MAX_ATTR_NAME);
        return pmrcBadParm;
    }
    if (value != nullptr && value->Length > PM_MAX_ATTR_VALUE) {
        TRCECMTI(fn, "!ERROR! Attribute Value length >", PM_MAX_ATTR_VALUE);
        return pmrcBadParm;
    }
    if (traceAbove(4)) {
        trceprnt(fn, "Attribute Name", "");
        dump(name.Data, name.Length);
        if (value != nullptr) {
            trceprnt(fn, "Attribute Value", "");
            dump(value->Data, value->Length);
        }
    }
    return pmrcOK;
}

// The layer checks the time-out itself, whichever the module.
uint32_t checkTimeout(const char* fn, const pmData& value) {
    char text[PM_MAX_ATTR_VALUE + 1];
    std::snprintf(text, sizeof text, "%.*s", static_cast<int>(value.Length),
                  value.Data ? static_cast<const char*>(value.Data) : "");
    long seconds = std::strtol(text, nullptr, 10);
    if (seconds < 1 || seconds > 99999) {
        std::snprintf(layer().line, sizeof layer().line,
                      "Invalid '%s' value.  Valid range is 1...99999", kTimeoutName.data());
        trceprnt(fn, "!ERROR! ", layer().line);
        return pmrcBadParm;
    }
    if (traceAbove(4)) TRCECMTI(fn, "timeout_seconds=", static_cast<int32_t>(seconds));
    if (traceAbove(2)) trceprnt(fn, "Time out support activated", "");
    return pmrcOK;
}

uint32_t defaultModulePut(const char* fn, const pmData& name) {
    char shown[PM_MAX_ATTR_NAME + 1];
    shownName(name, shown);
    // The name counts up to its terminator (or its length), no further.
    for (const char* known : kKnownToDefault) {
        if (std::strcmp(shown, known) == 0) {
            std::snprintf(layer().line, sizeof layer().line, "Attribute '%s' recognized.", known);
            if (traceAbove(2)) trceprnt(fn, layer().line, "");
            return pmrcOK;
        }
    }
    std::snprintf(layer().line, sizeof layer().line, "%s '%s' %s", "WARNING! Attribute", shown,
                  "not recognized.");
    if (traceAbove(1)) trceprnt(fn, layer().line, "");
    return pmrcOK;
}

uint32_t moduleGet(const char* fn, Attr_t& b, uint32_t funcCode, PIDMMain_t entry, int32_t level,
                   uint64_t word, pmData* value, const pmData& name) {
    std::memset(b.Name, 0, sizeof b.Name);
    if (name.Length > 0) std::memcpy(b.Name, name.Data, name.Length);
    b.NameLen = name.Length;
    b.Data = word;
    b.ValueLen = 0;
    uint32_t rc = commWithModule(fn, entry, &b, funcCode, level);
    auto* out = static_cast<char*>(value->Data);
    if (rc != pmrcOK) {
        value->Length = 0;
        if (out != nullptr) out[0] = '\0';
        return rc;
    }
    // The caller's buffer holds 1300 bytes; a module can't hand out more.
    uint32_t n = b.ValueLen > PM_MAX_ATTR_VALUE ? PM_MAX_ATTR_VALUE : b.ValueLen;
    if (out != nullptr) std::memcpy(out, b.Value, n);
    value->Length = n;
    if (traceAbove(4)) {
        trceprnt(fn, "Attribute value", "");
        dump(b.Value, n);
    }
    return pmrcOK;
}

uint32_t modulePut(const char* fn, Attr_t& b, uint32_t funcCode, PIDMMain_t entry, int32_t level,
                   uint64_t word, const pmData& name, const pmData& value) {
    std::memset(b.Name, 0, sizeof b.Name);
    std::memset(b.Value, 0, sizeof b.Value);
    if (name.Length > 0) std::memcpy(b.Name, name.Data, name.Length);
    if (value.Length > 0) std::memcpy(b.Value, value.Data, value.Length);
    b.NameLen = name.Length;
    b.ValueLen = value.Length;
    b.Data = word;
    uint32_t rc = commWithModule(fn, entry, &b, funcCode, level);
    if (rc != pmrcOK ? traceAbove(1) : traceAbove(4)) TRCECMTU(fn, "Access module rc=", rc);
    return rc;
}

bool validData(const pmData& d) {
    return d.Length == 0 || d.Data != nullptr;
}

}  // namespace
}  // namespace pm

using namespace pm;

extern "C" uint32_t pmAGetAttr(pmHandle Handle, pmData* Value, pmData Name) noexcept {
    static const char kFn[] = "pmAGetAttr";
    pm::TraceEntryExit entryExit(kFn);
    Paramod* mod = nullptr;
    uint32_t rc = checkHandle(Handle, &mod, kFn);
    if (rc != pmrcOK) return rc;
    if (Value == nullptr || !validData(Name)) return pmrcBadParm;
    rc = checkLengths(kFn, Name, nullptr);
    if (rc != pmrcOK) return rc;
    if (mod->pmIPCHandle == nullptr) {
        if (traceAbove(1))
            trceprnt(kFn, "!WARNING! no attributes defined for default Access Module", "");
        return pmrcUnknownAttr;
    }
    return moduleGet(kFn, blocks().getModuleAttr, pmfcGetModuleAttr, mod->pmIPCHandle,
                     mod->TraceLvl, mod->PIData, Value, Name);
}

extern "C" uint32_t pmFGetAttr(pmFp Fp, pmData* Value, pmData Name) noexcept {
    static const char kFn[] = "pmFGetAttr";
    pm::TraceEntryExit entryExit(kFn);
    FileInfo* file = nullptr;
    uint32_t rc = checkFp(Fp, &file, kFn);
    if (rc != pmrcOK) return rc;
    if (Value == nullptr || !validData(Name)) return pmrcBadParm;
    rc = checkLengths(kFn, Name, nullptr);
    if (rc != pmrcOK) return rc;
    if (!isAccessModule(file)) {
        if (traceAbove(1))
            trceprnt(kFn, "!WARNING! no attributes defined for default Access Module", "");
        return pmrcUnknownAttr;
    }
    return moduleGet(kFn, blocks().getFileAttr, pmfcGetFileAttr, file->PPtr->pmIPCHandle,
                     file->TraceLvl, file->FIData, Value, Name);
}

extern "C" uint32_t pmAPutAttr(pmHandle Handle, pmData Name, pmData Value) noexcept {
    static const char kFn[] = "pmAPutAttr";
    pm::TraceEntryExit entryExit(kFn);
    Paramod* mod = nullptr;
    uint32_t rc = checkHandle(Handle, &mod, kFn);
    if (rc != pmrcOK) return rc;
    if (!validData(Name) || !validData(Value)) return pmrcBadParm;
    rc = checkLengths(kFn, Name, &Value);
    if (rc != pmrcOK) return rc;
    if (isTimeoutName(Name)) {
        rc = checkTimeout(kFn, Value);
        if (rc != pmrcOK) return rc;
    }
    if (mod->pmIPCHandle == nullptr) return defaultModulePut(kFn, Name);
    return modulePut(kFn, blocks().putModuleAttr, pmfcPutModuleAttr, mod->pmIPCHandle,
                     mod->TraceLvl, mod->PIData, Name, Value);
}

extern "C" uint32_t pmFPutAttr(pmFp Fp, pmData Name, pmData Value) noexcept {
    static const char kFn[] = "pmFPutAttr";
    pm::TraceEntryExit entryExit(kFn);
    FileInfo* file = nullptr;
    uint32_t rc = checkFp(Fp, &file, kFn);
    if (rc != pmrcOK) return rc;
    if (!validData(Name) || !validData(Value)) return pmrcBadParm;
    rc = checkLengths(kFn, Name, &Value);
    if (rc != pmrcOK) return rc;
    if (!isAccessModule(file)) {
        char shown[PM_MAX_ATTR_NAME + 1];
        std::snprintf(layer().line, sizeof layer().line, "%s '%s' %s", "!ERROR! File attribute",
                      shownName(Name, shown), "not recognized.");
        if (traceAbove(1)) trceprnt(kFn, layer().line, "");
        return pmrcUnknownAttr;
    }
    return modulePut(kFn, blocks().putFileAttr, pmfcPutFileAttr, file->PPtr->pmIPCHandle,
                     file->TraceLvl, file->FIData, Name, Value);
}
