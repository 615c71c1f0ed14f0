#ifndef BU_TESTS_FAKE_ICU_VERSION_H
#define BU_TESTS_FAKE_ICU_VERSION_H

namespace bu::test {
// What px_hxicuversion answers in tests.
extern const char* fakeIcuVersion;
}  // namespace bu::test

#endif  // BU_TESTS_FAKE_ICU_VERSION_H
