// Delimited records: the cases no job can show (characters running past a
// column's end, a checker's zero length, misaligned UTF-16, indicator values other
// than 0 and 1), the record's block under the most growth quotes and
// escapes can bring, and a mark at every place of a text longer than the
// golden rows' texts.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "charset_fixture.h"
#include "delimited_writer.h"

namespace {

constexpr int32_t kVarchar = 7;
constexpr int32_t kInteger = 1;

struct Column {
    std::string value;
    int32_t type = kVarchar;
    uint8_t indicator = 0;
};

Column integer(int32_t v) {
    std::string bytes(4, '\0');
    std::memcpy(bytes.data(), &v, 4);
    return {bytes, kInteger};
}

std::string utf16(const std::string& ascii) {
    std::string s;
    for (char c : ascii) s += std::string{c, '\0'};
    return s;
}

struct Marks {
    std::string delimiter = "|";
    std::string open, close, escapeDelimiter, escapeQuote;
    int32_t quoted = 0;
    int32_t append = 0;
};

struct Case {
    const char* what;
    const char* charset;
    Marks marks;
    std::vector<Column> columns;
    std::string record;
};

Marks quotes(int32_t quoted, std::string open = "\"", std::string close = "\"") {
    Marks m;
    m.open = std::move(open);
    m.close = std::move(close);
    m.quoted = quoted;
    return m;
}

Marks escaped(std::string delimiter, std::string escape) {
    Marks m;
    m.delimiter = std::move(delimiter);
    m.escapeDelimiter = std::move(escape);
    return m;
}

// The cases the jobs of tests/golden/delimited can't show; those show each
// combination of marks end to end.
const std::vector<Case>& cases() {
    const Marks utf16Quotes{utf16("|"), utf16("\""), utf16("\""), "", "", 2, 0};
    Marks dashQuoted = quotes(2);
    dashQuoted.delimiter = "-";
    // clang-format off
    static const std::vector<Case> all = {
        {"optional quotes for a close mark, not for an open mark or a line end", "ASCII",
         quotes(2, "[", "]"), {{"a[b\nc"}, {"d]e"}}, "a[b\nc|[d]]e]"},
        {"a character running past its column takes the bytes behind it", "UTF8", quotes(2),
         {{"a\xE2\x82"}, {"\xAC"}}, "a\xE2\x82\xAC|\xAC"},
        {"but nothing behind the row's end", "UTF16", utf16Quotes, {{std::string("A\0B", 3)}},
         std::string("A\0B", 3)},
        {"a character the checker gives no length still moves the walk", "SCHGB2312_1T0",
         escaped("|", "\\"), {{"\x81" "a"}}, "\x81" "a"},
        {"UTF-16 marks are compared at whole code units only", "UTF16", utf16Quotes,
         {{std::string("\x41\x7C\x00\x42", 4)}}, std::string("\x41\x7C\x00\x42", 4)},
        {"a rendered number holding the delimiter is quoted where needed", "ASCII", dashQuoted,
         {integer(-5), integer(7)}, "\"-5\"-7"},
        {"or has it escaped", "ASCII", escaped("-", "\\"), {integer(-5), integer(7)}, "\\-5-7"},
        {"an indicator other than 1 is no NULL: a converted column comes out empty", "ASCII", {},
         {{integer(42).value, kInteger, 2}, {"x", kVarchar, 2}}, "|x"},
    };
    // clang-format on
    return all;
}

// A row as DC_ReadRow describes it: indicator bytes, then the columns one
// behind the other.
struct Row {
    std::string data;
    std::vector<uint32_t> offsets, lengths;
    std::vector<uint8_t> indicators;
    std::vector<int32_t> types;
    std::vector<int16_t> zeros;

    explicit Row(const std::vector<Column>& columns) {
        data.assign((columns.size() + 7) / 8, '\0');
        for (const Column& c : columns) {
            offsets.push_back(static_cast<uint32_t>(data.size()));
            lengths.push_back(static_cast<uint32_t>(c.value.size()));
            indicators.push_back(c.indicator);
            types.push_back(c.type);
            data += c.value;
        }
        zeros.assign(columns.size(), 0);
    }
    bu::rf::DelimitedRow view() const {
        return {static_cast<int32_t>(offsets.size()),
                offsets.data(),
                indicators.data(),
                lengths.data(),
                types.data(),
                zeros.data(),
                zeros.data()};
    }
};

class DelimitedRecords : public bu::test::CharsetTest {
  protected:
    void TearDown() override {
        bu::rf::releaseDelimitedBuffers();
        CharsetTest::TearDown();
    }

