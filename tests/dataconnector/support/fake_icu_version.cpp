// The Unicode binding's version call as the tests want it: by default the
// library is there; a test can make it missing. Every test executable that
// uses the fake host compiles this file itself (see CMakeLists.txt).
#include "fake_icu_version.h"

namespace bu::test {
const char* fakeIcuVersion = "hxicu 72.1 (test)";
}

extern "C" const char* px_hxicuversion() {
    return bu::test::fakeIcuVersion;
}
