/*
 * ld_nu.h - exact decimal values: LD_ large decimals (up to 38 digits, the
 * 16-byte DECIMAL column) and NU_ numbers (the NUMBER column: a mantissa
 * with a decimal exponent, of fixed or floating scale).
 *
 * A value is an integer and a scale: the number is the integer divided by
 * 10 to the CurScale. In NU_ values Exponent is -CurScale, except in a
 * floating one only initialised (CurScale -128, Exponent 0) and in a zero
 * quotient (CurScale the wanted scale, Exponent 0).
 *
 * Results: 0 success; the positive codes below; -2 to -6 passed through from
 * the integer layer (mp_int.h), -7 for any other integer failure.
 */
#ifndef BU_DECIMAL_LD_NU_H
#define BU_DECIMAL_LD_NU_H

#include <stdint.h>
#include <stdio.h>

#include "mp_int.h"

typedef struct BN_BigNumber {
    mpz_t Value;       /* the integer */
    int16_t Precision; /* declared number of digits */
    int16_t Digits;    /* digits of the current value */
    int16_t Scale;     /* declared scale */
    int16_t CurScale;  /* scale of the current value */
    int16_t Exponent;  /* NUMBER exponent; minus the scale for a fixed value */
    uint32_t Kind;     /* BN_KIND_* */
    uint32_t State;    /* BN_STATE_* */
} BN_BigNumber;

BU_MP_STATIC_ASSERT(offsetof(BN_BigNumber, Value) == 0, "Value");
BU_MP_STATIC_ASSERT(offsetof(BN_BigNumber, Precision) == 32, "Precision");
BU_MP_STATIC_ASSERT(offsetof(BN_BigNumber, Digits) == 34, "Digits");
BU_MP_STATIC_ASSERT(offsetof(BN_BigNumber, Scale) == 36, "Scale");
BU_MP_STATIC_ASSERT(offsetof(BN_BigNumber, CurScale) == 38, "CurScale");
BU_MP_STATIC_ASSERT(offsetof(BN_BigNumber, Exponent) == 40, "Exponent");
BU_MP_STATIC_ASSERT(offsetof(BN_BigNumber, Kind) == 44, "Kind");
BU_MP_STATIC_ASSERT(offsetof(BN_BigNumber, State) == 48, "State");
BU_MP_STATIC_ASSERT(sizeof(BN_BigNumber) == 56, "BN_BigNumber size");

enum { BN_KIND_LARGE_DECIMAL = 1, BN_KIND_FIXED_NUMBER = 2, BN_KIND_FLOATING_NUMBER = 3 };

enum {
    BN_STATE_RAW = 0,        /* no storage: initialise before use */
    BN_STATE_CREATED = 1,    /* made by LD_Create/NU_Create, on the heap */
    BN_STATE_INITIALIZED = 2 /* made by LD_Initialize/NU_Initialize */
};

/* The Precision that marks the floating NUMBER type, with or without bit 7
 * (as signed 16-bit values -256 and -128). */
#define BN_FLOATING_PRECISION 65280

/* Result codes. */
enum {
    LD_OK = 0,
    LD_NULL_OR_BAD_LENGTH = 3,
    LD_NOT_FLOATING_PRECISION = 5,
    LD_SCALE_NOT_ALLOWED = 6,
    LD_NO_MEMORY = 7,
    LD_SCALE_TOO_FAR = 8,
    LD_FLOAT_TOO_LARGE = 9,
    LD_NOT_A_DIGIT = 10,
    LD_TOO_MANY_DIGITS = 11,
    LD_TOO_WIDE = 13,
    LD_OUT_OF_RANGE = 16,
    LD_INTEGER_FAILURE = -7
};

/* Column layouts. A DECIMAL column is 16 bytes, two's complement,
 * little-endian. A NUMBER column is a Length byte (mantissa bytes plus 2;
 * 0 for the value 0, with no further bytes), a signed 16-bit little-endian
 * exponent field at offset 1 holding the scale (the value is the mantissa
 * times 10 to minus that field), and Length - 2 mantissa bytes at offset 3,
 * two's complement, little-endian. */
#define LD_COLUMN_BYTES 16

/* The fixed front of a NUMBER column; the mantissa follows it. */
typedef struct __attribute__((packed)) NU_ColumnHeader {
    uint8_t Length;   /* mantissa bytes plus 2; 0: the value 0 */
    int16_t Exponent; /* the scale: value = mantissa * 10^-Exponent */
} NU_ColumnHeader;

BU_MP_STATIC_ASSERT(offsetof(NU_ColumnHeader, Length) == 0, "Length");
BU_MP_STATIC_ASSERT(offsetof(NU_ColumnHeader, Exponent) == 1, "Exponent");
BU_MP_STATIC_ASSERT(sizeof(NU_ColumnHeader) == 3, "NU_ColumnHeader size");

