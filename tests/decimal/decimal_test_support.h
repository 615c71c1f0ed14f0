// decimal_test_support.h - small helpers for the LD_/NU_ tests.
#ifndef BU_TESTS_DECIMAL_DECIMAL_TEST_SUPPORT_H
#define BU_TESTS_DECIMAL_DECIMAL_TEST_SUPPORT_H

#include <string>

#include "ld_nu.h"

namespace bu::test {

// A value on the stack that starts raw and is destroyed at scope end.
class Value {
  public:
    Value() : v_{} {}
    Value(int precision, int scale, bool number = false) : v_{} {
        if (number)
            NU_Initialize(&v_, precision, scale);
        else
            LD_Initialize(&v_, precision, scale);
    }
    ~Value() { LD_Destroy(&v_); }
    Value(const Value&) = delete;
    Value& operator=(const Value&) = delete;
    BN_BigNumber* get() { return &v_; }
    BN_BigNumber* operator->() { return &v_; }

    // The integer's decimal text.
    std::string text() {
        char buf[256];
        if (LD_ExportValueToString(&v_, buf, sizeof buf) != 0) return "<error>";
        return buf;
    }

  private:
    BN_BigNumber v_;
};

// Decimal text of a 128-bit value, the plain way.
inline std::string int128_text(__int128 v) {
    if (v == 0) return "0";
    const bool negative = v < 0;
    unsigned __int128 m = negative ? -static_cast<unsigned __int128>(v) : v;
    std::string out;
    while (m != 0) {
        out.insert(out.begin(), static_cast<char>('0' + static_cast<int>(m % 10)));
        m /= 10;
    }
    return negative ? "-" + out : out;
}

}  // namespace bu::test

#endif  // BU_TESTS_DECIMAL_DECIMAL_TEST_SUPPORT_H
