// NU_ behaviour beyond golden/values.txt: a heap value's floating mark,
// random values through the NUMBER column and the mantissa of 16-byte
// decimals, and the crossing to and from large decimals.
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

// The layouts themselves are in golden/values.txt; here, random values
// read from a column, written back and read again.
TEST(NumberColumn, ValuesRoundTripThroughTheColumn) {
    unsigned char column[NU_COLUMN_MAX_BYTES];
    int size = 0;
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
