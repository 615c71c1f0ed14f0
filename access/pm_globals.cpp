// The access layer's own globals. The settings it reads from the data
// connector are defined there (file_path_globals.cpp, message_globals.cpp).
#include "pm_layer.h"

extern "C" {
pmData pmBuffer = {0, nullptr};
uint32_t pmBufferRecCount = 0;
pmFp pmfp = 0;

static pmTraceLevels traceLevels = {2, 2};
pmTraceLevels* TLGlobalPtr = &traceLevels;

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
}
