// The access layer's exported globals, and weak defaults for the globals it
// reads from the data connector (the data connector's own definitions
// replace these when both are linked into libbuoutop.so).
#include "pm_layer.h"

extern "C" {
pmData pmBuffer = {0, nullptr};
pmFp pmfp = 0;

static pmTraceLevels traceLevels = {2, 2};
pmTraceLevels* TLGlobalPtr = &traceLevels;

// Set by the data connector from its attributes; defaults here.
__attribute__((weak)) int32_t bDisplayFuncName = 0;
__attribute__((weak)) int32_t bTakeAMcheckpoint = 1;
__attribute__((weak)) int32_t FIFO_TimeOutSeconds = 0;
__attribute__((weak)) int32_t bMultiInstanceRead = 0;
__attribute__((weak)) void* pmHadoopFS = nullptr;

int32_t bParallelReadMaster = 0;
int32_t bParallelReadSlave = 0;
pmSharedControl* pSMmaster = nullptr;
uint8_t* pDB[3] = {nullptr, nullptr, nullptr};
int32_t ReadyIndex = 0;
int32_t bAltPreadBufferReady = 0;
FileInfo* PreadFp = nullptr;

Paramod* SG_Paramod_1st = nullptr;
Paramod* SG_Paramod_last = nullptr;

const char pmprocsVersion[] = "17.20.00.03";
const char pmrwfmtVersion[] = "17.00.00.01";
const char pmtrceVersion[] = "17.20.00.01";
const char pmmmVersion[] = "17.10.00.01";
const char dcuddiVersion[] = "17.20.00.03";
const char pmhexdmpVersion[] = "17.10.00.01";
const char pmunxdskVersion[] = "17.20.00.01";

__attribute__((weak)) const char* JobOpName = "";
__attribute__((weak)) int32_t ThisInstance = 1;
__attribute__((weak)) LogHandle* Public_loghandle = nullptr;
__attribute__((weak)) uint32_t FileRecordCount = 0;
__attribute__((weak)) int32_t EndianFlip = 0;
__attribute__((weak)) uint8_t SG_LatencyOn = 0;
__attribute__((weak)) char SG_RowErrFileName[4097] = {};
__attribute__((weak)) int32_t bAcceptEOFasEOR = 0;
}
