/*
 * shared_variables.h - the host's variables that all instances of a job
 * share, reached through the operator handle. Each call is guarded by the
 * handle's kind: a wrong one gives 1 ("Bad Handle") without a call.
 */
#ifndef BU_DC_SHARED_VARIABLES_H
#define BU_DC_SHARED_VARIABLES_H

#include <cstdint>

namespace bu::dc {

int32_t createSharedVariable(const char* name, int32_t elementSize, int32_t elements) noexcept;
// Copies element `index` (from 1) into `value`, at most `size` bytes; what
// the host holds beyond them is not copied, a shorter value leaves the rest.
int32_t readSharedVariable(const char* name, int32_t index, void* value, int32_t size) noexcept;
int32_t writeSharedVariable(const char* name, int32_t index, const void* value,
                            int32_t size) noexcept;
int32_t deleteSharedVariable(const char* name) noexcept;

}  // namespace bu::dc

#endif  // BU_DC_SHARED_VARIABLES_H
