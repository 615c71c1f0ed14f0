// Reading delimiter-like attributes: plain and hexadecimal values, defaults,
// the UTF16 conversion, and the hexadecimal decoding on its own.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "attributes.h"
#include "charset_fixture.h"
#include "fake_px_icu.h"
#include "file_settings.h"
#include "initiation.h"
#include "special_chars.h"

namespace {

using bu::test::bytes;

std::string valueOf(const TextAttr& attr) {
    return std::string(attr.Bytes, static_cast<size_t>(attr.Length));
}

class SpecialChars : public bu::test::CharsetTest {
  protected:
    void SetUp() override {
        CharsetTest::SetUp();
        SG_CharSetName[0] = '\0';
        std::memset(&defaults, 0, sizeof defaults);
        std::memset(&attr, 0xAB, sizeof attr);
        bu::test::icuFailure = bu::test::IcuFailure::None;
    }
    void TearDown() override {
        SG_CharSetName[0] = '\0';
        bu::test::icuFailure = bu::test::IcuFailure::None;
        EXPECT_EQ(bu::test::openConverters, 0);
        CharsetTest::TearDown();
    }

    int32_t read(const char* name = "TextDelimiter") {
        std::string hex = std::string(name) + "HEX";
        return GetSpecialChars(name, hex.c_str(), &attr, &defaults);
    }

    void utf16Job(const char* name = "UTF16") {
        std::strcpy(SG_CharSetName, name);
        ASSERT_EQ(pmSetCharSet(name), 0);
    }

