// Fuzz target for the decimal text readers: any input is refused or read
// without harm, and a text that both families accept means the same number
// in both. A difference aborts.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "ld_nu.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    BN_BigNumber ld{}, nu{}, digits{};
    const int ld_rc = LD_SetValueFromString(&ld, text.c_str());
    const int nu_rc = NU_SetValueFromString(&nu, text.c_str());
    LD_SetValueFromDigitString(&digits, text.c_str(), 38, static_cast<int>(size % 39));
    if (ld_rc == 0 && nu_rc == 0 && LD_Compare(&ld, &nu) != 0) {
        std::fprintf(stderr, "LD_ and NU_ read \"%s\" differently\n", text.c_str());
        std::abort();
    }
    if (nu_rc == 0) {
        // Through the NUMBER column and back, unless too wide for it.
        unsigned char column[NU_COLUMN_MAX_BYTES];
        int column_size = 0;
        BN_BigNumber back{};
        if (NU_ExportValueToDBSColumn(&nu, column, &column_size) == 0 &&
            (NU_SetValueFromDBSColumn(&back, column, -128, -128) != 0 ||
             NU_Compare(&nu, &back) != 0)) {
            std::fprintf(stderr, "NUMBER column round trip of \"%s\" differs\n", text.c_str());
            std::abort();
        }
        char out[64];
        int exponent = 0;
        if (column_size > 0) NU_ExportMantissaToString(&back, column, out, sizeof out, &exponent);
        NU_Destroy(&back);
    }
    LD_Destroy(&ld);
    NU_Destroy(&nu);
    LD_Destroy(&digits);
    return 0;
}
