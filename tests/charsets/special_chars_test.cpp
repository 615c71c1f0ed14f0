// Reading delimiter-like attributes: plain and hexadecimal values, defaults,
// the UTF16 conversion, and the hexadecimal decoding on its own.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "attributes.h"
#include "charset_fixture.h"
#include "fake_px_icu.h"
#include "initiation.h"
#include "special_chars.h"

namespace {

using bu::test::bytes;
using bu::test::IcuFailure;

class SpecialChars : public bu::test::CharsetTest {
  protected:
    void SetUp() override {
        CharsetTest::SetUp();
        SG_CharSetName[0] = '\0';
        std::memset(&defaults, 0, sizeof defaults);
        std::memset(&attr, 0xAB, sizeof attr);
    }
    void TearDown() override {
        SG_CharSetName[0] = '\0';
        bu::test::icuFailure = IcuFailure::None;
        EXPECT_EQ(bu::test::openConverters, 0);
        CharsetTest::TearDown();
    }

    int32_t read(const char* name = "TextDelimiter") {
        std::string hex = std::string(name) + "HEX";
        return GetSpecialChars(name, hex.c_str(), &attr, &defaults);
    }
    std::string value() const { return std::string(attr.Bytes, attr.Length); }
    void utf16Job(const char* name = "UTF16") {
        std::strcpy(SG_CharSetName, name);
        ASSERT_EQ(pmSetCharSet(name), 0);
    }
    int count(int32_t number) const {
        int n = 0;
        for (const auto& m : host.publicMessages) n += m.number == number;
        return n;
    }

    TextAttr attr;
    TextAttr defaults;
};

TEST_F(SpecialChars, PlainValueOrHexadecimalTwin) {
    host.setText("TextDelimiter", "||");
    EXPECT_EQ(read(), 0);
    EXPECT_STREQ(attr.Name, "TextDelimiter");
    EXPECT_EQ(value(), "||");
    EXPECT_EQ(attr.Bytes[2], '\0');
    EXPECT_TRUE(host.traced("TextDelimiter = '||' [2 byte(s) x'7C7C']"));

    host.remove("TextDelimiter");
    host.setText("TextDelimiterHEX", "7c09");
    EXPECT_EQ(read(), 0);
    EXPECT_EQ(value(), "|\t");
    // Decoded in a copy: the host's value keeps its digits.
    EXPECT_STREQ(host.attributes_["TextDelimiterHEX"].data(), "7c09");
}

TEST_F(SpecialChars, AbsentWithAndWithoutDefault) {
    EXPECT_EQ(read(), bu::dc::kSpecialCharAbsent);
    EXPECT_EQ(attr.Length, 0);
    EXPECT_TRUE(host.traced("TextDelimiter attribute not specified, there is no default"));

    defaults.Length = 1;
    std::strcpy(defaults.Bytes, "|");
    EXPECT_EQ(read(), 0);
    EXPECT_EQ(value(), "|");
    EXPECT_TRUE(host.hasMessage(19203));
}

TEST_F(SpecialChars, FinalDefaultIsMadePositiveInPlaceAndNotConverted) {
    utf16Job();
    defaults.Length = -2;
    std::memcpy(defaults.Bytes, "|\0", 2);
    EXPECT_EQ(read(), 0);
    EXPECT_EQ(defaults.Length, 2);
    EXPECT_EQ(value(), bytes({'|', 0}));
    // The next call finds a plain default, which is converted.
    EXPECT_EQ(read(), 0);
    EXPECT_EQ(value(), bytes({'|', 0, 0, 0}));
}

TEST_F(SpecialChars, Utf8ValueConvertedForUtf16JobButHexadecimalLeftAlone) {
    utf16Job();
    host.setText("TextDelimiter", bytes({0xC3, 0xA9, '|'}));
    EXPECT_EQ(read(), 0);
    EXPECT_EQ(value(), bytes({0xE9, 0x00, '|', 0x00}));
    EXPECT_TRUE(host.traced("TextDelimiter = x'E9007C00' [4 bytes]"));

    host.remove("TextDelimiter");
    host.setText("TextDelimiterHEX", "C3A9");
    EXPECT_EQ(read(), 0);
    EXPECT_EQ(value(), bytes({0xC3, 0xA9}));

    utf16Job("62");
    host.remove("TextDelimiterHEX");
    host.setText("TextDelimiter", "|");
    EXPECT_EQ(read(), 0);
    EXPECT_EQ(value(), bytes({'|', 0}));
}

TEST_F(SpecialChars, ConversionFailuresAreFatal) {
    utf16Job();
    host.setText("TextDelimiter", bytes({'|', 0xC3}));
    EXPECT_EQ(read(), PXSTC_FatalError);
    EXPECT_EQ(count(19154), 3);  // the converter's, then the reader's two

    // A record holds 100 bytes of value, so 50 UTF-16 units at most.
    host.setText("TextDelimiter", std::string(50, '|'));
    EXPECT_EQ(read(), 0);
    EXPECT_EQ(attr.Length, 100);
    host.setText("TextDelimiter", std::string(51, '|'));
    EXPECT_EQ(read(), PXSTC_FatalError);

    for (auto failure : {IcuFailure::Open, IcuFailure::SetToU, IcuFailure::SetFromU}) {
        bu::test::icuFailure = failure;
        EXPECT_EQ(read(), PXSTC_FatalError);
        EXPECT_EQ(bu::test::openConverters, 0);
    }
    EXPECT_TRUE(host.traced("Unable to open converter for UTF8"));
    EXPECT_TRUE(host.traced("px_ucnv_setFromUCallBack failed"));
}

TEST_F(SpecialChars, OverlongNameAndOverlongValueAreFatal) {
    EXPECT_EQ(GetSpecialChars(std::string(50, 'N').c_str(), "NHEX", &attr, &defaults),
              PXSTC_FatalError);
    host.setText("TextDelimiter", std::string(101, '|'));
    EXPECT_EQ(read(), PXSTC_FatalError);
}

class HexAttribute : public bu::test::CharsetTest {
  protected:
    int32_t convert(std::string value) {
        PX_Len = static_cast<int32_t>(value.size());
        value.push_back('\0');
        int32_t rc = ConvertHEX(value.data(), "TextDelimiterHEX");
        decoded = value.substr(0, PX_Len);
        return rc;
    }
    std::string decoded;
};

TEST_F(HexAttribute, DigitsOfEitherCaseBecomeBytes) {
    EXPECT_EQ(convert("00ff7Ea1"), 0);
    EXPECT_EQ(decoded, bytes({0x00, 0xFF, 0x7E, 0xA1}));
    EXPECT_EQ(convert(""), 0);
    EXPECT_EQ(PX_Len, 0);
}

TEST_F(HexAttribute, BadDigitGivesTwoAndOddLengthOne) {
    EXPECT_EQ(convert("0G"), 2);
    EXPECT_TRUE(host.hasMessage(19205));
    EXPECT_EQ(convert("ABC"), 1);
    EXPECT_EQ(convert("A G"), 1);
    ThisInstance = 2;
    host.publicMessages.clear();
    EXPECT_EQ(convert("ZZ"), 2);
    EXPECT_FALSE(host.hasMessage(19205));
    ThisInstance = 1;
}

}  // namespace
