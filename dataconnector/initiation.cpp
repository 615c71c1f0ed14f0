// DC_Initiate: the general settings, the logs and the banner, in the order
// in which reporting becomes possible (console, then the public log, then
// the private log).
#include "initiation.h"

#include <unistd.h>

#include <bit>
#include <cstdlib>
#include <cstring>

#include "attributes.h"
#include "bu_version.h"
#include "dc_messages.h"
#include "pm_trace.h"
#include "pmdcomt.h"
#include "px_icu.h"

using namespace bu::dc;

extern "C" {
const char OpModuleName[] = "buoutop";
const char OpVersStr[] = BU_VERSION;
const char OpModuleVers[] = BU_VERSION "C";

int32_t TotalInstances = 0;
int32_t OperatorType = 0;
int32_t MaxBytesToDump = 4096;
int32_t DC_RestartMode = 0;
int32_t RowsPerInstanceLimit = -1;
int32_t SkipRowsCount = 0;
int32_t bSkipRowsEveryFile = 0;
int32_t SG_IndicatorData = 0;
int32_t bNullColumns = 1;
char SG_CharSetName[31] = {};
int32_t DC_TimeOutSeconds = 0;
const char* dcJobID = nullptr;
int32_t dcOperatorCount = 0;
int32_t dcOperatorNumber = 0;
int32_t dcJobStepNumber = 0;
char* dcPrivateLogName = nullptr;
}

