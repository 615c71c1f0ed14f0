// DC_DataConInit and DC_DataConAttach: the access layer comes up in the
// job's character set, and the data file's module is attached, the default
// disk module or the job's Access Module, which is then told who calls it.
#include <sys/utsname.h>

#include <cstdlib>
#include <cstring>

#include "attributes.h"
#include "charsets.h"
#include "dc_messages.h"
#include "file_access.h"
#include "initiation.h"
#include "pm_trace.h"
#include "px_icu.h"

using namespace bu::dc;

extern "C" {
int32_t pmInitialised = 0;
char AccessModuleName[PM_MAX_MODULE_NAME + 1] = {};
char* AccessModuleInitStr = nullptr;
int32_t bIOviaAccessModule = 0;
int32_t bAccessModuleInitStr = 0;
pmHandle DC_pmHandle = 0;
int32_t UsingVigilWindow = 0;
}

namespace {

constexpr const char* kInitFn = "DC_DataConInit";
constexpr const char* kAttachFn = "DC_DataConAttach";
// Longer initialisation strings are cut in the private log.
constexpr int32_t kShownInitLength = 1950;
// An init string may be long, but not longer than this: a length beyond it
// is the host's mistake, and the bytes behind it aren't there to copy.
constexpr int32_t kMaxInitLength = 65535;

int32_t readModuleName() {
    void* raw = nullptr;
    int32_t length = 0;
    int32_t status = 0;
    AccessModuleName[0] = '\0';
    bIOviaAccessModule = 0;
    int32_t rc = dcGetAttribute(kAttachFn, "AccessModuleName", &raw, 0, PM_MAX_MODULE_NAME, 0,
                                &length, &status);
    if (rc != 0 || status != 0) return rc;
    std::memcpy(AccessModuleName, raw, static_cast<size_t>(length));
    AccessModuleName[length] = '\0';
    displayBanner("%s: '%s'", "AccessModuleName", AccessModuleName);
    bIOviaAccessModule = 1;
    return 0;
}

// Module checkpoints are pointless when the job takes none.
int32_t readCheckpointSwitch() {
    int32_t interval = 1;
    bool present = false;
    int32_t rc = readOptionalInt(kAttachFn, "SYSTEM_CHECKPOINT", &interval, &present);
    if (rc != 0) return rc;
    bTakeAMcheckpoint = interval != 0;
    if (bIOviaAccessModule) {
        trace(1, kAttachFn, kWarning, "Access module %s called for checkpoint support.",
              bTakeAMcheckpoint ? "will be" : "will not be");
    }
    return 0;
}

int32_t readInitString() {
    void* raw = nullptr;
    int32_t length = 0;
    int32_t status = 0;
    std::free(AccessModuleInitStr);
    AccessModuleInitStr = nullptr;
    bAccessModuleInitStr = 0;
    int32_t rc = dcGetAttribute(kAttachFn, "AccessModuleInitStr", &raw, 0, kMaxInitLength, 0,
                                &length, &status);
    if (rc != 0 || status != 0) return rc;
    AccessModuleInitStr = static_cast<char*>(std::malloc(static_cast<size_t>(length) + 1));
    if (AccessModuleInitStr == nullptr) {
        raiseExitCodeTo(12);
        return PXSTC_FatalError;
    }
    std::memcpy(AccessModuleInitStr, raw, static_cast<size_t>(length));
    AccessModuleInitStr[length] = '\0';
    bAccessModuleInitStr = 1;
    if (length > kShownInitLength) {
        displayBanner("%s: '%.*s' (truncated for readability)", "AccessModuleInitStr",
                      kShownInitLength, AccessModuleInitStr);
    } else {
        displayBanner("%s: '%s'", "AccessModuleInitStr", AccessModuleInitStr);
    }
    return 0;
}

void identifyModule() {
    dcDisplayBanner("  Module Identification  ");
    utsname system{};
    if (uname(&system) == 0) {
        displayBanner("%s-bit %s operator for %s release %s on %s", "64", OpNameStr, system.sysname,
                      system.release, system.nodename);
    }
    trace(4, kAttachFn, kInfo, "Software architecture is %d-bit",
          static_cast<int>(sizeof(void*)) * 8);
    trace(1, kAttachFn, kInfo, "HXICU................................... %s", keptIcuVersion());
    trace(1, kAttachFn, kInfo, "PXICU................................... %s", px_pxicuversion());
}

int32_t attach() {
    const char* initStr = AccessModuleInitStr != nullptr ? AccessModuleInitStr : "";
    pmData names[2] = {{static_cast<uint32_t>(std::strlen(AccessModuleName)), AccessModuleName},
                       {static_cast<uint32_t>(std::strlen(initStr)), const_cast<char*>(initStr)}};
    uint32_t rc = pmAttach(names, 1, &DC_pmHandle);
    return rc == pmrcOK ? 0 : reportAccessFailure(kAttachFn, "pmAttach", rc, 19302);
}

// What an Access Module is told before any file opens: whose operator it
// serves, which instance, the character set, and that restart information
// is to be kept until the job ends well.
int32_t tellModuleItsCaller() {
    const char* kLine = "Sending to access module: attribute '%s'='%s'";
    OperatorHandle* handle = SG_opHandle;
    trace(1, kAttachFn, kInfo, "Sending to access module: attribute '%s'=x'%x'", "VKM_OP_HANDLE",
          static_cast<unsigned>(reinterpret_cast<uintptr_t>(handle)));
    int32_t rc = putModuleAttribute(kAttachFn, "VKM_OP_HANDLE", &handle, sizeof handle, true);
    if (rc != 0) return rc;

    const int32_t instances[2] = {ThisInstance, TotalInstances};
    trace(1, kAttachFn, kInfo, "Sending to access module: attribute '%s'=[%d,%d]",
          "INSTANCE_NUMBERS", instances[0], instances[1]);
    rc = putModuleAttribute(kAttachFn, "INSTANCE_NUMBERS", instances, sizeof instances, true);
    if (rc != 0) return rc;

    trace(1, kAttachFn, kInfo, kLine, "CHARSET_NAME", SG_CharSetName);
    rc = putModuleAttribute(kAttachFn, "CHARSET_NAME", SG_CharSetName,
                            static_cast<uint32_t>(std::strlen(SG_CharSetName)), true);
    if (rc != 0) return rc;

    trace(1, kAttachFn, kInfo, kLine, "PRESERVE_RESTART_INFO", "YES");
    rc = putModuleAttribute(kAttachFn, "PRESERVE_RESTART_INFO", "YES", 3, true);
    if (rc != 0 || DC_TimeOutSeconds == 0) return rc;

    char seconds[16];
    std::snprintf(seconds, sizeof seconds, "%d", DC_TimeOutSeconds);
    trace(1, kAttachFn, kInfo, kLine, "TIMEOUT_SECONDS", seconds);
    return putModuleAttribute(kAttachFn, "TIMEOUT_SECONDS", seconds,
                              static_cast<uint32_t>(std::strlen(seconds)), false);
}

}  // namespace

