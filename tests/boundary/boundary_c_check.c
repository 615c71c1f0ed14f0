/* Compiles the boundary header as plain C; the layout assertions inside it
 * run here under the C compiler's rules. The status table is checked here
 * too: row n holds code n, and every text fits a row of the 32-byte name
 * tables with its terminator. */
#include "px_boundary.h"

#define ROW_INDEX(code, name, text) bu_status_row_##name,
enum { PX_STATUS_LIST(ROW_INDEX) bu_status_rows };
#undef ROW_INDEX

#define ROW_CHECK(code, name, text)                                                    \
    PX_STATIC_ASSERT((code) == bu_status_row_##name, "status " #code " out of place"); \
    PX_STATIC_ASSERT(sizeof(text) <= PX_STATUS_NAME_WIDTH, "status text " #code " too long");
PX_STATUS_LIST(ROW_CHECK)
#undef ROW_CHECK

PX_STATIC_ASSERT(bu_status_rows == PX_STATUS_COUNT, "one row per status code");
