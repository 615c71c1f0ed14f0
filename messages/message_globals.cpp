// The process-wide state of reporting: trace settings, the two logs, the
// operator's identity in messages and the exit code.
#include "dc_messages.h"

extern "C" {
int32_t DC_TraceLvl = 5;  // until DC_Initiate sets it, everything is traced
int32_t StatsTraceLevel = 0;
int32_t DC_StatsOnly = 0;
int32_t bDisplayFuncName = 1;
int32_t TimeStampMessages = 0;
int32_t bErrorsTostderr = 0;
int64_t CurrentSystemTime = 0;

LogHandle* Public_loghandle = nullptr;
LogHandle* Private_loghandle = nullptr;
OperatorHandle* SG_opHandle = nullptr;
const char OpNameStr[] = "BulkUnload OUTMOD Adapter";
const char* JobOpName = OpNameStr;
int32_t ThisInstance = 1;
int16_t CurrentExitCode = 0;
int16_t NewExitCode = 0;
int32_t dcDiagErrCheck = 0;
int32_t dcLastLogStatus = 0;
}