namespace bu::dc {

void abandonFilePath() noexcept {
    pmShutDown(2);
    pmInitialised = 0;
    DC_pmHandle = 0;
    pmfp = 0;
}

}  // namespace bu::dc

extern "C" int32_t DC_DataConInit(OperatorHandle* handle) noexcept {
    (void)handle;  // the layer works from SG_opHandle, stored by the caller
    pm::TraceEntryExit entryAndExit(kInitFn);
    InitBlock init{DC_TraceLvl, JobOpName, PM_INTERFACE_VERSION};
    uint32_t rc = pmInit(&init);
    if (rc != pmrcOK) return reportAccessFailure(kInitFn, "pmInit", rc, 19301);
    pmInitialised = 1;
    // Only a name the set table can't hold stops the job; an unknown set
    // means generic single-byte processing.
    return pmSetCharSet(SG_CharSetName) == PXSTC_FatalError ? PXSTC_FatalError : 0;
}

extern "C" int32_t DC_DataConAttach(OperatorHandle* handle) noexcept {
    (void)handle;
    pm::TraceEntryExit entryAndExit(kAttachFn);
    int32_t rc = readModuleName();
    if (rc == 0) rc = readCheckpointSwitch();
    if (rc == 0) rc = readInitString();
    if (rc != 0) return rc;
    identifyModule();
    if ((rc = attach()) != 0) return rc;
    if (!bIOviaAccessModule) return 0;
    if ((rc = tellModuleItsCaller()) != 0) return rc;
    if (UsingVigilWindow) {
        trace(1, kAttachFn, kWarning, "%s '%s' %s %s", "Use of attribute", "AccessModuleName",
              "in not supported with", "Active Directory Scan");
        publicMessage(19234, 3, 6, kText, "AccessModuleName");
        return PXSTC_FatalError;
    }
    return 0;
}