#define NU_COLUMN_LENGTH_OFFSET offsetof(NU_ColumnHeader, Length)
#define NU_COLUMN_EXPONENT_OFFSET offsetof(NU_ColumnHeader, Exponent)
#define NU_COLUMN_MANTISSA_OFFSET sizeof(NU_ColumnHeader)
#define NU_COLUMN_MAX_LENGTH 19
#define NU_COLUMN_MAX_BYTES (NU_COLUMN_MAX_LENGTH + 1)

/* Life. */
BU_API int LD_Create(int Precision, int Scale, BN_BigNumber** Out) BU_NOEXCEPT;
BU_API int LD_Initialize(BN_BigNumber* v, int Precision, int Scale) BU_NOEXCEPT;
BU_API int LD_Destroy(BN_BigNumber* v) BU_NOEXCEPT;
BU_API int LD_Copy(BN_BigNumber* To, const BN_BigNumber* From) BU_NOEXCEPT;
BU_API int LD_GetAttributes(const BN_BigNumber* v, int* Precision, int* Digits, int* Scale,
                            int* CurScale, unsigned int* Kind) BU_NOEXCEPT;

/* Setting values. */
BU_API int LD_SetValueFromString(BN_BigNumber* v, const char* text) BU_NOEXCEPT;
BU_API int LD_SetValueFromValidString(BN_BigNumber* v, const char* text) BU_NOEXCEPT;
BU_API int LD_SetValueFromDigitString(BN_BigNumber* v, const char* text, int Precision,
                                      int Scale) BU_NOEXCEPT;
/* value is taken at scale Scale; with Output non-zero the result is also
 * range checked against Precision and Scale (16 when it doesn't fit). */
BU_API int LD_SetValueFromInteger64(BN_BigNumber* v, int64_t value, int Scale, int Precision,
                                    int Output) BU_NOEXCEPT;
BU_API int LD_SetValueFromDBSColumn(BN_BigNumber* v, const unsigned char* column, int Precision,
                                    int Scale) BU_NOEXCEPT;
/* Output as for LD_SetValueFromInteger64, against the value's Precision. */
BU_API int LD_SetValueFromFloat(BN_BigNumber* v, int Scale, int Output, double value) BU_NOEXCEPT;
BU_API int LD_SetValueFromNumber(BN_BigNumber* v, const BN_BigNumber* number) BU_NOEXCEPT;

/* Exporting values. */
BU_API int LD_ExportValueToDBSColumn(const BN_BigNumber* v, unsigned char* column,
                                     int Width) BU_NOEXCEPT;
BU_API int LD_ExportValueToFloat(const BN_BigNumber* v, double* out) BU_NOEXCEPT;
BU_API int LD_ExportValueToInteger64(const BN_BigNumber* v, int64_t* out, int Scale) BU_NOEXCEPT;
BU_API int LD_ExportValueToString(const BN_BigNumber* v, char* text, int Size) BU_NOEXCEPT;

/* A 16-byte DECIMAL column, in place. */
BU_API int LD_NegateDBSColumnValue(unsigned char* column) BU_NOEXCEPT;
BU_API int LD_RescaleDBSColumn(unsigned char* column, int Shift) BU_NOEXCEPT;

/* Scaling, range, comparison (negative, 0 or positive). */
BU_API int LD_ScaleUp(BN_BigNumber* v, int n) BU_NOEXCEPT;
BU_API int LD_ScaleDown(BN_BigNumber* v, int n) BU_NOEXCEPT;
BU_API int LD_RangeCheck(const BN_BigNumber* v, int Precision, int Scale) BU_NOEXCEPT;
BU_API int LD_Compare(const BN_BigNumber* a, const BN_BigNumber* b) BU_NOEXCEPT;
BU_API int LD_CompareToZero(const BN_BigNumber* v) BU_NOEXCEPT;
BU_API int LD_CompareToOne(const BN_BigNumber* v) BU_NOEXCEPT;

/* Arithmetic. LD_Add and LD_Subtract take the scale of a; the caller gives
 * operands of equal scale. LD_Multiply adds the scales. LD_Divide truncates
 * the quotient at scale Scale (at the difference of scales when Scale is
 * negative). LD_Combine brings both operands to Scale first. */
BU_API int LD_Add(const BN_BigNumber* a, const BN_BigNumber* b, BN_BigNumber* r) BU_NOEXCEPT;
BU_API int LD_Subtract(const BN_BigNumber* a, const BN_BigNumber* b, BN_BigNumber* r) BU_NOEXCEPT;
BU_API int LD_Multiply(const BN_BigNumber* a, const BN_BigNumber* b, BN_BigNumber* r) BU_NOEXCEPT;
BU_API int LD_Divide(const BN_BigNumber* a, const BN_BigNumber* b, BN_BigNumber* r,
                     int Scale) BU_NOEXCEPT;
