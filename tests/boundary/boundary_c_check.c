/* Compiles the boundary header as plain C; the layout assertions inside it
 * run here under the C compiler's rules. */
#include "px_boundary.h"

/* Status texts as a C table, compared with the C++ view in the test. */
#define ROW(code, name, text) text,
const char* const bu_boundary_c_status_texts[PX_STATUS_COUNT] = {PX_STATUS_LIST(ROW)};
#undef ROW

size_t bu_boundary_c_operator_handle_size(void) { return sizeof(OperatorHandle); }
