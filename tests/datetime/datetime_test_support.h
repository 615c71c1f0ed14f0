// datetime_test_support.h - shared helpers of the date and time tests.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "datetime_errors.h"
#include "picture_encoder.h"

namespace bu::datetime::testing {

// The last error code survives between calls by design, so every test
// starts from a clean state.
class DateTimeTest : public ::testing::Test {
  protected:
    void SetUp() override { ClearLastError(); }
};

struct Encoded {
    int rc;
    std::string format;
};

inline Encoded Encode(std::string picture) {
    std::string out(picture.size() + 3, '\0');
    const int rc = _parse(picture.data(), out.data());
    return {rc, out.c_str()};
}

}  // namespace bu::datetime::testing