BU_API int LD_Negate(const BN_BigNumber* v, BN_BigNumber* r) BU_NOEXCEPT;
BU_API int LD_Combine(const BN_BigNumber* a, const BN_BigNumber* b, BN_BigNumber* r, int Subtract,
                      int Scale) BU_NOEXCEPT;

/* Diagnostics: LD_Display prints one line about v on the chosen stream
 * (standard error by default) while the level is above 0. */
BU_API int LD_Display(const BN_BigNumber* v) BU_NOEXCEPT;
BU_API int LD_RouteTraceOutput(FILE* stream, int level) BU_NOEXCEPT;

/* NU_ values: Kind 3 for the floating Precision mark, 2 otherwise. */
BU_API int NU_Create(int Precision, int Scale, BN_BigNumber** Out) BU_NOEXCEPT;
BU_API int NU_Initialize(BN_BigNumber* v, int Precision, int Scale) BU_NOEXCEPT;
BU_API int NU_Destroy(BN_BigNumber* v) BU_NOEXCEPT;
BU_API int NU_Copy(BN_BigNumber* To, const BN_BigNumber* From) BU_NOEXCEPT;
BU_API int NU_GetAttributes(const BN_BigNumber* v, int* Precision, int* Digits, int* Scale,
                            int* CurScale, unsigned int* Kind) BU_NOEXCEPT;

/* Crossing the families. CopyFrom takes the declared attributes too;
 * SetValueFrom keeps those of n. */
BU_API int NU_CopyFromLargeDecimal(BN_BigNumber* n, const BN_BigNumber* l) BU_NOEXCEPT;
BU_API int NU_SetValueFromLargeDecimal(BN_BigNumber* n, const BN_BigNumber* l) BU_NOEXCEPT;
BU_API int NU_ExportValueToLargeDecimal(const BN_BigNumber* n, BN_BigNumber* l, int Precision,
                                        int Scale) BU_NOEXCEPT;

BU_API int NU_SetValueFromString(BN_BigNumber* v, const char* text) BU_NOEXCEPT;
BU_API int NU_SetValueFromDigitString(BN_BigNumber* v, const char* text, int Precision, int Scale,
                                      int Exponent) BU_NOEXCEPT;
BU_API int NU_SetValueFromFloat(BN_BigNumber* v, int Scale, int Output, double value) BU_NOEXCEPT;
BU_API int NU_ExportValueToFloat(const BN_BigNumber* v, double* out) BU_NOEXCEPT;
BU_API int NU_SetValueFromDBSColumn(BN_BigNumber* v, const unsigned char* column, int Precision,
                                    int Scale) BU_NOEXCEPT;
/* Writes Length, exponent field and mantissa (at most NU_COLUMN_MAX_BYTES);
 * *Size is the column's total size, Length + 1. */
BU_API int NU_ExportValueToDBSColumn(const BN_BigNumber* v, unsigned char* column,
                                     int* Size) BU_NOEXCEPT;
/* Straight from a NUMBER column to the mantissa's decimal digits ("-" first
 * when negative, zero-terminated, within Size bytes) and the power of ten
 * that goes with them. v is a work value; it is set to the mantissa. */
BU_API int NU_ExportMantissaToString(BN_BigNumber* v, const unsigned char* column, char* text,
                                     int Size, int* Exponent) BU_NOEXCEPT;
BU_API int NU_ExportValueToString(const BN_BigNumber* v, char* text, int Size,
                                  int* Exponent) BU_NOEXCEPT;

BU_API int NU_Add(const BN_BigNumber* a, const BN_BigNumber* b, BN_BigNumber* r) BU_NOEXCEPT;
BU_API int NU_Subtract(const BN_BigNumber* a, const BN_BigNumber* b, BN_BigNumber* r) BU_NOEXCEPT;
BU_API int NU_Multiply(const BN_BigNumber* a, const BN_BigNumber* b, BN_BigNumber* r,
                       int Scale) BU_NOEXCEPT;
BU_API int NU_Divide(const BN_BigNumber* a, const BN_BigNumber* b, BN_BigNumber* r,
                     int Scale) BU_NOEXCEPT;
BU_API int NU_Negate(const BN_BigNumber* v, BN_BigNumber* r) BU_NOEXCEPT;
BU_API int NU_ScaleUp(BN_BigNumber* v, int n) BU_NOEXCEPT;
BU_API int NU_ScaleDown(BN_BigNumber* v, int n) BU_NOEXCEPT;
BU_API int NU_Compare(const BN_BigNumber* a, const BN_BigNumber* b) BU_NOEXCEPT;
BU_API int NU_CompareToZero(const BN_BigNumber* v) BU_NOEXCEPT;
BU_API int NU_CompareToOne(const BN_BigNumber* v) BU_NOEXCEPT;
BU_API int NU_RangeCheck(const BN_BigNumber* v, int Precision, int Scale) BU_NOEXCEPT;

#endif /* BU_DECIMAL_LD_NU_H */
