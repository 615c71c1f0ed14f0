// The Unicode calls as the tests want them: the system's ICU underneath,
// and a switch that makes one of the calls fail.
#ifndef BU_TESTS_FAKE_PX_ICU_H
#define BU_TESTS_FAKE_PX_ICU_H

namespace bu::test {

enum class IcuFailure { None, Open, SetToU, SetFromU };
extern IcuFailure icuFailure;
// Converters opened and not yet closed.
extern int openConverters;

}  // namespace bu::test

#endif  // BU_TESTS_FAKE_PX_ICU_H
