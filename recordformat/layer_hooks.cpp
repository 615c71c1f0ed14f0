// The record formats installed in the layers below; see layer_hooks.h.
#include "layer_hooks.h"

#include "charsets.h"
#include "data_error_dump.h"
#include "pm_record_formats.h"

namespace rf {

void installLayerHooks() noexcept {
    pm::installRecordFormat(pmFmtText, {&pmrwfmtRtext, &pmrwfmtWtext, "text formatted I/O"});
    // Formats 2 to 7 differ only in what their records hold, not in framing.
    const pm::RecordFormat vli = {&pmrwfmtRvli, &pmrwfmtWvli, "VLI formatted I/O"};
    for (uint32_t format = pmFmtBinary; format <= pmFmtFormatted4; ++format) {
        pm::installRecordFormat(format, vli);
    }
    pm::installRecordFormat(pmFmtUnformatted, {&pmrwfmtRnone, &pmrwfmtWnone, "un-formatted I/O"});
    bu::charsets::installWalkReports({&DumpFileInfo});
}

}  // namespace rf

namespace {

[[gnu::constructor]] void installAtLoad() {
    rf::installLayerHooks();
}

}  // namespace
