// LD_ behaviour: text, scaling and rounding, range checks, comparison,
// arithmetic, the 16-byte column and floats.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>

#include "decimal_test_support.h"

namespace {

using bu::test::int128_text;
using bu::test::Value;

constexpr __int128 kTen38 =
    static_cast<__int128>(10000000000000000000ull) * static_cast<__int128>(10000000000000000000ull);

TEST(LargeDecimalLife, InitialisingSetsTheDeclaredShape) {
    Value v(10, 2);
    EXPECT_EQ(v->State, unsigned{BN_STATE_INITIALIZED});
    EXPECT_EQ(v->Kind, unsigned{BN_KIND_LARGE_DECIMAL});
    EXPECT_EQ(v->Precision, 10);
    EXPECT_EQ(v->Scale, 2);
    EXPECT_EQ(v->CurScale, 2);
    EXPECT_EQ(v->Digits, 3);
    EXPECT_EQ(v->Exponent, -2);
    EXPECT_GE(v->Value.alloc, 16u);
    // From scale 38 on, Digits is the scale itself.
    ASSERT_EQ(LD_Initialize(v.get(), 38, 38), 0);
    EXPECT_EQ(v->Digits, 38);
    EXPECT_EQ(v->Exponent, -38);
    ASSERT_EQ(LD_Initialize(v.get(), 5, 0), 0);
    EXPECT_EQ(v->Exponent, 0);
    EXPECT_EQ(v->Digits, 1);

    BN_BigNumber* made = nullptr;
    ASSERT_EQ(LD_Create(20, 4, &made), 0);
    EXPECT_EQ(made->State, unsigned{BN_STATE_CREATED});
    ASSERT_EQ(LD_Initialize(made, 7, 1), 0);  // stays a heap value
    EXPECT_EQ(made->State, unsigned{BN_STATE_CREATED});
    int precision = 0, digits = 0, scale = 0, cur = 0;
    unsigned kind = 0;
    ASSERT_EQ(LD_GetAttributes(made, &precision, &digits, &scale, &cur, &kind), 0);
    EXPECT_EQ(precision, 7);
    EXPECT_EQ(scale, 1);
    EXPECT_EQ(kind, unsigned{BN_KIND_LARGE_DECIMAL});
    EXPECT_EQ(LD_Destroy(made), 0);
    EXPECT_EQ(LD_Create(1, 0, nullptr), 3);
    EXPECT_EQ(LD_Initialize(nullptr, 1, 0), 3);
    EXPECT_EQ(LD_Destroy(nullptr), 3);
}

TEST(LargeDecimalLife, AValueWithoutStorageIsANullRecordToReaders) {
    // All zero bytes: a record never initialised. Reading it must not touch
    // its integer, which has no digits behind it.
    BN_BigNumber raw{};
    Value ok, r;
    ASSERT_EQ(LD_SetValueFromString(ok.get(), "1.5"), 0);
    char text[64];
    double d = 0;
    int64_t i64 = 0;
    int size = 0;
    unsigned char column[NU_COLUMN_MAX_BYTES] = {};
    struct Case {
        const char* call;
        int result;
    };
    for (const Case& c : {
             Case{"LD_ExportValueToString", LD_ExportValueToString(&raw, text, sizeof text)},
             Case{"LD_ExportValueToFloat", LD_ExportValueToFloat(&raw, &d)},
             Case{"LD_ExportValueToInteger64", LD_ExportValueToInteger64(&raw, &i64, 0)},
             Case{"LD_ExportValueToDBSColumn", LD_ExportValueToDBSColumn(&raw, column, 16)},
             Case{"NU_ExportValueToDBSColumn", NU_ExportValueToDBSColumn(&raw, column, &size)},
             Case{"LD_Copy", LD_Copy(r.get(), &raw)},
             Case{"LD_Negate", LD_Negate(&raw, r.get())},
             Case{"LD_ScaleUp", LD_ScaleUp(&raw, 2)},
             Case{"LD_ScaleDown", LD_ScaleDown(&raw, 2)},
             Case{"LD_RangeCheck", LD_RangeCheck(&raw, 5, 2)},
             Case{"NU_RangeCheck", NU_RangeCheck(&raw, -128, -128)},
             Case{"LD_Add", LD_Add(&raw, ok.get(), r.get())},
             Case{"LD_Subtract", LD_Subtract(ok.get(), &raw, r.get())},
             Case{"LD_Multiply", LD_Multiply(ok.get(), &raw, r.get())},
             Case{"LD_Divide", LD_Divide(ok.get(), &raw, r.get(), 2)},
             Case{"LD_Combine", LD_Combine(&raw, ok.get(), r.get(), 1, 2)},
             Case{"NU_Multiply", NU_Multiply(&raw, ok.get(), r.get(), 0)},
             Case{"LD_SetValueFromNumber", LD_SetValueFromNumber(r.get(), &raw)},
             Case{"NU_CopyFromLargeDecimal", NU_CopyFromLargeDecimal(r.get(), &raw)},
             Case{"NU_SetValueFromLargeDecimal", NU_SetValueFromLargeDecimal(r.get(), &raw)},
             Case{"NU_ExportValueToLargeDecimal",
                  NU_ExportValueToLargeDecimal(&raw, r.get(), 10, 2)},
         }) {
        EXPECT_EQ(c.result, 3) << c.call;
    }
    EXPECT_EQ(LD_Compare(&raw, ok.get()), 0);
    EXPECT_EQ(LD_CompareToZero(&raw), 0);
    EXPECT_EQ(LD_CompareToOne(&raw), 0);
    EXPECT_EQ(raw.State, unsigned{BN_STATE_RAW});
    EXPECT_EQ(raw.Value.digits, nullptr);
    EXPECT_EQ(r->State, unsigned{BN_STATE_RAW});  // no result was begun
}

TEST(LargeDecimalText, BlanksSignZerosAndPointAreRead) {
    Value v;
    ASSERT_EQ(LD_SetValueFromString(v.get(), "  -00012.3400"), 0);
    EXPECT_EQ(v.text(), "-123400");
    EXPECT_EQ(v->Digits, 6);
    EXPECT_EQ(v->Precision, 6);
    EXPECT_EQ(v->Scale, 4);
    EXPECT_EQ(v->CurScale, 4);
    EXPECT_EQ(v->Exponent, -4);

    ASSERT_EQ(LD_SetValueFromString(v.get(), "+12."), 0);
    EXPECT_EQ(v.text(), "12");
    EXPECT_EQ(v->CurScale, 0);
    ASSERT_EQ(LD_SetValueFromString(v.get(), "-.05"), 0);
    EXPECT_EQ(v.text(), "-5");
    EXPECT_EQ(v->CurScale, 2);
    ASSERT_EQ(LD_SetValueFromString(v.get(), "-000"), 0);
    EXPECT_EQ(v.text(), "0");
    EXPECT_EQ(v->CurScale, 0);
    EXPECT_EQ(v->Digits, 1);
    ASSERT_EQ(LD_SetValueFromValidString(v.get(), "-7.25"), 0);
    EXPECT_EQ(v.text(), "-725");
    EXPECT_EQ(v->CurScale, 2);
}

TEST(LargeDecimalText, ALonePointLeavesTheIntegerAsItWas) {
    Value v;
    ASSERT_EQ(LD_SetValueFromString(v.get(), "987.6"), 0);
    ASSERT_EQ(LD_SetValueFromString(v.get(), "."), 0);
    EXPECT_EQ(v.text(), "9876");
    EXPECT_EQ(v->Precision, 1);
    EXPECT_EQ(v->CurScale, 0);
}

TEST(LargeDecimalText, ThirtyEightDigitsFitAndAThirtyNinthIsRefused) {
    Value v;
    const std::string d38(38, '9');
    ASSERT_EQ(LD_SetValueFromString(v.get(), d38.c_str()), 0);
    EXPECT_EQ(v.text(), d38);
    EXPECT_EQ(LD_SetValueFromString(v.get(), (d38 + "9").c_str()), 11);
    EXPECT_EQ(LD_SetValueFromString(v.get(), ("1234567890." + std::string(29, '1')).c_str()), 11);
    // Leading zeros don't count.
    EXPECT_EQ(LD_SetValueFromString(v.get(), ("000" + d38).c_str()), 0);
}

TEST(LargeDecimalText, AnythingButDigitsIsRefused) {
    Value v;
    for (const char* bad : {"12a", "1.2.3", "1 2", "12 ", "--1", "1e5", "0x10"}) {
        EXPECT_EQ(LD_SetValueFromString(v.get(), bad), 10) << bad;
    }
    EXPECT_EQ(LD_SetValueFromString(v.get(), nullptr), 3);
    EXPECT_EQ(LD_SetValueFromString(nullptr, "1"), 3);
}

TEST(LargeDecimalText, DigitStringsTakeTheirScaleAndRespectTheDeclaredShape) {
    Value v;
    ASSERT_EQ(LD_SetValueFromDigitString(v.get(), "-000123", 5, 2), 0);
    EXPECT_EQ(v.text(), "-123");
    EXPECT_EQ(v->CurScale, 2);
    EXPECT_EQ(v->Precision, 5);
    EXPECT_EQ(v->Digits, 3);
    ASSERT_EQ(LD_SetValueFromDigitString(v.get(), "7", 5, 2), 0);
    EXPECT_EQ(v->Digits, 2);  // the larger of digit count and scale
    EXPECT_EQ(LD_SetValueFromDigitString(v.get(), "123456", 5, 2), 11);
    EXPECT_EQ(LD_SetValueFromDigitString(v.get(), "1", 5, 3), 6);
    EXPECT_EQ(LD_SetValueFromDigitString(v.get(), "12x", 5, 2), 10);
}

TEST(LargeDecimalScaling, ScalingDownRoundsHalfAwayFromZero) {
    struct Case {
        const char* in;
        const char* out;
    };
    for (const Case& c :
         {Case{"1.5", "2"}, Case{"-1.5", "-2"}, Case{"1.4", "1"}, Case{"-1.4", "-1"},
          Case{"0.5", "1"}, Case{"-0.5", "-1"}, Case{"0.4", "0"}}) {
        Value v;
        ASSERT_EQ(LD_SetValueFromString(v.get(), c.in), 0);
        ASSERT_EQ(LD_ScaleDown(v.get(), 1), 0) << c.in;
        EXPECT_EQ(v.text(), c.out) << c.in;
        EXPECT_EQ(v->CurScale, 0);
        EXPECT_EQ(v->Exponent, 0);
    }
    Value v;
    ASSERT_EQ(LD_SetValueFromString(v.get(), "-12345.6789"), 0);
    ASSERT_EQ(LD_ScaleDown(v.get(), 3), 0);
    EXPECT_EQ(v.text(), "-123457");
    EXPECT_EQ(v->CurScale, 1);
    EXPECT_EQ(v->Digits, 6);
    // Digits falls with the scale but never below one digit.
    ASSERT_EQ(LD_SetValueFromString(v.get(), "0.5"), 0);
    ASSERT_EQ(LD_ScaleDown(v.get(), 1), 0);
    EXPECT_EQ(v->Digits, 1);
}

TEST(LargeDecimalScaling, ScalingUpMovesDigitsScaleAndExponent) {
    Value v;
    ASSERT_EQ(LD_SetValueFromString(v.get(), "-4.2"), 0);
    ASSERT_EQ(LD_ScaleUp(v.get(), 3), 0);
    EXPECT_EQ(v.text(), "-42000");
    EXPECT_EQ(v->CurScale, 4);
    EXPECT_EQ(v->Digits, 5);
    EXPECT_EQ(v->Exponent, -4);
    ASSERT_EQ(LD_ScaleUp(v.get(), 40), 0);
    EXPECT_EQ(LD_ScaleUp(v.get(), 41), 8);
    EXPECT_EQ(LD_ScaleDown(v.get(), 41), 8);
    EXPECT_EQ(LD_ScaleUp(v.get(), -1), 8);
}

TEST(LargeDecimalRange, PrecisionIsCheckedAfterRescaling) {
    Value v;
    ASSERT_EQ(LD_SetValueFromString(v.get(), "9.99"), 0);
    EXPECT_EQ(LD_RangeCheck(v.get(), 3, 2), 0);
    ASSERT_EQ(LD_SetValueFromString(v.get(), "10.00"), 0);
    EXPECT_EQ(LD_RangeCheck(v.get(), 3, 2), 16);
    EXPECT_EQ(LD_RangeCheck(v.get(), 4, 2), 0);
    ASSERT_EQ(LD_SetValueFromString(v.get(), "-10.00"), 0);
    EXPECT_EQ(LD_RangeCheck(v.get(), 3, 2), 16);
    // 9.995 rounds to 10.00 at scale 2, 9.994 to 9.99.
    ASSERT_EQ(LD_SetValueFromString(v.get(), "9.995"), 0);
    EXPECT_EQ(LD_RangeCheck(v.get(), 3, 2), 16);
    ASSERT_EQ(LD_SetValueFromString(v.get(), "9.994"), 0);
    EXPECT_EQ(LD_RangeCheck(v.get(), 3, 2), 0);
    EXPECT_EQ(v.text(), "9994");  // the value itself is not touched
    EXPECT_EQ(LD_RangeCheck(v.get(), 38, 60), 8);
}

TEST(LargeDecimalCompare, ScalesAreAlignedBeforeComparing) {
    Value a, b;
    ASSERT_EQ(LD_SetValueFromString(a.get(), "1.5"), 0);
    ASSERT_EQ(LD_SetValueFromString(b.get(), "1.50"), 0);
    EXPECT_EQ(LD_Compare(a.get(), b.get()), 0);
    ASSERT_EQ(LD_SetValueFromString(b.get(), "1.49"), 0);
    EXPECT_GT(LD_Compare(a.get(), b.get()), 0);
    EXPECT_LT(LD_Compare(b.get(), a.get()), 0);
    ASSERT_EQ(LD_SetValueFromString(b.get(), "-2"), 0);
    EXPECT_GT(LD_Compare(a.get(), b.get()), 0);
    EXPECT_LT(LD_CompareToZero(b.get()), 0);
    EXPECT_EQ(a.text(), "15");  // the operands stay as they were
}

TEST(LargeDecimalCompare, CompareToOneUsesTheCurrentScaleAndIsZeroWithoutOne) {
    Value v;
    ASSERT_EQ(LD_SetValueFromString(v.get(), "1.00"), 0);
    EXPECT_EQ(LD_CompareToOne(v.get()), 0);
    ASSERT_EQ(LD_SetValueFromString(v.get(), "0.99"), 0);
    EXPECT_LT(LD_CompareToOne(v.get()), 0);
    ASSERT_EQ(LD_SetValueFromString(v.get(), "1.01"), 0);
    EXPECT_GT(LD_CompareToOne(v.get()), 0);
    // At scale 0 the value is compared with itself: 0 even for 5.
    ASSERT_EQ(LD_SetValueFromString(v.get(), "5"), 0);
    EXPECT_EQ(LD_CompareToOne(v.get()), 0);
    // Null operands have no order and no crash.
    EXPECT_EQ(LD_Compare(v.get(), nullptr), 0);
    EXPECT_EQ(LD_CompareToZero(nullptr), 0);
    EXPECT_EQ(LD_CompareToOne(nullptr), 0);
}

TEST(LargeDecimalArithmetic, CombineAlignsScalesThenAddsOrSubtracts) {
    Value a, b, r;
    ASSERT_EQ(LD_SetValueFromString(a.get(), "1.5"), 0);
    ASSERT_EQ(LD_SetValueFromString(b.get(), "2.255"), 0);
    ASSERT_EQ(LD_Combine(a.get(), b.get(), r.get(), 0, 2), 0);
    EXPECT_EQ(r.text(), "376");  // 1.50 + 2.26
    EXPECT_EQ(r->CurScale, 2);
    EXPECT_EQ(r->Digits, 3);
    ASSERT_EQ(LD_Combine(a.get(), b.get(), r.get(), 1, 3), 0);
    EXPECT_EQ(r.text(), "-755");
    EXPECT_EQ(b.text(), "2255");
    EXPECT_EQ(LD_Combine(a.get(), b.get(), r.get(), 0, 45), 8);
}

TEST(LargeDecimalArithmetic, PlainOperationsKeepTheirScales) {
    Value a, b, r;
    ASSERT_EQ(LD_SetValueFromString(a.get(), "12.34"), 0);
    ASSERT_EQ(LD_SetValueFromString(b.get(), "-0.66"), 0);
    ASSERT_EQ(LD_Add(a.get(), b.get(), r.get()), 0);
    EXPECT_EQ(r.text(), "1168");
    EXPECT_EQ(r->CurScale, 2);
    ASSERT_EQ(LD_Subtract(a.get(), b.get(), r.get()), 0);
    EXPECT_EQ(r.text(), "1300");
    ASSERT_EQ(LD_Multiply(a.get(), b.get(), r.get()), 0);
    EXPECT_EQ(r.text(), "-81444");
    EXPECT_EQ(r->CurScale, 4);
    ASSERT_EQ(LD_Negate(b.get(), r.get()), 0);
    EXPECT_EQ(r.text(), "66");
    EXPECT_EQ(r->CurScale, 2);
    // Into the first operand itself.
    ASSERT_EQ(LD_Add(a.get(), a.get(), a.get()), 0);
    EXPECT_EQ(a.text(), "2468");
}

TEST(LargeDecimalArithmetic, DivisionTruncatesAtTheWantedScale) {
    Value a, b, r;
    ASSERT_EQ(LD_SetValueFromString(a.get(), "1"), 0);
    ASSERT_EQ(LD_SetValueFromString(b.get(), "3"), 0);
    ASSERT_EQ(LD_Divide(a.get(), b.get(), r.get(), 4), 0);
    EXPECT_EQ(r.text(), "3333");
    EXPECT_EQ(r->CurScale, 4);
    ASSERT_EQ(LD_SetValueFromString(a.get(), "-2.00"), 0);
    ASSERT_EQ(LD_SetValueFromString(b.get(), "0.3"), 0);
    ASSERT_EQ(LD_Divide(a.get(), b.get(), r.get(), 2), 0);
    EXPECT_EQ(r.text(), "-666");  // -6.66, cut not rounded
    // A negative scale keeps the natural one: 200 / 3 at scale 2 - 1.
    ASSERT_EQ(LD_Divide(a.get(), b.get(), r.get(), -1), 0);
    EXPECT_EQ(r.text(), "-66");
    EXPECT_EQ(r->CurScale, 1);
    ASSERT_EQ(LD_SetValueFromString(b.get(), "0"), 0);
    EXPECT_EQ(LD_Divide(a.get(), b.get(), r.get(), 2), -4);
}

// Little-endian two's complement bytes of a 128-bit value.
void column_of(__int128 v, unsigned char* out) {
    for (int i = 0; i < 16; ++i)
        out[i] = static_cast<unsigned char>(static_cast<unsigned __int128>(v) >> (8 * i));
}

TEST(LargeDecimalColumn, RoundTripsThroughTheSixteenByteColumn) {
    std::mt19937_64 rng(11);
    Value v;
    for (int i = 0; i < 500; ++i) {
        __int128 x = (static_cast<__int128>(rng()) << 64 | rng()) % kTen38;
        if (i % 3 == 0) x = -x;
        if (i == 0) x = kTen38 - 1;
        if (i == 1) x = -(kTen38 - 1);
        if (i == 2) x = 0;
        if (i == 3) x = -1;
        unsigned char column[16], back[16];
        column_of(x, column);
        ASSERT_EQ(LD_SetValueFromDBSColumn(v.get(), column, 38, 4), 0);
        ASSERT_EQ(v.text(), int128_text(x));
        EXPECT_EQ(v->CurScale, 4);
        std::memset(back, 0xAA, sizeof back);
        ASSERT_EQ(LD_ExportValueToDBSColumn(v.get(), back, 16), 0);
        ASSERT_EQ(std::memcmp(back, column, 16), 0) << int128_text(x);
    }
}

TEST(LargeDecimalColumn, NarrowerWidthsAreSignFilledOrRefused) {
    Value v;
    ASSERT_EQ(LD_SetValueFromString(v.get(), "-2"), 0);
    unsigned char four[4];
    ASSERT_EQ(LD_ExportValueToDBSColumn(v.get(), four, 4), 0);
    EXPECT_EQ(four[0], 0xFE);
    EXPECT_EQ(four[3], 0xFF);
    ASSERT_EQ(LD_SetValueFromString(v.get(), "70000"), 0);
    unsigned char two[2];
    EXPECT_EQ(LD_ExportValueToDBSColumn(v.get(), two, 2), 13);
    EXPECT_EQ(LD_ExportValueToDBSColumn(v.get(), two, 0), 3);
}

TEST(LargeDecimalColumn, NegationInPlaceRefusesTheLowestValue) {
    unsigned char column[16];
    column_of(-12345, column);
    ASSERT_EQ(LD_NegateDBSColumnValue(column), 0);
    unsigned char want[16];
    column_of(12345, want);
    EXPECT_EQ(std::memcmp(column, want, 16), 0);
    column_of(static_cast<__int128>(static_cast<unsigned __int128>(1) << 127), column);
    std::memcpy(want, column, 16);
    EXPECT_EQ(LD_NegateDBSColumnValue(column), 13);
    EXPECT_EQ(std::memcmp(column, want, 16), 0);
}

TEST(LargeDecimalColumn, RescalingInPlaceGuardsThirtyEightDigits) {
    unsigned char column[16], want[16];
    column_of(-15, column);
    ASSERT_EQ(LD_RescaleDBSColumn(column, -1), 0);
    column_of(-2, want);
    EXPECT_EQ(std::memcmp(column, want, 16), 0);
    column_of(123, column);
    ASSERT_EQ(LD_RescaleDBSColumn(column, 0), 0);
    ASSERT_EQ(LD_RescaleDBSColumn(column, 35), 0);  // 1.23e37 stays below 10^38
    column_of(123 * (kTen38 / 1000), want);
    EXPECT_EQ(std::memcmp(column, want, 16), 0);
    column_of(1000, column);
    EXPECT_EQ(LD_RescaleDBSColumn(column, 35), 13);
    column_of(-(kTen38 / 10), column);
    EXPECT_EQ(LD_RescaleDBSColumn(column, 1), 13);
    EXPECT_EQ(LD_RescaleDBSColumn(column, 41), 8);
}

TEST(LargeDecimalFloat, FifteenDigitsAreKeptAndRoundedHalfAway) {
    Value v;
    ASSERT_EQ(LD_SetValueFromFloat(v.get(), 3, 0, 123.456), 0);
    EXPECT_EQ(v.text(), "123456");
    EXPECT_EQ(v->CurScale, 3);
    ASSERT_EQ(LD_SetValueFromFloat(v.get(), 0, 0, 2.5), 0);
    EXPECT_EQ(v.text(), "3");
    ASSERT_EQ(LD_SetValueFromFloat(v.get(), 0, 0, -2.5), 0);
    EXPECT_EQ(v.text(), "-3");
    ASSERT_EQ(LD_SetValueFromFloat(v.get(), 2, 0, 1.0 / 3.0), 0);
    EXPECT_EQ(v.text(), "33");
    ASSERT_EQ(LD_SetValueFromFloat(v.get(), 20, 0, 1.0 / 3.0), 0);
    EXPECT_EQ(v.text(), "33333333333333300000");  // 15 significant digits
    ASSERT_EQ(LD_SetValueFromFloat(v.get(), 0, 0, 1e20), 0);
    EXPECT_EQ(v.text(), "100000000000000000000");
    // Below one unit of the scale: zero at that scale.
    ASSERT_EQ(LD_SetValueFromFloat(v.get(), 2, 0, 0.004), 0);
    EXPECT_EQ(v.text(), "0");
    EXPECT_EQ(v->Digits, 3);
    EXPECT_EQ(v->CurScale, 2);
}

TEST(LargeDecimalFloat, TheLimitsAreRefusedSafely) {
    Value v(38, 0);
    EXPECT_EQ(LD_SetValueFromFloat(v.get(), 0, 0, 1e126), 9);
    EXPECT_EQ(LD_SetValueFromFloat(v.get(), 0, 0, -1e200), 9);
    EXPECT_EQ(LD_SetValueFromFloat(v.get(), 0, 0, NAN), 9);
    EXPECT_EQ(LD_SetValueFromFloat(v.get(), 0, 0, INFINITY), 9);
    // 9.99e125 is held, but only by scaling past the 40-digit step.
    EXPECT_EQ(LD_SetValueFromFloat(v.get(), 0, 0, 9.99e125), 8);
    ASSERT_EQ(LD_SetValueFromFloat(v.get(), 0, 0, 9.99e40), 0);
    EXPECT_EQ(v->Digits, 41);
    // With Output the value is checked against the declared precision.
    EXPECT_EQ(LD_SetValueFromFloat(v.get(), 0, 1, 9.99e40), 16);
    ASSERT_EQ(LD_SetValueFromFloat(v.get(), 130, 0, 1e-130), 0);
    EXPECT_EQ(v.text(), "1");
}

TEST(LargeDecimalFloat, ExportGivesTheNearestDouble) {
    Value v;
    double d = 0;
    ASSERT_EQ(LD_SetValueFromString(v.get(), "-1234.5678"), 0);
    ASSERT_EQ(LD_ExportValueToFloat(v.get(), &d), 0);
    EXPECT_EQ(d, -1234.5678);
    ASSERT_EQ(LD_SetValueFromString(v.get(), "0.1"), 0);
    ASSERT_EQ(LD_ExportValueToFloat(v.get(), &d), 0);
    EXPECT_EQ(d, 0.1);
}

TEST(LargeDecimalInteger, SixtyFourBitValuesInAndOut) {
    Value v;
    ASSERT_EQ(LD_SetValueFromInteger64(v.get(), -123456, 3, 10, 0), 0);
    EXPECT_EQ(v.text(), "-123456");
    EXPECT_EQ(v->CurScale, 3);
    EXPECT_EQ(v->Digits, 6);
    EXPECT_EQ(LD_SetValueFromInteger64(v.get(), 123456, 3, 5, 1), 16);
    int64_t out = 0;
    ASSERT_EQ(LD_ExportValueToInteger64(v.get(), &out, 1), 0);
    EXPECT_EQ(out, 1235);  // 123.456 at scale 1, rounded
    ASSERT_EQ(LD_ExportValueToInteger64(v.get(), &out, 5), 0);
    EXPECT_EQ(out, 12345600);
    ASSERT_EQ(LD_SetValueFromString(v.get(), "99999999999999999999"), 0);
    EXPECT_EQ(LD_ExportValueToInteger64(v.get(), &out, 0), -3);
}

TEST(LargeDecimalText, ExportIsTheIntegerWithoutPointAndTruncationPassesThrough) {
    Value v;
    ASSERT_EQ(LD_SetValueFromString(v.get(), "-1.25"), 0);
    char text[5];
    ASSERT_EQ(LD_ExportValueToString(v.get(), text, 5), 0);
    EXPECT_STREQ(text, "-125");
    EXPECT_EQ(LD_ExportValueToString(v.get(), text, 4), -5);
}

TEST(LargeDecimalDisplay, PrintsOneLineWhereRoutedAndNothingAtLevelZero) {
    Value v;
    ASSERT_EQ(LD_SetValueFromString(v.get(), "-3.5"), 0);
    FILE* f = std::tmpfile();
    ASSERT_NE(f, nullptr);
    LD_RouteTraceOutput(f, 1);
    ASSERT_EQ(LD_Display(v.get()), 0);
    LD_RouteTraceOutput(f, 0);
    ASSERT_EQ(LD_Display(v.get()), 0);
    LD_RouteTraceOutput(nullptr, 1);
    std::rewind(f);
    char line[256] = {};
    ASSERT_NE(std::fgets(line, sizeof line, f), nullptr);
    EXPECT_NE(std::strstr(line, "Value -35 "), nullptr) << line;
    EXPECT_NE(std::strstr(line, "CurScale 1 "), nullptr) << line;
    EXPECT_EQ(std::fgets(line, sizeof line, f), nullptr);
    std::fclose(f);
}

}  // namespace
