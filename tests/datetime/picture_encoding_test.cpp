// Pictures to encoded formats: elements, deliberate readings, duplicates,
// unknown characters, and the exported encoder.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "datetime_test_support.h"
#include "px_datetime.h"

namespace bu::datetime::testing {
namespace {

using PictureEncoding = DateTimeTest;

TEST_F(PictureEncoding, EveryElementEncodes) {
    const struct {
        const char* picture;
        const char* encoded;
    } cases[] = {
        // clang-format off
        {"YYYY", "%Y"}, {"Y4", "%Y"}, {"YY", "%y"}, {"MMMM", "%B"}, {"M4", "%B"}, {"MMM", "%b"},
        {"M3", "%b"}, {"MM", "%m"}, {"EEEE", "%A"}, {"E4", "%A"}, {"EEE", "%a"}, {"E3", "%a"},
        {"DD", "%d"}, {"HH", "%H"}, {"MI", "%M"}, {"SS", "%S"}, {"T", "%p"}, {"Z", "%z"},
        {"B", " "}, {" ", " "}, {"D", "."}, {",-./':", ",-./':"},
        {"yyyy-mm-dd hh:mi:ss.s(6) z", "%Y-%m-%d %H:%M:%S%f6 %z"},
        // clang-format on
    };
    for (const auto& c : cases) {
        const Encoded e = Encode(c.picture);
        EXPECT_EQ(e.rc, 0) << c.picture;
        EXPECT_EQ(e.format, c.encoded) << c.picture;
    }
}

TEST_F(PictureEncoding, HourIsTwelveHourWhenTheMeridiemStandsAnywhere) {
    EXPECT_EQ(Encode("HH:MI T").format, "%I:%M %p");
    EXPECT_EQ(Encode("t HH:MI").format, "%p %I:%M");
    EXPECT_EQ(Encode("HH:MI").format, "%H:%M");
}

TEST_F(PictureEncoding, SecondsTakeAFractionOfZeroToSixDigits) {
    for (char n = '0'; n <= '6'; ++n) {
        const std::string digit(1, n);
        const std::string expected = n == '0' ? "%S" : "%S%f" + digit;
        EXPECT_EQ(Encode("SS.S(" + digit + ")").format, expected);
        EXPECT_EQ(Encode("SSDS(" + digit + ")").format, expected);
    }
    EXPECT_EQ(Encode("SS.S(3):").format, "%S%f3:");
    EXPECT_EQ(Encode("SS.").format, "%S.");
    for (const char* bad : {"SS.S(7)", "SS.S(3", "SS.S(x)", "SSDS()", "SS.S"}) {
        ClearLastError();
        EXPECT_EQ(Encode(bad).rc, kUnknownPictureCharacter) << bad;
    }
}

TEST_F(PictureEncoding, DeliberateReadingsOfRunsOfLetters) {
    EXPECT_EQ(Encode("MMMMI").format, "%b%M");
    EXPECT_EQ(Encode("MMMI").format, "%m%M");
    EXPECT_EQ(Encode("MMMMM").rc, kUnknownPictureCharacter);
    ClearLastError();
    EXPECT_EQ(Encode("DDD").rc, kAmbiguousInput);
    EXPECT_STREQ(LastErrorText(), "27: Ambiguous input data");
}

TEST_F(PictureEncoding, SecondElementOfAGroupIsRefused) {
    const struct {
        const char* picture;
        int code;
        const char* text;
    } cases[] = {
        // clang-format off
        {"YYYY YY", 1, "01: Duplicate YEAR formatting characters"},
        {"MM-M3", 2, "02: Duplicate MONTH formatting characters"},
        {"EEE E4", 3, "03: Duplicate WEEKDAY formatting characters"},
        {"DD/DD", 4, "04: Duplicate DAY formatting characters"},
        {"HH HH", 5, "05: Duplicate HOUR formatting characters"},
        {"MI:MI", 6, "06: Duplicate MINUTE formatting characters"},
        {"SS SS.S(2)", 7, "07: Duplicate SECOND formatting characters"},
        {"T T", 9, "09: Duplicate TIMEZONE formatting characters"},
        {"Z Z", 10, "10: Unknown separator(s)"},
        // clang-format on
    };
    for (const auto& c : cases) {
        ClearLastError();
        EXPECT_EQ(Encode(c.picture).rc, c.code) << c.picture;
        EXPECT_STREQ(LastErrorText(), c.text) << c.picture;
    }
}

TEST_F(PictureEncoding, UnknownCharactersAreRefused) {
    for (const char* bad : {"YYY", "Q", "YYYY;MM", "%Y", "S", "HH_MI", "M"}) {
        ClearLastError();
        EXPECT_EQ(Encode(bad).rc, kUnknownPictureCharacter) << bad;
        EXPECT_STREQ(LastErrorText(), "11: Unknown formatting character(s)");
    }
}

TEST_F(PictureEncoding, PictureIsUpperCasedInPlaceAndEmptyIsAllowed) {
    char picture[] = "dd.mm.yy";
    char encoded[16] = {};
    EXPECT_EQ(_parse(picture, encoded), 0);
    EXPECT_STREQ(picture, "DD.MM.YY");
    EXPECT_STREQ(encoded, "%d.%m.%y");
    EXPECT_EQ(Encode("").rc, 0);
    EXPECT_EQ(Encode("").format, "");
}

// The encoder keeps its output terminated, even in a buffer that was not
// zero-filled.
TEST_F(PictureEncoding, OutputIsTerminatedInAnUnclearedBuffer) {
    char picture[] = "DD-";
    char encoded[8];
    std::memset(encoded, 'x', sizeof encoded);
    ASSERT_EQ(_parse(picture, encoded), 0);
    EXPECT_STREQ(encoded, "%d-");
}

// The code of a failure is not cleared by the next encoding: it stops at once
// and reports the same code again.
TEST_F(PictureEncoding, EarlierFailureStopsTheNextEncoding) {
    ASSERT_EQ(Encode("DD DD").rc, kDuplicateDay);
    const Encoded stale = Encode("YYYY");
    EXPECT_EQ(stale.rc, kDuplicateDay);
    EXPECT_EQ(stale.format, "");
    EXPECT_EQ(LastErrorText(), nullptr);
    ClearLastError();
    EXPECT_EQ(Encode("YYYY").format, "%Y");
}

TEST_F(PictureEncoding, ExportedEncoderReportsThroughItsErrorCode) {
    char in[] = "yyyy-mm-dd";
    char out[] = "dd/mm/yyyy";
    char enc_in[sizeof in + 2] = {};
    char enc_out[sizeof out + 2] = {};
    uint32_t code = 99;
    EXPECT_EQ(PX_EncodeFormatStrings(in, out, enc_in, enc_out, &code), 0);
    EXPECT_EQ(code, 0u);
    EXPECT_STREQ(enc_in, "%Y-%m-%d");
    EXPECT_STREQ(enc_out, "%d/%m/%Y");

    char bad_in[] = "yyyy-qq";
    char untouched_out[] = "dd";
    EXPECT_EQ(PX_EncodeFormatStrings(bad_in, untouched_out, enc_in, enc_out, &code), 48);
    EXPECT_EQ(code, 11u);
    EXPECT_STREQ(untouched_out, "dd");

    ClearLastError();
    EXPECT_EQ(PX_EncodeFormatStrings(nullptr, out, enc_in, enc_out, &code), 48);
    EXPECT_EQ(code, 26u);
    EXPECT_STREQ(LastErrorText(), "26: Empty values or formatting strings");
    EXPECT_EQ(PX_EncodeFormatStrings(in, out, enc_in, nullptr, nullptr), 48);
}

}  // namespace
}  // namespace bu::datetime::testing
