// The Unicode binding's version call as the tests want it: by default the
// library is there; a test can make it missing.
#include "fake_icu_version.h"

namespace bu::test {
const char* fakeIcuVersion = "hxicu 72.1 (test)";
}

extern "C" const char* px_hxicuversion() {
    return bu::test::fakeIcuVersion;
}