    TextAttr attr;
    TextAttr defaults;
};

TEST_F(SpecialChars, PlainValue) {
    host.setText("TextDelimiter", "||");
    EXPECT_EQ(read(), 0);
    EXPECT_STREQ(attr.Name, "TextDelimiter");
    EXPECT_EQ(valueOf(attr), "||");
    EXPECT_EQ(attr.Bytes[2], '\0');
    EXPECT_TRUE(host.traced("TextDelimiter = '||' [2 byte(s) x'7C7C']"));
}

TEST_F(SpecialChars, HexadecimalTwinIsDecodedAndTheHostValueKept) {
    host.setText("TextDelimiterHEX", "7c09");
    EXPECT_EQ(read(), 0);
    EXPECT_EQ(valueOf(attr), "|\t");
    EXPECT_EQ(std::string(host.attributes_["TextDelimiterHEX"].data()), "7c09");
}

TEST_F(SpecialChars, RedundantAttributes) {
    host.setText("EscapeTextDelimiter", "\\");
    host.setText("EscapeTextDelimiterHEX", "5C");
    EXPECT_EQ(read("EscapeTextDelimiter"), bu::dc::kSpecialCharRedundant);
    const auto* m = host.message(19128);
    ASSERT_NE(m, nullptr);
    EXPECT_EQ(m->text(1), "EscapeTextDelimiter");
    EXPECT_EQ(m->text(2), "EscapeTextDelimiterHEX");
    EXPECT_EQ(CurrentExitCode, 8);
    EXPECT_TRUE(host.traced("Redundant attributes defined"));
}

TEST_F(SpecialChars, AbsentWithoutDefault) {
    EXPECT_EQ(read(), bu::dc::kSpecialCharAbsent);
    EXPECT_EQ(attr.Length, 0);
    EXPECT_TRUE(host.traced("TextDelimiter attribute not specified, there is no default"));
    EXPECT_EQ(GetSpecialChars("TextDelimiter", "TextDelimiterHEX", &attr, nullptr),
              bu::dc::kSpecialCharAbsent);
}

TEST_F(SpecialChars, AbsentWithDefault) {
    defaults.Length = 1;
    std::strcpy(defaults.Bytes, "|");
    EXPECT_EQ(read(), 0);
    EXPECT_EQ(valueOf(attr), "|");
    const auto* m = host.message(19203);
    ASSERT_NE(m, nullptr);
    EXPECT_EQ(m->msgClass, 2);
    EXPECT_EQ(m->severity, 4);
    EXPECT_EQ(m->text(1), "TextDelimiter");
    EXPECT_EQ(m->text(2), "|");
}

TEST_F(SpecialChars, FinalDefaultIsMadePositiveInPlaceAndNotConverted) {
    utf16Job();
    defaults.Length = -2;
    std::memcpy(defaults.Bytes, "|\0", 2);
    EXPECT_EQ(read(), 0);
    EXPECT_EQ(defaults.Length, 2);
    EXPECT_EQ(valueOf(attr), bytes({'|', 0}));
    // A later call finds a plain default of the same bytes, which is converted.
    EXPECT_EQ(read(), 0);
    EXPECT_EQ(valueOf(attr), bytes({'|', 0, 0, 0}));
}

TEST_F(SpecialChars, Utf8ValueIsConvertedForUtf16Job) {
    utf16Job();
    host.setText("TextDelimiter", bytes({0xC3, 0xA9, '|'}));
    EXPECT_EQ(read(), 0);
    EXPECT_EQ(valueOf(attr), bytes({0xE9, 0x00, '|', 0x00}));
    EXPECT_TRUE(host.traced("Attribute converted from UTF8 to UTF16"));
    EXPECT_TRUE(host.traced("TextDelimiter = x'E9007C00' [4 bytes]"));
}

TEST_F(SpecialChars, NumericUtf16JobConvertsToo) {
    utf16Job("62");
    host.setText("TextDelimiter", "|");
    EXPECT_EQ(read(), 0);
    EXPECT_EQ(valueOf(attr), bytes({'|', 0}));
}

TEST_F(SpecialChars, HexadecimalValueIsAlreadyUtf16) {
    utf16Job();
    host.setText("TextDelimiterHEX", "C3A9");
    EXPECT_EQ(read(), 0);
    EXPECT_EQ(valueOf(attr), bytes({0xC3, 0xA9}));
    EXPECT_TRUE(host.traced("Attribute specified in hexadecimal - not converting"));
}

TEST_F(SpecialChars, OtherJobsKeepTheBytes) {
    std::strcpy(SG_CharSetName, "UTF8");
    host.setText("TextDelimiter", bytes({0xC3, 0xA9}));
    EXPECT_EQ(read(), 0);
    EXPECT_EQ(valueOf(attr), bytes({0xC3, 0xA9}));
}

TEST_F(SpecialChars, InvalidUtf8FailsTheConversion) {
    utf16Job();
    host.setText("TextDelimiter", bytes({'|', 0xC3}));
    EXPECT_EQ(read(), PXSTC_FatalError);
    int count = 0;
    for (const auto& m : host.publicMessages) count += m.number == 19154;
    EXPECT_EQ(count, 3);  // the converter's, then the reader's two
    EXPECT_TRUE(host.traced("Could not convert 'TextDelimiter' from UTF8 to UTF16"));
}

// A record holds 100 bytes of value, so 50 UTF-16 units at most.
TEST_F(SpecialChars, ValueTooLongForTheRecordInUtf16Fails) {
    utf16Job();
    host.setText("TextDelimiter", std::string(50, '|'));
    EXPECT_EQ(read(), 0);
    EXPECT_EQ(attr.Length, 100);
    host.setText("TextDelimiter", std::string(51, '|'));
    EXPECT_EQ(read(), PXSTC_FatalError);
}

TEST_F(SpecialChars, ConverterFailuresCloseWhatWasOpened) {
    utf16Job();
    host.setText("TextDelimiter", "|");
    for (auto failure : {bu::test::IcuFailure::Open, bu::test::IcuFailure::SetToU,
                         bu::test::IcuFailure::SetFromU}) {
        bu::test::icuFailure = failure;
        EXPECT_EQ(read(), PXSTC_FatalError);
        EXPECT_EQ(bu::test::openConverters, 0);
    }
    EXPECT_TRUE(host.traced("Unable to open converter for UTF8"));
    EXPECT_TRUE(host.traced("px_ucnv_setToUCallBack failed"));
    EXPECT_TRUE(host.traced("px_ucnv_setFromUCallBack failed"));
}

TEST_F(SpecialChars, BadTwinAndOverlongNameAreFatal) {
    host.setText("TextDelimiterHEX", "7G");
    EXPECT_EQ(read(), PXSTC_FatalError);
    std::string name(50, 'N');
    EXPECT_EQ(GetSpecialChars(name.c_str(), "NHEX", &attr, &defaults), PXSTC_FatalError);
}

TEST_F(SpecialChars, ValueAboveHundredBytesIsALengthError) {
    host.setText("TextDelimiter", std::string(101, '|'));
    EXPECT_EQ(read(), PXSTC_FatalError);
    EXPECT_TRUE(host.hasMessage(19202));
}

class HexAttribute : public bu::test::CharsetTest {
  protected:
    int32_t convert(std::string& value) {
        PX_Len = static_cast<int32_t>(value.size());
        value.push_back('\0');
        return ConvertHEX(value.data(), "TextDelimiterHEX");
    }
};

TEST_F(HexAttribute, DigitsOfEitherCaseBecomeBytes) {
    std::string value = "00ff7Ea1";
    EXPECT_EQ(convert(value), 0);
    EXPECT_EQ(PX_Len, 4);
    EXPECT_EQ(value.substr(0, 5), bytes({0x00, 0xFF, 0x7E, 0xA1, 0x00}));
}

TEST_F(HexAttribute, EmptyValueIsEmpty) {
    std::string value;
    EXPECT_EQ(convert(value), 0);
    EXPECT_EQ(PX_Len, 0);
}

TEST_F(HexAttribute, BadDigitGivesTwo) {
    std::string value = "0G";
    EXPECT_EQ(convert(value), 2);
    const auto* m = host.message(19205);
    ASSERT_NE(m, nullptr);
    EXPECT_EQ(m->text(1), "TextDelimiterHEX");
    EXPECT_EQ(m->text(2), "0G");
    EXPECT_EQ(m->text(3), "hexadecimal digits");
    EXPECT_EQ(PX_Len, 2);
}

TEST_F(HexAttribute, OddLengthGivesOne) {
    std::string value = "ABC";
    EXPECT_EQ(convert(value), 1);
    value = "A G";
    EXPECT_EQ(convert(value), 1);
    EXPECT_TRUE(host.traced("Valid TextDelimiterHEX values are hexadecimal digits"));
}

TEST_F(HexAttribute, OtherInstancesDoNotReport) {
    ThisInstance = 2;
    std::string value = "ZZ";
    EXPECT_EQ(convert(value), 2);
    EXPECT_FALSE(host.hasMessage(19205));
    ThisInstance = 1;
}

}  // namespace
