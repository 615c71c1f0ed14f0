// Columns rendered as text: the cases of tests/golden/column-text (a type
// and edge value each, the bytes exactly as records carry them, oddities
// included), and Do_DtoA. The widening to UTF-16 is shown by the UTF16 job
// of tests/golden/delimited.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>

#include "column_text.h"

namespace {

using bu::rf::TextWidth;

// One value of the column bytes: "i4:-5", "u2:2001", "f8:1.5", "x:0102".
std::string bytesOf(const std::string& token) {
    const size_t colon = token.find(':');
    const std::string kind = token.substr(0, colon);
    const std::string value = token.substr(colon + 1);
    std::string out;
    if (kind == "x") {
        for (size_t i = 0; i + 1 < value.size(); i += 2) {
            out.push_back(static_cast<char>(std::stoi(value.substr(i, 2), nullptr, 16)));
        }
    } else if (kind == "f8") {
        const double d = std::strtod(value.c_str(), nullptr);
        out.assign(reinterpret_cast<const char*>(&d), sizeof d);
    } else {
        __int128 v = 0;
        for (char c : value) {
            if (c >= '0' && c <= '9') v = v * 10 + (c - '0');
        }
        if (value[0] == '-') v = -v;
        out.assign(reinterpret_cast<const char*>(&v), std::stoul(kind.substr(1)));
    }
    return out;
}

std::string unescaped(const std::string& text) {
    std::string out;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text.compare(i, 2, "\\0") == 0) {
            out.push_back('\0');
            ++i;
        } else {
            out.push_back(text[i]);
        }
    }
    return out;
}

std::string trimmed(const std::string& s) {
    const size_t first = s.find_first_not_of(' ');
    return first == std::string::npos ? "" : s.substr(first, s.find_last_not_of(' ') - first + 1);
}

TEST(ColumnText, RendersEachCaseOfTheGoldenFile) {
    std::ifstream in(std::string(BU_SOURCE_DIR) + "/tests/golden/column-text/renderings.txt");
    ASSERT_TRUE(in.good());
    int cases = 0;
    for (std::string line; std::getline(in, line);) {
        if (line.empty() || line[0] == '#') continue;
        const size_t bar1 = line.find('|');
        const size_t bar2 = line.find('|', bar1 + 1);
        std::istringstream form(line.substr(0, bar1));
        int type = 0, precision = 0, scale = 0;
        form >> type >> precision >> scale;
        std::istringstream values(line.substr(bar1 + 1, bar2 - bar1 - 1));
        std::string column;
        for (std::string token; values >> token;) {
            if (token != "-") column += bytesOf(token);
        }
        ConvertRecord record{};
        std::memset(record.Text, 'x', sizeof record.Text);
        bu::rf::BinaryToText(column.data(), static_cast<uint32_t>(column.size()),
                             {type, static_cast<int16_t>(precision), static_cast<int16_t>(scale)},
                             TextWidth::Narrow, record);
        EXPECT_EQ(std::string(record.Text, static_cast<size_t>(record.TextLength)),
                  unescaped(trimmed(line.substr(bar2 + 1))))
            << line;
        EXPECT_EQ(record.Text[record.TextLength], '\0') << line;
        ++cases;
    }
    EXPECT_GT(cases, 60);
}

TEST(ColumnText, DoDtoAGivesDigitsWithZerosUpToTheScaleAndNoPoint) {
    char text[64] = {};
    const int32_t small = -5;
    ASSERT_EQ(Do_DtoA(text, 4, &small, 2), 4);
    EXPECT_EQ(std::string(text, 4), "-005");
    const __int128 wide = static_cast<__int128>(12345) * 1000000000000000000;
    ASSERT_EQ(Do_DtoA(text, 16, &wide, 0), 23);
    EXPECT_EQ(std::string(text, 23), "12345000000000000000000");
    const int64_t zero = 0;
    EXPECT_EQ(Do_DtoA(text, 8, &zero, 3), 0);
    EXPECT_EQ(Do_DtoA(text, 3, &small, 0), 0);
}

}  // namespace
