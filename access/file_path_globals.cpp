// The one definition of each setting of the file path, with its value at
// load: module checkpoints are on until the job says it can't restart.
#include "file_path_globals.h"

extern "C" {
int32_t bTakeAMcheckpoint = 1;
void* pmHadoopFS = nullptr;
int32_t FIFO_TimeOutSeconds = 0;
int32_t bMultiInstanceRead = 0;

uint8_t SG_LatencyOn = 0;
int32_t EndianFlip = 0;
uint32_t FileRecordCount = 0;
int32_t bWriteBOM = 0;

int32_t bAcceptEOFasEOR = 0;
char SG_RowErrFileName[4097] = {};
uint32_t RowCount = 0;
}
