// Each family's checker on valid, truncated and invalid characters, with the
// lead and trail ranges at their edges: the cases of golden/checkers.txt,
// and UTF-16's surrogates in both byte orders.
#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <sstream>
#include <string>

#include "charset_fixture.h"

namespace {

using bu::test::bytes;

struct Case {
    IsMBC_t checker;
    std::string text;
    int32_t result, length, badmbcs;
};

void expectCase(const Case& c) {
    SCOPED_TRACE(pHEXvalue(c.text.data(), static_cast<int32_t>(c.text.size())));
    int32_t length = 77;
    badmbcs = 7;
    EXPECT_EQ(c.checker(c.text.c_str(), &length), c.result);
    EXPECT_EQ(length, c.length);
    EXPECT_EQ(badmbcs, c.badmbcs);
}

TEST(Checkers, EachFamilyAtTheEdgesOfItsRanges) {
    const std::map<std::string, IsMBC_t> families = {
        {"EUC", IsMBC__EUC}, {"SJIS", IsMBC__SJIS}, {"BIG5", IsMBC__BIG5},    {"KSC", IsMBC__KSC},
        {"GBK", IsMBC__GBK}, {"UTF8", IsMBC__UTF8}, {"GB2312", IsMBC__GB2312}};
    std::ifstream in(BU_SOURCE_DIR "/tests/charsets/golden/checkers.txt");
    ASSERT_TRUE(in.is_open());
    int number = 0, cases = 0;
    for (std::string line; std::getline(in, line);) {
        ++number;
        if (line.empty() || line[0] == '#') continue;
        std::istringstream fields(line);
        std::string family, bar, word;
        Case c{};
        fields >> family >> bar;
        while (fields >> word && word != "|")
            c.text.push_back(static_cast<char>(std::stoi(word, nullptr, 16)));
        fields >> c.result >> c.length >> c.badmbcs;
        SCOPED_TRACE("checkers.txt:" + std::to_string(number));
        ASSERT_TRUE(fields && families.count(family)) << line;
        c.checker = families.at(family);
        expectCase(c);
        ++cases;
    }
    EXPECT_GT(cases, 40);
}

TEST(Checkers, Utf16SurrogatesInBothByteOrders) {
    for (int32_t endian : {1, 2}) {
        bu::charsets::setUtf16ByteOrder(endian);
        auto unit = [endian](int high, int low) {
            return endian == 1 ? bytes({high, low}) : bytes({low, high});
        };
        expectCase({IsMBC__UTF16, unit(0xD8, 0x00) + unit(0xDC, 0x00), 1, 4, 0});
        expectCase({IsMBC__UTF16, unit(0xDF, 0xFF) + unit(0x00, 0x41), 1, 4, 0});
        expectCase({IsMBC__UTF16, unit(0xD7, 0xFF), 1, 2, 0});
        expectCase({IsMBC__UTF16, unit(0xE0, 0x00), 1, 2, 0});
        EXPECT_EQ(fourByteUTF, 0);
        int32_t length = 0;
        IsMBC__UTF16(unit(0xDB, 0x00).c_str(), &length);
        EXPECT_EQ(fourByteUTF, 1);
    }
    bu::charsets::setUtf16ByteOrder(2);
}

}  // namespace
