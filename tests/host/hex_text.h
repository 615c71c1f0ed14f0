// Bytes as hexadecimal text, for tests that compare rows and buffers whole.
#pragma once

#include <string>
#include <string_view>

namespace hosttest {

// Lower-case hexadecimal digits of bytes, two per byte.
inline std::string hex(std::string_view bytes) {
    static const char digits[] = "0123456789abcdef";
    std::string s;
    for (unsigned char b : bytes) {
        s.push_back(digits[b >> 4]);
        s.push_back(digits[b & 15]);
    }
    return s;
}

}  // namespace hosttest
