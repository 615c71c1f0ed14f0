// Shared pieces of the test operator.
#pragma once

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <string>

#include "px_boundary.h"
#include "test_files.h"

namespace testop {

// Calls PX_LogWrite through the log handle with a list of (tag, value) pairs.
int32_t logWrite(LogHandle* lh, int32_t number, int32_t cls, int32_t severity, ...);

// Bytes in memory as hexadecimal digits.
inline std::string hex(const void* p, size_t n) {
    return testsupport::hex(std::string_view(static_cast<const char*>(p), n));
}

// Reads an attribute as text ("" when absent).
std::string textAttribute(OperatorHandle* oh, const char* name);
// Reads a 4-byte attribute (fallback when absent or of another width).
int32_t intAttribute(OperatorHandle* oh, const char* name, int32_t fallback);

// Writes the probe report of every service's argument checks to `out`.
void probeServices(OperatorHandle* oh, std::FILE* out);

}  // namespace testop
