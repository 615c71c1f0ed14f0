/*
 * file_access.h - the data file's way through the access layer: bringing
 * the layer up, attaching the disk module or the job's Access Module, and
 * opening the file once its settings are read (file_catalogue.h).
 */
#ifndef BU_DC_FILE_ACCESS_H
#define BU_DC_FILE_ACCESS_H

#include <cstdint>

#include "bu_export.h"
#include "dc_messages.h"
#include "pmdcomt.h"
#include "px_boundary.h"

extern "C" {

// The layer is up (pmInit succeeded); termination shuts it down.
BU_API int32_t pmInitialised;
// "AccessModuleName"; empty when the default disk module serves the file.
BU_API char AccessModuleName[PM_MAX_MODULE_NAME + 1];
// "AccessModuleInitStr", or null.
BU_API char* AccessModuleInitStr;
BU_API int32_t bIOviaAccessModule;
BU_API int32_t bAccessModuleInitStr;
// The data file's attachment (the type pmHandle takes the plain name).
BU_API pmHandle DC_pmHandle;
// Set by a host that scans a directory for its input; a module can't serve it.
BU_API int32_t UsingVigilWindow;

// pmInit, then the job's character set. Returns 0 or 48.
BU_API int32_t DC_DataConInit(OperatorHandle* handle) noexcept;
// Reads the module attributes and attaches; an Access Module is told who
// calls it. Returns 0, 48, or the status of a refused attribute.
BU_API int32_t DC_DataConAttach(OperatorHandle* handle) noexcept;
// A reading instance takes the metadata file name parameters of the
// instance that reads for it. Always 0.
BU_API int32_t DC_SetInsertFileName(void) noexcept;
// Opens the data file into pmfp. Returns 0, 19 for a name too long for the
// readers' shared record, or 48.
BU_API int32_t DC_DataConOpen(OperatorHandle* handle, const char* fileName) noexcept;
}

namespace bu::dc {

// A failed access layer call. 999999 comes from a module that has reported
// it already: 48 in silence. Anything else gives the layer's text, message
// 19400 plus the code with the call's name, the code and the text, then the
// call's own message (19301 pmInit, 19302 pmAttach, ...), and exit code 12.
// The two trace lines of the code and the text are shown above level 1 as
// warnings, or at the level the caller gives (error lines always). Returns 48.
int32_t reportAccessFailure(const char* caller, const char* call, uint32_t rc, int32_t callMessage,
                            int32_t traceLevel = kWarning) noexcept;

// The access layer's text of a status (the module's own text for 34).
const char* accessErrorText(uint32_t rc) noexcept;

// Hands one attribute to the attached Access Module. "Not supported" (24)
// and, where `unknownPasses`, "unknown attribute" (33) are warnings only;
// other failures are reported as for any access layer call. Returns 0 or 48.
int32_t putModuleAttribute(const char* caller, const char* name, const void* value, uint32_t length,
                           bool unknownPasses) noexcept;

// Takes the access layer down after a start that failed on the file path,
// and forgets the file and its module, so that termination has nothing of
// them left to close.
void abandonFilePath() noexcept;

}  // namespace bu::dc

#endif  // BU_DC_FILE_ACCESS_H
