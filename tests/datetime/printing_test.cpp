// Printing a record: the count, fields out of range, and the limit.
#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "datetime_printer.h"
#include "datetime_test_support.h"

namespace bu::datetime::testing {
namespace {

DateTimeRec Sample() {
    DateTimeRec rec;
    rec.Year = 124;
    rec.Month = 3;
    rec.Day = 5;
    rec.Hour = 7;
    rec.Minute = 8;
    rec.Second = 9;
    rec.Microsecond = 12345;
    return rec;
}

// The text written into a buffer filled with '#' beforehand (no format here
// prints one), marked when it has no terminator.
std::string Print(const char* format, const DateTimeRec& rec) {
    std::vector<char> out(64, '#');
    _strftime(out.data(), out.size() - 1, format, rec);
    const size_t end =
        std::string_view(out.data(), out.size()).find_first_of(std::string("#\0", 2));
    return std::string(out.data(), end) + (out[end] == '\0' ? "" : "<unterminated>");
}

// The count returned leaves out the point of each fraction it printed.
TEST(Printing, CountLeavesOutTheFractionPoint) {
    std::vector<char> out(16, '#');
    EXPECT_EQ(_strftime(out.data(), out.size(), "%f0", Sample()), 0u);
    EXPECT_STREQ(out.data(), ".");
    // Stopped by an unprintable element after the fraction.
    EXPECT_EQ(_strftime(out.data(), out.size(), "%f2%Q", Sample()), 2u);
}

// A field out of its range stops the text where it would stand. The rows
// without a field: an emptied zone, an unknown element, a lone '%'.
TEST(Printing, FieldOutOfRangeStopsWithoutTerminator) {
    const struct {
        int32_t DateTimeRec::*field;
        int32_t value;
        const char* format;
        const char* printed;
    } cases[] = {
        {&DateTimeRec::Month, 13, "%Y-%m", "2024-<unterminated>"},
        {&DateTimeRec::Month, 13, "%Y %B", "2024 <unterminated>"},
        {&DateTimeRec::Hour, 24, "x%H", "x<unterminated>"},
        {&DateTimeRec::Hour, 24, "x%I", "x<unterminated>"},
        {&DateTimeRec::Weekday, 7, "%d %a", "05 <unterminated>"},
        {&DateTimeRec::Year, 10000 - kYearBase, "%m %Y", "03 <unterminated>"},
        {&DateTimeRec::Year, 10000 - kYearBase, "%m %y", "03 <unterminated>"},
        {&DateTimeRec::Second, 61, "%S", "61"},
        {&DateTimeRec::Second, 62, "%S", "<unterminated>"},
        {nullptr, 0, "%d%z", "05<unterminated>"},
        {nullptr, 0, "%d%Q", "05<unterminated>"},
        {nullptr, 0, "%d%", "05<unterminated>"},
    };
    for (const auto& c : cases) {
        DateTimeRec rec = Sample();
        if (c.field != nullptr) rec.*c.field = c.value;
        if (std::string_view(c.format).ends_with("%z")) rec.TimeZone[0] = '\0';
        EXPECT_EQ(Print(c.format, rec), c.printed) << c.format;
    }
}

// Every limit from 0 up: nothing is written at or past the limit, a literal
// that meets the limit ends the text with a terminator, and an element that
// does not fit ends it without one.
TEST(Printing, NeverWritesPastTheLimit) {
    const char* format = "at %Y-%m-%d %H:%M:%S%f6 on %A, %B; %z%%";
    struct Piece {
        std::string text;
        bool literal;
        bool fraction;
    };
    std::vector<Piece> pieces;
    for (const char* f = format; *f != '\0';) {
        const size_t length = *f != '%' ? 1 : f[1] == 'f' ? 3 : 2;
        const std::string part(f, length);
        f += length;
        pieces.push_back(
            {length == 1 ? part : Print(part.c_str(), Sample()), length == 1, length == 3});
    }
    for (size_t limit = 0; limit <= 64; ++limit) {
        std::string expected;
        size_t expected_count = 0;
        bool terminated = true;
        for (const Piece& piece : pieces) {
            if (limit == 0) break;
            if (piece.literal && expected.size() == limit - 1) break;
            if (piece.text.size() > limit - 1 - expected.size()) {
                terminated = false;
                break;
            }
            expected += piece.text;
            expected_count += piece.text.size() - (piece.fraction ? 1 : 0);
        }
        std::vector<char> out(limit + 8, '#');
        const size_t count = _strftime(out.data(), limit, format, Sample());
        for (size_t i = limit; i < out.size(); ++i) ASSERT_EQ(out[i], '#') << limit;
        ASSERT_EQ(std::string(out.data(), expected.size()), expected) << limit;
        ASSERT_EQ(count, expected_count) << limit;
        if (limit > 0) {
            EXPECT_EQ(out[expected.size()] == '\0', terminated) << limit;
        }
    }
}

}  // namespace
}  // namespace bu::datetime::testing