namespace {

constexpr const char* kFn = "DC_Initiate";
constexpr const char* kLibraryVersion = "17.20.00.05";
constexpr const char* kCommonHeaderVersion = "Common 17.00.00.04";
constexpr const char* kDriverHeaderVersion = "Common 17.00.00.01";
constexpr const char* kPacking = "pack (push, 1)";
constexpr const char* kIcuMissing = "HXICU Library Not Found";
constexpr int32_t kTimeOutMaximum = 99999;
constexpr size_t kDefaultLogNameSize = 4102;

char* ownedJobOpName = nullptr;
const char* icuVersionText = "";

struct TraceLevelName {
    const char* name;
    int32_t level;
};
constexpr TraceLevelName kTraceLevels[] = {
    {"NONE", 0}, {"MILESTONES", 2}, {"IO_COUNTS", 3}, {"IO_BUFFERS", 4}, {"ALL", 5}};

int32_t fatal() {
    raiseExitCodeTo(12);
    return PXSTC_FatalError;
}

// Who this instance is (operator type, instance number and count, restart
// mode), read before any log is open.
int32_t readInstanceIdentity() {
    JobOpName = OpNameStr;
    bool present = false;
    int32_t rc = readOptionalInt(kFn, "DiagnosticErrorCheck", &dcDiagErrCheck, &present);
    if (rc != 0) return rc;
    if (present)
        trace(4, kFn, kInfo, "Error check value = %u", static_cast<uint32_t>(dcDiagErrCheck));

    ThisInstance = 1;  // so that what goes wrong next is reported
    if ((rc = readRequiredInt(kFn, "SYSTEM_InstanceNumber", &ThisInstance)) != 0) return rc;
    if ((rc = readRequiredInt(kFn, "SYSTEM_MaxInstances", &TotalInstances)) != 0) return rc;
    if ((rc = readRequiredInt(kFn, "SYSTEM_OperatorType", &OperatorType)) != 0) return rc;
    if (OperatorType != PX_OPERATOR_TYPE_PRODUCER && OperatorType != PX_OPERATOR_TYPE_CONSUMER) {
        char given[16];
        std::snprintf(given, sizeof given, "%d", OperatorType);
        publicMessage(19204, 3, 6, kText, "SYSTEM_OperatorType", kText, given, kInt, 1, kInt, 2);
        return PXSTC_FatalError;
    }
    return 0;
}

// The public log, shared by the job's instances.
int32_t openPublicLog() {
    int32_t status = PXSTC_BadHandle;
    if (hasKind(SG_opHandle, PX_KIND_OPERATOR) && SG_opHandle->PX_Loginit != nullptr) {
        status = SG_opHandle->PX_Loginit(SG_opHandle, OpNameStr, ThisInstance, nullptr, 0,
                                         &Public_loghandle);
    }
    if (status != 0) {
        Public_loghandle = nullptr;
        char text[128];
        std::snprintf(text, sizeof text, "FATAL_ERROR: PX_Loginit failed, return code = %d",
                      status);
        consoleWrite(text);
        return PXSTC_FatalError;
    }
    return 0;
}

// The latency flag, the operator's name in the job, and the greeting.
int32_t readNameAndGreet() {
    void* raw = nullptr;
    int32_t length = 0;
    int32_t status = 0;
    int32_t rc = dcGetAttribute(kFn, "SYSTEM_LATENCYON", &raw, 1, 1, 1, &length, &status);
    if (rc != 0) return rc;
    SG_LatencyOn = *static_cast<uint8_t*>(raw);

    rc =
        dcGetAttribute(kFn, "SYSTEM_OperatorName", &raw, 1, kMaxTextAttribute, 0, &length, &status);
    if (rc != 0) return rc;
    std::free(ownedJobOpName);
    ownedJobOpName = static_cast<char*>(std::malloc(static_cast<size_t>(length) + 1));
    if (ownedJobOpName == nullptr) return fatal();
    std::memcpy(ownedJobOpName, raw, static_cast<size_t>(length));
    ownedJobOpName[length] = '\0';
    JobOpName = ownedJobOpName;

    if (ThisInstance != 1) return 0;
    // The greeting is the one message that goes out without a leader.
    dcLastLogStatus = logWriteRaw(Public_loghandle, 19006, 3, 3, kText, OpNameStr, kText, OpVersStr,
                                  int32_t{PX_TAG_END});
    return dcLastLogStatus != 0 ? PXSTC_FatalError : 0;
}

// "TraceLevel". `shown` receives the value for the banner.
int32_t readTraceLevel(char* shown, size_t shownSize) {
    void* raw = nullptr;
    int32_t length = 0;
    int32_t status = 0;
    int32_t rc = dcGetAttribute(kFn, "TraceLevel", &raw, 0, 10, 0, &length, &status);
    if (rc != 0) return rc;
    DC_TraceLvl = 0;
    std::snprintf(shown, shownSize, "NONE");
    if (status == kAttrAbsent) return 0;
    upperCaseCopy(shown, shownSize, raw, length);
    for (const auto& level : kTraceLevels) {
        if (std::strcmp(shown, level.name) == 0) {
            DC_TraceLvl = level.level;
            return 0;
        }
    }
    if (ThisInstance == 1) {
        publicMessage(19205, 3, 6, kText, "TraceLevel", kText, shown, kText,
                      "ALL, IO_BUFFERS, IO_COUNTS, MILESTONES or NONE");
    }
    return PXSTC_FatalError;
}

// The private log's name, given or made up.
int32_t choosePrivateLogName() {
    void* raw = nullptr;
    int32_t length = 0;
    int32_t status = 0;
    int32_t rc =
        dcGetAttribute(kFn, "PrivateLogName", &raw, 0, kMaxTextAttribute, 0, &length, &status);
    if (rc != 0) return rc;
    std::free(dcPrivateLogName);
    dcPrivateLogName = nullptr;
    if (status == 0) {
        // Room for the "-<instance>" that is appended later.
        dcPrivateLogName = static_cast<char*>(std::malloc(static_cast<size_t>(length) + 6 + 12));
        if (dcPrivateLogName == nullptr) return fatal();
        std::memcpy(dcPrivateLogName, raw, static_cast<size_t>(length));
        dcPrivateLogName[length] = '\0';
        return 0;
    }
    dcPrivateLogName = static_cast<char*>(std::malloc(kDefaultLogNameSize));
    if (dcPrivateLogName == nullptr) return fatal();
    char* user = nullptr;
    int32_t userStatus = PXSTC_BadHandle;
    if (hasKind(SG_opHandle, PX_KIND_OPERATOR) && SG_opHandle->PX_GetUserId != nullptr) {
        userStatus = SG_opHandle->PX_GetUserId(SG_opHandle, &user);
    }
    if (userStatus != 0 || user == nullptr) user = const_cast<char*>("NOUSERID");
    std::snprintf(dcPrivateLogName, kDefaultLogNameSize - 12, "%s-%s-%d", OpModuleName, user,
                  static_cast<int>(getpid()));
    return 0;
}

// Whether a named private log may open at this trace level, and the log itself.
int32_t openPrivateLog() {
    const bool named = dcPrivateLogName != nullptr && dcPrivateLogName[0] != '\0';
    if (named && DC_TraceLvl == 0) {
        // A private log always carries at least the statistics.
        DC_TraceLvl = 2;
        DC_StatsOnly = 1;
        publicMessage(19206, 2, 3, kText, "TraceLevel", kText, "Statistics Only");
    }
    if (DC_TraceLvl < 2 || !named) {
        DC_TraceLvl = 1;
        if (logShortMessage(Public_loghandle, 19009, 2, 3, kInt, ThisInstance) != 0) {
            return PXSTC_FatalError;
        }
        return 0;
    }
    size_t used = std::strlen(dcPrivateLogName);
    std::snprintf(dcPrivateLogName + used, 12, "-%d", ThisInstance);
    int32_t status = PXSTC_BadHandle;
    if (hasKind(SG_opHandle, PX_KIND_OPERATOR) && SG_opHandle->PX_Loginit != nullptr) {
        status = SG_opHandle->PX_Loginit(SG_opHandle, OpNameStr, ThisInstance, dcPrivateLogName, 0,
                                         &Private_loghandle);
    }
    if (status != 0) Private_loghandle = nullptr;
    if (logShortMessage(Public_loghandle, 19010, 3, 3, kInt, ThisInstance, kText,
                        dcPrivateLogName) != 0) {
        return PXSTC_FatalError;
    }
    return 0;
}

void drawIdentificationBanner() {
    char upperName[101];
    upperCaseCopy(upperName, sizeof upperName, OpNameStr,
                  static_cast<int32_t>(std::strlen(OpNameStr)));
    dcDisplayBanner("");
    dcDisplayBanner("HALVEX QUILLON 64-BIT");
    dcDisplayBanner(" ");
    displayBanner("%s %s %s", upperName, "OPERATOR VERSION ", OpVersStr);
    dcDisplayBanner(" ");
    displayBanner("%s UTILITY LIBRARY VERSION %s", OpNameStr, kLibraryVersion);
    dcDisplayBanner(" ");
    dcDisplayBanner("");
    trace(1, kFn, kInfo, " ");
    trace(1, kFn, kInfo, "Operator name: '%s' instance %d of %d%s", JobOpName, ThisInstance,
          TotalInstances,
          OperatorType == PX_OPERATOR_TYPE_PRODUCER ? " [Producer]" : " [Consumer]");
}

void traceStartTime() {
    int64_t now = 0;
    if (FetchCurrentTime(&now) != 0) return;
    std::time_t t = static_cast<std::time_t>(now);
    char when[64] = {};
    if (ctime_r(&t, when) == nullptr) return;
    when[std::strcspn(when, "\n")] = '\0';
    if (DC_TraceLvl <= 1) return;
    trace(1, kFn, kInfo, " ");
    TimeStampMessages = 1;
    trace(1, kFn, kInfo, "Processing starting at: %s", when);
    TimeStampMessages = 0;
}

void drawStaticSpecifics() {
    dcDisplayBanner("Operator module static specifics");
    displayBanner("Operator module name:'%s', version:'%s'", OpModuleName, OpModuleVers);
    displayBanner("pmdcomt_HeaderVersion: '%s' - packing '%s'", kCommonHeaderVersion, kPacking);
    displayBanner("pmddamt_HeaderVersion: '%s' - packing '%s'", kDriverHeaderVersion, kPacking);
    trace(1, kFn, kInfo, " ");
}

// "MaxDumpBytes", the restart mode (announced) and "RowsPerInstance".
int32_t readDumpRestartAndLimits() {
    bool present = false;
    int32_t rc = readOptionalInt(kFn, "MaxDumpBytes", &MaxBytesToDump, &present);
    if (rc != 0) return rc;
    if (present) {
        displayBanner("%s = %d", "MaxDumpBytes", MaxBytesToDump);
    } else {
        MaxBytesToDump = 4096;
    }
    if ((rc = readRequiredInt(kFn, "SYSTEM_RestartMode", &DC_RestartMode)) != 0) return rc;
    if (DC_RestartMode != 0) {
        dcDisplayBanner("");
        dcDisplayBanner(">>>> RESTART MODE <<<< >>>> RESTART MODE <<<<");
        dcDisplayBanner("");
        if (publicMessage(19011, 3, 3, kInt, ThisInstance) != 0) return PXSTC_FatalError;
    }
    rc = readOptionalInt(kFn, "RowsPerInstance", &RowsPerInstanceLimit, &present);
    if (rc != 0) return rc;
    if (present) {
        displayBanner("%s=%d", "RowsPerInstance", RowsPerInstanceLimit);
    } else {
        RowsPerInstanceLimit = -1;
    }
    return 0;
}

// "SkipRows" belongs to producers.
int32_t readSkipRows() {
    bool present = false;
    SkipRowsCount = 0;
    int32_t rc = readOptionalInt(kFn, "SkipRows", &SkipRowsCount, &present);
    if (rc != 0) return rc;
    if (!present) return 0;
    if (OperatorType == PX_OPERATOR_TYPE_CONSUMER) {
        traceError(kFn, "!ERROR! Attribute '%s' is not accepted by consumer instance", "SkipRows");
        if (ThisInstance == 1) {
            publicMessage(19230, 2, 6, kText, "SkipRows");
            return fatal();
        }
    }
    displayBanner("%s=%d", "SkipRows", SkipRowsCount);
    if (SkipRowsCount != 0) {
        if (DC_GetYN("SkipRowsEveryFile", &bSkipRowsEveryFile, 1, 0, 0) != 0) {
            return PXSTC_FatalError;
        }
    }
    return 0;
}

// The yes/no flags of the job and its character set.
int32_t readFlagsAndCharset() {
    if (DC_GetYN("EndianFlip", &EndianFlip, 1, 0, 0) != 0) return PXSTC_FatalError;
    if (DC_GetYN("IndicatorMode", &SG_IndicatorData, 1, 0, 0) != 0) return PXSTC_FatalError;
    if (DC_GetYN("NullColumns", &bNullColumns, 1, 1, 0) != 0) return PXSTC_FatalError;
    void* raw = nullptr;
    int32_t length = 0;
    int32_t status = 0;
    int32_t rc = dcGetAttribute(kFn, "SYSTEM_CharSetId", &raw, 0, 31, 0, &length, &status);
    if (rc != 0) return rc;
    SG_CharSetName[0] = '\0';
    if (status == 0) upperCaseCopy(SG_CharSetName, sizeof SG_CharSetName, raw, length);
    if (SG_CharSetName[0] != '\0') displayBanner("%s: '%s'", "SYSTEM_CharSetId", SG_CharSetName);
    return 0;
}

// A producer's setting given to a consumer stops every instance; instance 1
// says so on the public log.
int32_t refuseOnConsumer(const char* name, int32_t level) {
    trace(1, kFn, level, " Attribute '%s' is not accepted by consumer instance", name);
    if (ThisInstance == 1) publicMessage(19230, 2, 6, kText, name);
    return fatal();
}

// Time limits belong to producers.
int32_t readTimeOuts() {
    bool present = false;
    DC_TimeOutSeconds = 0;
    int32_t rc = readOptionalInt(kFn, "TimeOut", &DC_TimeOutSeconds, &present);
    if (rc != 0) return rc;
    if (DC_TimeOutSeconds != 0) {
        if (OperatorType == PX_OPERATOR_TYPE_CONSUMER) return refuseOnConsumer("TimeOut", kWarning);
        if (static_cast<uint32_t>(DC_TimeOutSeconds) > kTimeOutMaximum) {
            traceError(kFn, "'%s' value of %u is not valid (must be >0 & <=%u)", "TimeOut",
                       static_cast<uint32_t>(DC_TimeOutSeconds), uint32_t{kTimeOutMaximum});
            if (ThisInstance == 1)
                publicMessage(19224, 3, 6, kText, "TimeOut", kInt, kTimeOutMaximum);
            return fatal();
        }
        displayBanner("%s: %d seconds", "TimeOut", DC_TimeOutSeconds);
    }
    FIFO_TimeOutSeconds = 0;
    rc = readOptionalInt(kFn, "NamedPipeTimeOut", &FIFO_TimeOutSeconds, &present);
    if (rc != 0) return rc;
    if (FIFO_TimeOutSeconds != 0) {
        if (OperatorType == PX_OPERATOR_TYPE_CONSUMER) {
            return refuseOnConsumer("NamedPipeTimeOut", kError);
        }
        displayBanner("%s: %d seconds", "NamedPipeTimeOut", FIFO_TimeOutSeconds);
    }
    return 0;
}

// The job's numbers. Armed diagnostics fail each read.
int32_t readJobNumbers() {
    void* raw = nullptr;
    int32_t length = 0;
    int32_t status = 0;
    int32_t rc = dcGetAttribute(kFn, "SYSTEM_JobID", &raw, 1, -1, 0, &length, &status);
    if (rc != 0) return rc;
    dcJobID = static_cast<const char*>(raw);
    if (dcDiagErrCheck == 1038) return PXSTC_FatalError;
    rc = readRequiredInt(kFn, "SYSTEM_MaxOperators", &dcOperatorCount);
    if (rc != 0 || dcDiagErrCheck == 1039) return PXSTC_FatalError;
    trace(4, kFn, kInfo, "%s = %d", "SYSTEM_MaxOperators", dcOperatorCount);
    rc = readRequiredInt(kFn, "SYSTEM_OperatorNumber", &dcOperatorNumber);
    if (rc != 0 || dcDiagErrCheck == 1040) return PXSTC_FatalError;
    trace(4, kFn, kInfo, "%s = %d", "SYSTEM_OperatorNumber", dcOperatorNumber);
    rc = readRequiredInt(kFn, "SYSTEM_JobStepNumber", &dcJobStepNumber);
    if (rc != 0 || dcDiagErrCheck == 1072) {
        int32_t shown = rc != 0 ? rc : dcDiagErrCheck;
        TimeStampMessages = 1;
        traceError(kFn, "Error %d retrieving attribute '%s'", shown, "SYSTEM_JobStepNumber");
        TimeStampMessages = 0;
        publicMessage(19185, 3, 6, kInt, shown, kText, "SYSTEM_JobStepNumber");
        return PXSTC_FatalError;
    }
    trace(4, kFn, kInfo, "%s = %d", "SYSTEM_JobStepNumber", dcJobStepNumber);
    return 0;
}

// The Unicode binding must find its library.
int32_t checkIcuBinding() {
    const char* version = px_hxicuversion();
    if (version == nullptr || std::strcmp(version, kIcuMissing) == 0) {
        trace(1, kFn, kInfo, "function px_hxicuversion() failed");
        publicMessage(19100, 2, 6, kText, "px_hxicuversion", kInt, -1);
        return PXSTC_FatalError;
    }
    icuVersionText = version;
    return 0;
}

}  // namespace

