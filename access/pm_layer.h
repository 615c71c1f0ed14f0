// pm_layer.h - internals shared by the access layer's files and the record
// formats that fill its blocks: layer state, handle checks, the module
// command blocks, and the settings and reporting the layer reads.
#ifndef BU_ACCESS_PM_LAYER_H
#define BU_ACCESS_PM_LAYER_H

#include <cstdint>

#include "dc_messages.h"
#include "file_path_globals.h"
#include "pm_trace.h"
#include "pmdcomt.h"
#include "pmddamt.h"

namespace pm {

struct LayerState {
    bool initialized = false;
    char lastError[PM_MAX_ERROR_TEXT + 1] = {};
    uint32_t lastErrorLength = 0;
    char clientName[256] = {};
    char line[PM_MAX_ERROR_TEXT + 512] = {};  // scratch for formatted traces
};
LayerState& layer();

// Forces the current level to 2 and reports the uninitialised layer: 26.
uint32_t notInitialized(const char* caller);

uint32_t checkHandle(pmHandle token, Paramod** out, const char* caller);
uint32_t checkFp(pmFp token, FileInfo** out, const char* caller);
// Drops checkFp's memory of the last file it passed; called wherever a pool
// slot is freed or a file leaves its module's list.
void forgetCheckedFile();

inline bool isAccessModule(const FileInfo* file) {
    return file->PPtr != nullptr && file->PPtr->pmIPCHandle != nullptr;
}

// Writes out a file's pending block through its module.
uint32_t writeOutBuffer(FileInfo* file);

// The command blocks exchanged with modules: single static instances, their
// titles and lengths set once.
struct ModuleBlocks {
    CmdBlock_t cmd;
    Init_t init;
    Open_t open;
    Close_t close;
    RW_t read;
    RW_t write;
    Pos_t getPos;
    Pos_t setPos;
    Shut_t shut;
    ID_t id;
    Attr_t getModuleAttr;
    Attr_t getFileAttr;
    Attr_t putModuleAttr;
    Attr_t putFileAttr;
};
ModuleBlocks& blocks();

// The layer's one path to a module (COMM_WITH_AM): returns the module's
// ReturnCode.
uint32_t commWithModule(const char* caller, PIDMMain_t entry, void* block, uint32_t funcCode,
                        int32_t traceLevel);

// Dumps bytes to the private log under the layer's usual number and label.
void dump(const void* address, uint32_t length);

// The private log when it is usable, else null; writes one line of a dump.
LogHandle* traceLog();
void traceDumpLine(int32_t messageNumber, const char* text);

// Writes a numbered message with the leader "%s[%d]: QLN%05d" and integer
// arguments to the public log; a null or wrong-kind handle writes nothing.
void publicMessage(int32_t number, int32_t count, const int32_t* values);

uint32_t moduleGetID(Paramod* mod, VersionRecord** out);
VersionRecord* versionChain();

uint32_t closeFile(pmFp token, bool forRestart);

// A restored position whose offset lies behind the block read for it: 43.
uint32_t restartMismatch(const char* fn, uint64_t offset, const FileInfo* file);

}  // namespace pm

#endif  // BU_ACCESS_PM_LAYER_H
