// NU_ behaviour beyond golden/values.txt: the NUMBER column in both
// directions, mantissa digits straight from a column, and the crossing to
// and from large decimals.
#include <gtest/gtest.h>

#include <cstring>
#include <random>

#include "decimal_test_support.h"

namespace {

using bu::test::int128_text;
using bu::test::Value;

// A NUMBER column: Length, the 16-bit field, the little-endian mantissa.
struct Column {
    unsigned char bytes[NU_COLUMN_MAX_BYTES] = {};

    static Column of(__int128 mantissa, int mantissa_bytes, int16_t field) {
        Column c;
        c.bytes[0] = static_cast<unsigned char>(mantissa_bytes + 2);
        std::memcpy(c.bytes + 1, &field, 2);
        for (int i = 0; i < mantissa_bytes; ++i) {
            // Bytes beyond the 128 bits repeat the sign.
            c.bytes[3 + i] = i < 16 ? static_cast<unsigned char>(
                                          static_cast<unsigned __int128>(mantissa) >> (8 * i))
                                    : (mantissa < 0 ? 0xFF : 0x00);
        }
        return c;
    }
};

// The floating mark is read as 16 bits: 65280 is -256, which marks it.
TEST(NumberLife, AHeapValueWithTheFloatingMarkIsFloating) {
    BN_BigNumber* made = nullptr;
    ASSERT_EQ(NU_Create(65280, -128, &made), 0);
    EXPECT_EQ(made->Kind, unsigned{BN_KIND_FLOATING_NUMBER});
    EXPECT_EQ(NU_Destroy(made), 0);
}

TEST(NumberColumn, ExportWritesTheLayoutAndReadsBack) {
    Value v;
    ASSERT_EQ(NU_SetValueFromString(v.get(), "12.5"), 0);
    unsigned char column[NU_COLUMN_MAX_BYTES];
    int size = 0;
    ASSERT_EQ(NU_ExportValueToDBSColumn(v.get(), column, &size), 0);
    EXPECT_EQ(size, 4);
    const unsigned char want[] = {3, 1, 0, 125};  // Length, field 1, mantissa 125
    EXPECT_EQ(std::memcmp(column, want, sizeof want), 0);
    ASSERT_EQ(NU_SetValueFromString(v.get(), "-300"), 0);  // -3, exponent 2
    ASSERT_EQ(NU_ExportValueToDBSColumn(v.get(), column, &size), 0);
    const unsigned char want_neg[] = {3, 0xFE, 0xFF, 0xFD};
    EXPECT_EQ(std::memcmp(column, want_neg, sizeof want_neg), 0);
    ASSERT_EQ(NU_SetValueFromString(v.get(), "0"), 0);
    ASSERT_EQ(NU_ExportValueToDBSColumn(v.get(), column, &size), 0);
    EXPECT_EQ(size, 1);
    EXPECT_EQ(column[0], 0);

    std::mt19937_64 rng(12);
    Value in, out;
    for (int i = 0; i < 300; ++i) {
        __int128 m = static_cast<__int128>(rng()) << 64 | rng();
        m >>= rng() % 127;
        if (i % 2) m = -m;
        const int16_t field = static_cast<int16_t>(static_cast<int>(rng() % 81) - 40);
        Column c = Column::of(m, 17, field);
        ASSERT_EQ(NU_SetValueFromDBSColumn(in.get(), c.bytes, -128, -128), 0);
        ASSERT_EQ(in.text(), int128_text(m));
        ASSERT_EQ(in->CurScale, field);
        ASSERT_EQ(NU_ExportValueToDBSColumn(in.get(), column, &size), 0);
        ASSERT_EQ(size, column[0] + 1);
        ASSERT_EQ(NU_SetValueFromDBSColumn(out.get(), column, -128, -128), 0);
        ASSERT_EQ(NU_Compare(in.get(), out.get()), 0);
        ASSERT_EQ(out->CurScale, field);
    }
}

TEST(NumberColumn, AFixedTypeFoldsWholePowersIntoTheInteger) {
    Value v;
    Column c = Column::of(5, 1, -2);  // 5 times 10^2
    ASSERT_EQ(NU_SetValueFromDBSColumn(v.get(), c.bytes, 10, 0), 0);
    EXPECT_EQ(v->Kind, unsigned{BN_KIND_FIXED_NUMBER});
    EXPECT_EQ(v.text(), "500");
    EXPECT_EQ(v->CurScale, 0);
    EXPECT_EQ(v->Exponent, 0);
    Value f;
    ASSERT_EQ(NU_SetValueFromDBSColumn(f.get(), c.bytes, -128, -128), 0);
    EXPECT_EQ(f.text(), "5");
    EXPECT_EQ(f->Exponent, 2);
    // Length 0 is the value 0; beyond 19 is refused.
    unsigned char zero[NU_COLUMN_MAX_BYTES] = {0, 9, 9};
    ASSERT_EQ(NU_SetValueFromDBSColumn(f.get(), zero, -128, -128), 0);
    EXPECT_EQ(f.text(), "0");
    unsigned char bad[NU_COLUMN_MAX_BYTES] = {20};
    EXPECT_EQ(NU_SetValueFromDBSColumn(f.get(), bad, -128, -128), 3);
}

TEST(NumberMantissa, DigitsAndExponentComeStraightFromTheColumn) {
    Value ctx(-128, -128, true);
    char text[100];
    int exponent = 99;
    unsigned char zero[NU_COLUMN_MAX_BYTES] = {};
    ASSERT_EQ(NU_ExportMantissaToString(ctx.get(), zero, text, 100, &exponent), 0);
    EXPECT_STREQ(text, "0");
    EXPECT_EQ(exponent, 0);

    Column c = Column::of(5, 1, 1);  // 0.5
    ASSERT_EQ(NU_ExportMantissaToString(ctx.get(), c.bytes, text, 100, &exponent), 0);
    EXPECT_STREQ(text, "5");
    EXPECT_EQ(exponent, -1);
    c = Column::of(-1234, 2, -20);
    ASSERT_EQ(NU_ExportMantissaToString(ctx.get(), c.bytes, text, 100, &exponent), 0);
    EXPECT_STREQ(text, "-1234");
    EXPECT_EQ(exponent, 20);
    // Lengths 1 and 2 carry no mantissa byte: the digit 0.
    unsigned char shortest[NU_COLUMN_MAX_BYTES] = {1, 0, 0, 0x7F};
    ASSERT_EQ(NU_ExportMantissaToString(ctx.get(), shortest, text, 100, &exponent), 0);
    EXPECT_STREQ(text, "0");
    shortest[0] = 2;
    ASSERT_EQ(NU_ExportMantissaToString(ctx.get(), shortest, text, 100, &exponent), 0);
    EXPECT_STREQ(text, "0");
    unsigned char bad[NU_COLUMN_MAX_BYTES] = {20};
    EXPECT_EQ(NU_ExportMantissaToString(ctx.get(), bad, text, 100, &exponent), 3);
    c = Column::of(-1234, 2, 0);
    EXPECT_EQ(NU_ExportMantissaToString(ctx.get(), c.bytes, text, 5, &exponent), -5);
    EXPECT_EQ(NU_ExportMantissaToString(ctx.get(), zero, text, 1, &exponent), -5);
}

TEST(NumberMantissa, SixteenByteDecimalsMatchPlainConversionWithoutReallocating) {
    // DECIMAL(38) text goes through a record of byte count 18 and field 0.
    Value ctx(-128, -128, true);
    const mp_digit* storage = ctx->Value.digits;
    std::mt19937_64 rng(13);
    char text[100];
    int exponent = 1;
    for (int i = 0; i < 1000; ++i) {
        __int128 x = static_cast<__int128>(rng()) << 64 | rng();
        x >>= rng() % 128;
        if (i % 2) x = -x;
        if (i == 0) x = static_cast<__int128>(static_cast<unsigned __int128>(1) << 127);
        if (i == 1) x = ~x;  // the largest value
        Column c = Column::of(x, 16, 0);
        ASSERT_EQ(NU_ExportMantissaToString(ctx.get(), c.bytes, text, 100, &exponent), 0);
        ASSERT_EQ(std::string(text), int128_text(x));
        ASSERT_EQ(exponent, 0);
    }
    // Seventeen mantissa bytes (Length 19) fill the 20-byte record.
    Column big = Column::of(-1, 17, 0);
    ASSERT_EQ(NU_ExportMantissaToString(ctx.get(), big.bytes, text, 100, &exponent), 0);
    EXPECT_STREQ(text, "-1");
    EXPECT_EQ(ctx->Value.digits, storage);
}

TEST(NumberCrossing, LargeDecimalsGoInAndComeBackAtTheirScale) {
    Value l, n, back;
    ASSERT_EQ(LD_SetValueFromString(l.get(), "-12.345"), 0);
    ASSERT_EQ(NU_CopyFromLargeDecimal(n.get(), l.get()), 0);
    EXPECT_EQ(n->Exponent, -3);
    EXPECT_EQ(n->Precision, 5);
    Value was_floating(-128, -128, true);  // takes the fixed kind with the precision
    ASSERT_EQ(NU_CopyFromLargeDecimal(was_floating.get(), l.get()), 0);
    EXPECT_EQ(was_floating->Kind, unsigned{BN_KIND_FIXED_NUMBER});
    EXPECT_EQ(NU_RangeCheck(was_floating.get(), 5, 3), 0);
    ASSERT_EQ(NU_ExportValueToLargeDecimal(n.get(), back.get(), 10, 2), 0);
    EXPECT_EQ(back.text(), "-1235");
    EXPECT_EQ(back->CurScale, 2);
    EXPECT_EQ(NU_ExportValueToLargeDecimal(n.get(), back.get(), 3, 2), 16);
    Value from_number;
    ASSERT_EQ(NU_SetValueFromString(n.get(), "25e2"), 0);
    ASSERT_EQ(LD_SetValueFromNumber(from_number.get(), n.get()), 0);
    EXPECT_EQ(from_number.text(), "2500");
    EXPECT_EQ(from_number->CurScale, 0);
    Value floating(-128, -128, true);
    ASSERT_EQ(NU_SetValueFromLargeDecimal(floating.get(), l.get()), 0);
    EXPECT_EQ(floating->Precision, -128);  // declared shape kept
    EXPECT_EQ(floating->Exponent, -3);
}

}  // namespace