namespace bu::dc {

const char* keptIcuVersion() noexcept {
    return icuVersionText;
}

}  // namespace bu::dc

extern "C" int32_t DC_Initiate(OperatorHandle* handle) noexcept {
    (void)handle;  // the layer works from SG_opHandle, stored by the caller
    pm::TraceEntryExit entryAndExit(kFn);
    int32_t rc = readInstanceIdentity();
    if (rc != 0) return rc;
    if ((rc = openPublicLog()) != 0) return rc;
    if ((rc = readNameAndGreet()) != 0) return rc;
    char traceLevelShown[16];
    if ((rc = readTraceLevel(traceLevelShown, sizeof traceLevelShown)) != 0) return rc;
    if ((rc = choosePrivateLogName()) != 0) return rc;
    if ((rc = openPrivateLog()) != 0) return rc;
    trceSetFp(Private_loghandle);
    if (DC_GetYN("TraceFunction", &bDisplayFuncName, 1, 0, 0) != 0) return PXSTC_FatalError;

    drawIdentificationBanner();
    traceStartTime();
    drawStaticSpecifics();
    dcDisplayBanner("> General attribute Definitions <");
    displayBanner("%s: '%s'", "TraceLevel", traceLevelShown);
    if ((rc = readDumpRestartAndLimits()) != 0) return rc;
    if ((rc = readSkipRows()) != 0) return rc;
    if ((rc = readFlagsAndCharset()) != 0) return rc;
    if ((rc = readTimeOuts()) != 0) return rc;
    if ((rc = readJobNumbers()) != 0) return rc;

    dcDisplayBanner("");
    trace(1, kFn, kInfo, " ");
    trace(1, kFn, kInfo, "%s",
          std::endian::native == std::endian::little ? "LITTLE ENDIAN platform"
                                                     : "BIG ENDIAN platform");
    return checkIcuBinding();
}
