// Puts the layers' globals back at their values at load, as a fresh process
// has them: for tests and for the fuzz target that runs one lifecycle after
// another in one process.
#ifndef BU_TESTS_LAYER_RESET_H
#define BU_TESTS_LAYER_RESET_H

// The headers of the globals, for the tests that reset them.
#include "checkpoint_restart.h"
#include "datetime_errors.h"
#include "dc_messages.h"
#include "delimited_export.h"
#include "fake_icu_version.h"
#include "file_access.h"
#include "file_catalogue.h"
#include "file_settings.h"
#include "initiation.h"
#include "layer_globals.h"
#include "pmdcomt.h"
#include "record_error_file.h"
#include "row_intake.h"
#include "schema.h"

namespace bu::test {

inline void resetLayer() {
    bu::dc::resetLayers();
    // The date/time code keeps its last error code across calls on purpose;
    // a fresh process starts without one.
    bu::datetime::ClearLastError();
    fakeIcuVersion = "hxicu 72.1 (test)";
}

}  // namespace bu::test

#endif  // BU_TESTS_LAYER_RESET_H
