// Pictures and conversions against the golden files in golden/: each line is
// one case with the result it must give.
#include <gtest/gtest.h>

#include <array>
#include <fstream>
#include <string>
#include <vector>

#include "datetime_test_support.h"
#include "px_datetime.h"

namespace bu::datetime::testing {
namespace {

struct Line {
    int number;
    std::vector<std::string> fields;
};

// The lines of a golden file, split at " | ", without comments and blanks.
std::vector<Line> ReadGolden(const std::string& name, size_t fields) {
    std::ifstream in(std::string(BU_SOURCE_DIR) + "/tests/datetime/golden/" + name);
    EXPECT_TRUE(in.is_open()) << name;
    std::vector<Line> lines;
    int number = 0;
    for (std::string text; std::getline(in, text);) {
        ++number;
        if (text.empty() || text[0] == '#') continue;
        Line line{number, {}};
        for (size_t at = 0;;) {
            const size_t bar = line.fields.size() + 1 < fields ? text.find(" | ", at) : text.npos;
            line.fields.push_back(text.substr(at, bar - at));
            if (bar == text.npos) break;
            at = bar + 3;
        }
        EXPECT_EQ(line.fields.size(), fields) << name << ":" << number;
        if (line.fields.size() == fields) lines.push_back(line);
    }
    return lines;
}

// The error text left behind, "-" when there is none.
std::string ErrorShown() {
    const char* text = LastErrorText();
    return text != nullptr ? text : "-";
}

TEST(DateTimeGolden, PicturesEncodeAsListed) {
    for (const Line& line : ReadGolden("pictures.txt", 3)) {
        ClearLastError();  // an earlier failure would stop this encoding
        const Encoded e = Encode(line.fields[0]);
        const std::string shown = e.rc == 0 ? e.format : ErrorShown();
        EXPECT_EQ(std::to_string(e.rc) + " | " + shown, line.fields[1] + " | " + line.fields[2])
            << "pictures.txt:" << line.number << ": " << line.fields[0];
    }
}

// The output is printed into a buffer of '#' so that text without a
// terminator shows.
TEST(DateTimeGolden, ConversionsGiveTheListedTextOrError) {
    for (const Line& line : ReadGolden("conversions.txt", 5)) {
        ClearLastError();
        std::string in = line.fields[0], out = line.fields[1], value = line.fields[2];
        std::array<char, PX_DATETIME_OUTPUT_SIZE> output;
        output.fill('#');
        uint32_t code = 99;
        const int32_t status =
            PX_ConvertDateTime(in.data(), out.data(), value.data(), output.data(), &code);
        std::string shown;
        if (code == 0) {
            const std::string printed(output.data(), output.size());
            const size_t end = printed.find_first_of(std::string("#\0", 2));
            shown = printed.substr(0, end) + (printed[end] == '\0' ? "" : "<unterminated>");
        } else {
            shown = ErrorShown();
        }
        EXPECT_EQ(status, code == 0 ? 0 : 48) << "conversions.txt:" << line.number;
        EXPECT_EQ(std::to_string(code) + " | " + shown, line.fields[3] + " | " + line.fields[4])
            << "conversions.txt:" << line.number << ": " << value << " by " << in << " as " << out;
    }
}

}  // namespace
}  // namespace bu::datetime::testing
