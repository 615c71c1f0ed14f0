// Puts the data connector layer's globals back at their values at load, as
// a fresh process would have them: for tests and for the fuzz target that
// runs one lifecycle after another in one process.
#ifndef BU_TESTS_LAYER_RESET_H
#define BU_TESTS_LAYER_RESET_H

#include "dc_messages.h"
#include "delimited_export.h"
#include "fake_icu_version.h"
#include "file_access.h"
#include "file_catalogue.h"
#include "file_settings.h"
#include "initiation.h"
#include "pmdcomt.h"
#include "row_intake.h"
#include "schema.h"

namespace bu::test {

inline void resetLayer() {
    trceSetFp(nullptr);
    bu::dc::resetInitiation();
    bu::dc::freeSchema();
    dcfini();
    SG_ColCount = SchemaColCount = 0;
    FileFormat = FMT_NONE;
    TextDelimiter.Length = 0;
    Reading = 0;
    FileRecordCount = 0;
    BulkUnloadOutMod = 0;
    schemaHandle = nullptr;
    bu::dc::resetFileAccess();
    bu::dc::resetFileCatalogue();
    fakeIcuVersion = "hxicu 72.1 (test)";
}

}  // namespace bu::test

#endif  // BU_TESTS_LAYER_RESET_H
