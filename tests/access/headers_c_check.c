/* The access layer's public headers compile as plain C, for Access Module
 * authors who write C; their layout assertions run here under C's rules. */
#include "pmddamt.h"

size_t bu_access_c_cmd_block_size(void) {
    return sizeof(CmdBlock_t);
}