    void useMarks(const Marks& m) {
        marks_ = m;
        bu::rf::setDelimitedSettings({mark(marks_.delimiter), mark(marks_.open), mark(marks_.close),
                                      mark(marks_.escapeDelimiter), mark(marks_.escapeQuote),
                                      marks_.quoted, marks_.append});
    }

    // The record made of the row, or a note of the failure.
    std::string record(const Row& row) {
        bu::rf::releaseDelimitedBuffers();
        bu::rf::createConvertTable(static_cast<int32_t>(row.types.size()), row.types.data());
        pmData buffer{static_cast<uint32_t>(row.data.size()), const_cast<char*>(row.data.data())};
        if (bu::rf::createDelimitedRecord(buffer, row.view()) != 0) return "(failed)";
        return std::string(static_cast<const char*>(buffer.Data), buffer.Length);
    }

  private:
    static bu::rf::Mark mark(const std::string& s) {
        return {s.data(), static_cast<int32_t>(s.size())};
    }
    Marks marks_;
};

TEST_F(DelimitedRecords, BytesOfEachCombination) {
    for (const Case& c : cases()) {
        SCOPED_TRACE(c.what);
        pmSetCharSet(c.charset);
        useMarks(c.marks);
        EXPECT_EQ(record(Row(c.columns)), c.record);
        EXPECT_EQ(bCheckTolerant, 0);
    }
}

// The block is sized for the worst growth: every byte a close mark to
// double, or a delimiter to escape; a bigger row after a small one gets a
// bigger block. Sanitizer builds catch any write past it.
TEST_F(DelimitedRecords, TheBlockHoldsTheMostQuotesAndEscapesCanAdd) {
    useMarks(quotes(1));
    EXPECT_EQ(record(Row({{"a"}})), "\"a\"");
    EXPECT_EQ(record(Row({{std::string(3000, '"')}})), std::string(6002, '"'));
    useMarks(escaped("|", "###"));
    EXPECT_EQ(record(Row({{std::string(2000, '|')}, {"z"}})), [] {
        std::string s;
        for (int i = 0; i < 2000; ++i) s += "###|";
        return s + "|z";
    }());
    // Every one-byte column of a UTF-16 row takes up to three bytes of the
    // columns behind it.
    pmSetCharSet("UTF16");
    useMarks(Marks{utf16("|"), utf16("\""), utf16("\""), "", "", 1, 0});
    std::vector<Column> halves(2000, Column{"\xD8"});
    std::string expected;
    for (size_t i = 0; i < halves.size(); ++i) {
        const size_t taken = i + 1 == halves.size() ? 1 : std::min<size_t>(4, halves.size() - i);
        expected += utf16("\"") + std::string(taken, '\xD8') + utf16("\"");
        if (i + 1 < halves.size()) expected += utf16("|");
    }
    EXPECT_TRUE(record(Row(halves)) == expected);
}

// Texts are scanned several bytes at a time: a delimiter or a close mark
// is found at every place of a long one.
TEST_F(DelimitedRecords, AMarkIsFoundAtEveryPlaceOfALongText) {
    pmSetCharSet("ASCII");
    for (size_t at = 0; at < 20; ++at) {
        SCOPED_TRACE(at);
        std::string text(20, 'a');
        text[at] = '|';
        useMarks(quotes(2));
        EXPECT_EQ(record(Row({{text}})), '"' + text + '"');
        useMarks(escaped("|", "\\"));
        EXPECT_EQ(record(Row({{text}})), std::string(text).insert(at, "\\"));
        text[at] = '"';
        useMarks(quotes(2));
        EXPECT_EQ(record(Row({{text}})), '"' + std::string(text).insert(at, "\"") + '"');
    }
}

}  // namespace
