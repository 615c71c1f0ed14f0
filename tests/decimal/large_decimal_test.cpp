// LD_ behaviour beyond golden/values.txt: the record's life, a record with
// no storage, random values through the 16-byte column, and the display.
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

// The shapes and values themselves are in golden/values.txt; here, the
// life of the record and the calls that take no value.
TEST(LargeDecimalLife, CreatedValuesStayOnTheHeapAndNullsAreRefused) {
    Value v(10, 2);
    EXPECT_GE(v->Value.alloc, 16u);
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
    EXPECT_EQ(LD_SetValueFromString(v.get(), nullptr), 3);
    EXPECT_EQ(LD_SetValueFromString(nullptr, "1"), 3);
    EXPECT_EQ(LD_Compare(v.get(), nullptr), 0);
    EXPECT_EQ(LD_CompareToZero(nullptr), 0);
    EXPECT_EQ(LD_CompareToOne(nullptr), 0);
    // The result may be an operand.
    ASSERT_EQ(LD_SetValueFromString(v.get(), "12.34"), 0);
    ASSERT_EQ(LD_Add(v.get(), v.get(), v.get()), 0);
    EXPECT_EQ(v.text(), "2468");
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
