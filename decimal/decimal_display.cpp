// decimal_display.cpp - the diagnostic print of a decimal value and the
// choice of where it goes.
#include <cstdio>
#include <cstdlib>

#include "decimal_support.h"

namespace {

FILE* g_display_stream = nullptr;  // null: standard error
int g_display_level = 1;

}  // namespace

int LD_RouteTraceOutput(FILE* stream, int level) noexcept {
    g_display_stream = stream;
    g_display_level = level;
    return LD_OK;
}

int LD_Display(const BN_BigNumber* v) noexcept {
    if (v == nullptr) return LD_NULL_OR_BAD_LENGTH;
    if (g_display_level <= 0) return LD_OK;
    FILE* out = g_display_stream != nullptr ? g_display_stream : stderr;
    if (!bu::dec::has_storage(v)) {
        std::fprintf(out, "BN_BigNumber %p: no storage (State %u)\n", static_cast<const void*>(v),
                     v->State);
        return LD_OK;
    }
    mp_int z = bu::dec::integer_of(v);
    const int len = mp_int_string_len(z, 10);
    char* text = static_cast<char*>(std::malloc(static_cast<size_t>(len)));
    if (text == nullptr) return MP_RESULT_MEMORY;
    mp_int_to_string(z, 10, text, len);
    std::fprintf(out,
                 "BN_BigNumber %p: Value %s Precision %d Digits %d Scale %d CurScale %d "
                 "Exponent %d Kind %u State %u\n",
                 static_cast<const void*>(v), text, v->Precision, v->Digits, v->Scale, v->CurScale,
                 v->Exponent, v->Kind, v->State);
    std::free(text);
    return LD_OK;
}
