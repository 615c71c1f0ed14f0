// Delimited records from rows. The way a record is assembled is chosen once
// per row from the job's marks: quoting, plain copies, or escaped
// delimiters. Runs of bytes that can neither start a mark nor begin a
// character of several bytes are copied in bulk; only the bytes that need
// care go through the character set's checker. The record's block is kept
// from row to row and replaced only when a row needs more.
#include "delimited_writer.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>

#include "charsets.h"
#include "dc_messages.h"

namespace {

using bu::rf::DelimitedRow;
using bu::rf::Mark;

constexpr const char* kFn = "CreateDelimitedText";

// Room beyond the computed need, which makes the bound safe to write to
// without a test per byte.
constexpr uint64_t kSpareBytes = 1000;
// What a column's last character can take from behind the column: the rest
// of a character of four bytes.
constexpr uint64_t kOverrunBytes = 3;

// What a byte may be where a character starts.
constexpr uint8_t kNeedsChecker = 1;  // part of a longer or an invalid character
constexpr uint8_t kDelimiterStart = 2;
constexpr uint8_t kCloseStart = 4;

bu::rf::DelimitedSettings settings{};
uint8_t byteKinds[256] = {};
IsMBC_t kindsChecker = nullptr;  // the checker byteKinds was made with
bool kindsMade = false;
// No character a rendered column can hold (digits, signs, points, the
// separators of dates, times and periods, the names of the values without
// digits, the zero bytes of a short fraction's pad) needs a look: such a
// column is copied without a walk through its bytes.
bool renderedTextIsPlain = false;
constexpr char kRenderedCharacters[] = "0123456789+-.e/:() ',NaIfinty";

ConvertRecord* table = nullptr;
int32_t tableColumns = 0;
int32_t tableRendered = 0;  // columns whose bConvert is set

char* target = nullptr;
uint64_t targetCapacity = 0;

// A byte needs no checker when, whatever follows it, the set calls it a
// valid character of one byte.
bool standsAlone(uint8_t lead) noexcept {
    for (int follow = 0; follow < 256; ++follow) {
        const char probe[8] = {static_cast<char>(lead), static_cast<char>(follow),
                               static_cast<char>(follow), static_cast<char>(follow)};
        int32_t length = 0;
        if (IsMBC(probe, &length) != 0 || badmbcs) return false;
    }
    return true;
}

void makeByteKinds() noexcept {
    const uint8_t bad = badmbcs;
    const uint8_t four = fourByteUTF;
    for (int b = 0; b < 256; ++b) {
        byteKinds[b] = IsMBC == nullptr || standsAlone(static_cast<uint8_t>(b)) ? 0 : kNeedsChecker;
    }
    badmbcs = bad;
    fourByteUTF = four;
    if (settings.delimiter.length > 0) {
        byteKinds[static_cast<uint8_t>(settings.delimiter.bytes[0])] |= kDelimiterStart;
    }
    if (settings.closeQuote.length > 0) {
        byteKinds[static_cast<uint8_t>(settings.closeQuote.bytes[0])] |= kCloseStart;
    }
    renderedTextIsPlain = true;
    for (char c : kRenderedCharacters) {  // the terminator stands for the zero bytes
        if (byteKinds[static_cast<uint8_t>(c)] != 0) renderedTextIsPlain = false;
    }
    kindsChecker = IsMBC;
    kindsMade = true;
}

bool matches(const char* p, uint32_t remaining, const Mark& mark) noexcept {
    return mark.length > 0 && remaining >= static_cast<uint32_t>(mark.length) &&
           std::memcmp(p, mark.bytes, static_cast<size_t>(mark.length)) == 0;
}

// Most marks and characters are one byte: no call for them.
char* putBytes(char* out, const char* bytes, size_t n) noexcept {
    if (n == 1) {
        *out = *bytes;
    } else {
        std::memcpy(out, bytes, n);
    }
    return out + n;
}

char* putMark(char* out, const Mark& mark) noexcept {
    return putBytes(out, mark.bytes, static_cast<size_t>(mark.length));
}

// The record being built: its write position, where the bytes counted for
// the column at hand begin, and the bytes that stand in the record but are
// not counted in its length. Positions rather than counters, so that a
// byte put costs one pointer step.
struct Record {
    char* const start;
    char* out = start;
    char* column = start;
    uint32_t uncounted = 0;

    void put(const char* bytes, size_t n) noexcept { out = putBytes(out, bytes, n); }
    void put(const Mark& mark) noexcept { out = putMark(out, mark); }
    uint32_t length() const noexcept { return static_cast<uint32_t>(out - start) - uncounted; }
};

// A column's text: where it is, how long, and how far memory may be read
// (the checker looks at a few bytes past a character's start).
struct Source {
    const char* data;
    uint32_t length;
    const char* readableEnd;
};

// The length of the character at `position` through the set's checker;
// invalid characters are tolerated on this path and go out unchanged. A
// character that claims no bytes takes one, so the walk always moves on. A
// character that runs past the column's end takes the bytes behind it, as
// records have always carried them, but never more than can be read.
int32_t characterLength(const Source& src, uint32_t position, uint32_t& length) noexcept {
    const char* p = src.data + position;
    const size_t readable = p < src.readableEnd ? static_cast<size_t>(src.readableEnd - p) : 0;
    int32_t claimed = 0;
    int32_t rc = 0;
    if (readable >= 8) {
        rc = dcCheckNextChar(p, position, &claimed);
    } else {
        char tail[8] = {};
        std::memcpy(tail, p, readable);
        rc = dcCheckNextChar(tail, position, &claimed);
    }
    if (rc != 0) return rc;
    const size_t limit = std::max<size_t>(readable, src.length - position);
    length = claimed < 1 ? 1 : static_cast<uint32_t>(std::min<size_t>(claimed, limit));
    return 0;
}

// Bytes from `position` on that need no look at all under `stops`. Eight
// bytes are looked up per test: in most texts no byte stops the run.
[[gnu::always_inline]] inline uint32_t plainRun(const Source& src, uint32_t position,
                                                uint8_t stops) noexcept {
    const auto* bytes = reinterpret_cast<const uint8_t*>(src.data);
    uint32_t end = position;
    for (; end + 8 <= src.length; end += 8) {
        const uint8_t kinds = byteKinds[bytes[end]] | byteKinds[bytes[end + 1]] |
                              byteKinds[bytes[end + 2]] | byteKinds[bytes[end + 3]] |
                              byteKinds[bytes[end + 4]] | byteKinds[bytes[end + 5]] |
                              byteKinds[bytes[end + 6]] | byteKinds[bytes[end + 7]];
        if ((kinds & stops) != 0) break;
    }
    while (end < src.length && (byteKinds[bytes[end]] & stops) == 0) ++end;
    return end - position;
}

// One character at `position`, copied unchanged.
int32_t copyCharacter(Record& rec, const Source& src, uint32_t& position) noexcept {
    uint32_t length = 1;
    if (byteKinds[static_cast<uint8_t>(src.data[position])] & kNeedsChecker) {
        int32_t rc = characterLength(src, position, length);
        if (rc != 0) return rc;
    }
    rec.put(src.data + position, length);
    position += length;
    return 0;
}

// A column in quotes: always with "Quoted data: Yes", else only when it
// holds the delimiter or the close mark; then what was written of it goes,
// and it starts again in quotes. An empty column is always quoted, which
// keeps it apart from NULL.
int32_t quotedColumn(Record& rec, const Source& src) noexcept {
    bool quoting = settings.quotedData == 1 || src.length == 0;
    char* const start = rec.out;
    if (quoting) rec.put(settings.openQuote);
    uint32_t position = 0;
    while (position < src.length) {
        const uint8_t stops = kNeedsChecker | kCloseStart | (quoting ? 0 : kDelimiterStart);
        const uint32_t run = plainRun(src, position, stops);
        if (run > 0) {
            rec.put(src.data + position, run);
            position += run;
            continue;
        }
        const char* p = src.data + position;
        const uint32_t remaining = src.length - position;
        if (!quoting) {
            if (matches(p, remaining, settings.delimiter) ||
                matches(p, remaining, settings.closeQuote)) {
                // ColumnLength still holds the delimiters of NULL columns just
                // before this one, so the record's length loses them too while
                // their bytes stay: the count other programs rely on.
                rec.uncounted += static_cast<uint32_t>(start - rec.column);
                rec.out = start;
                rec.column = start;
                quoting = true;
                rec.put(settings.openQuote);
                position = 0;
                continue;
            }
        } else if (matches(p, remaining, settings.closeQuote)) {
            rec.put(settings.escapeQuote.length != 0 ? settings.escapeQuote : settings.closeQuote);
            rec.put(settings.closeQuote);
            position += static_cast<uint32_t>(settings.closeQuote.length);
            continue;
        }
        int32_t rc = copyCharacter(rec, src, position);
        if (rc != 0) return rc;
    }
    if (quoting) rec.put(settings.closeQuote);
    return 0;
}

// A column whose delimiters in the data get the escape in front. An escape
// character standing in the data is left as it is.
int32_t escapedColumn(Record& rec, const Source& src) noexcept {
    uint32_t position = 0;
    while (position < src.length) {
        const uint32_t run = plainRun(src, position, kNeedsChecker | kDelimiterStart);
        if (run > 0) {
            rec.put(src.data + position, run);
            position += run;
            continue;
        }
        if (matches(src.data + position, src.length - position, settings.delimiter)) {
            rec.put(settings.escapeDelimiter);
            rec.put(settings.delimiter);
            position += static_cast<uint32_t>(settings.delimiter.length);
            continue;
        }
        int32_t rc = copyCharacter(rec, src, position);
        if (rc != 0) return rc;
    }
    return 0;
}

enum class Assembly { Quoted, Plain, Escaped };

Assembly assemblyOfJob() noexcept {
    if (settings.openQuote.length != 0 && settings.quotedData != 0) return Assembly::Quoted;
    if (settings.escapeDelimiter.length == 0) return Assembly::Plain;
    return Assembly::Escaped;
}

// The table as seen for one row: held in locals, since the bytes the row's
// text is written with could otherwise be taken for changes to it.
struct Conversions {
    ConvertRecord* records = table;
    int32_t columns = records != nullptr ? tableColumns : 0;
    int32_t rendered = records != nullptr ? tableRendered : 0;

    bool converts(int32_t i) const noexcept { return i < columns && records[i].bConvert != 0; }
};

bu::rf::TextWidth recordWidth() noexcept {
    if (SG_UTF_CharsetNum != 2) return bu::rf::TextWidth::Narrow;
    return Platform_Endian() == 2 ? bu::rf::TextWidth::Utf16Little : bu::rf::TextWidth::Utf16Big;
}

// The most text the record can take from its columns: every column's bytes
// as they stand in the row, and a whole text area for each rendered one.
// Rendered columns are written straight into the record, after the block
// is sized, so their texts can't be counted first.
uint64_t textBound(const DelimitedRow& row, const Conversions& conversions) noexcept {
    uint64_t bytes = static_cast<uint64_t>(conversions.rendered) * bu::rf::kRenderedTextCapacity;
    for (int32_t i = 0; i < row.columnCount; ++i) bytes += row.lengths[i];
    return bytes;
}

// A rendered column whose indicator is neither 0 nor 1 is not rendered.
void traceSkippedConversions(const DelimitedRow& row, const Conversions& conversions) noexcept {
    for (int32_t i = 0; i < row.columnCount; ++i) {
        if (conversions.converts(i) && row.indicators[i] != 0) {
            bu::dc::trace(4, kFn, bu::dc::kInfo, "Skip CNVT IndBytes ColCount=%d", i + 1);
        }
    }
}

// The text of rendered column `i` written at `out`; its end. An indicator
// other than 1 makes no NULL: such a column comes out empty rather than with
// a text of an earlier row.
char* renderColumn(char* out, const char* data, const DelimitedRow& row, int32_t i,
                   bu::rf::TextWidth width) noexcept {
    if (row.indicators[i] != 0) return out;
    return bu::rf::renderColumnText(out, data + row.offsets[i], row.lengths[i],
                                    {row.types[i], row.precisions[i], row.scales[i]}, width);
}

// A block for the record: its text, a delimiter per column, what quotes and
// escapes can add, and spare bytes.
bool reserveRecord(uint64_t textBytes, int32_t columnCount, Assembly assembly) noexcept {
    const uint64_t columns = columnCount > 0 ? static_cast<uint64_t>(columnCount) : 0;
    uint64_t extra = 0;
    if (assembly == Assembly::Quoted) {
        const int32_t escape = settings.escapeQuote.length != 0 ? settings.escapeQuote.length
                                                                : settings.closeQuote.length;
        extra = static_cast<uint64_t>(settings.openQuote.length + settings.closeQuote.length) *
                    columns +
                static_cast<uint64_t>(escape) * textBytes;
    } else {
        extra = static_cast<uint64_t>(settings.escapeDelimiter.length) * textBytes;
    }
    const uint64_t needed =
        textBytes + columns * (static_cast<uint64_t>(settings.delimiter.length) + kOverrunBytes) +
        kSpareBytes + extra;
    if (target != nullptr && needed <= targetCapacity) return true;
    std::free(target);
    target = needed <= UINT32_MAX ? static_cast<char*>(std::malloc(needed)) : nullptr;
    targetCapacity = target != nullptr ? needed : 0;
    if (target != nullptr) return true;
    bu::dc::traceError(kFn, "%s %s %llu bytes.", "Unable to allocate memory for delimited data",
                       "target buffer.  Memory requested", static_cast<unsigned long long>(needed));
    return false;
}

// The text of a column that goes through a walk: a rendered one is
// rendered into its conversion record first.
Source walkedSource(int32_t i, const char* data, const char* rowEnd, const DelimitedRow& row,
                    const Conversions& conversions, bu::rf::TextWidth width) noexcept {
    if (!conversions.converts(i)) return {data + row.offsets[i], row.lengths[i], rowEnd};
    ConvertRecord& record = conversions.records[i];
    record.TextLength =
        static_cast<int32_t>(renderColumn(record.Text, data, row, i, width) - record.Text);
    record.Text[record.TextLength] = '\0';
    return {record.Text, static_cast<uint32_t>(record.TextLength),
            record.Text + sizeof record.Text};
}

// Short texts are copied as one fixed-size block of 16 or 32 bytes, without
// a call: the record has kSpareBytes beyond its need, and a source is read
// that far only where it is known to be readable.
constexpr size_t kShortCopy = 16;

char* copyText(char* out, const Source& src) noexcept {
    const ptrdiff_t readable = src.readableEnd - src.data;
    if (src.length <= kShortCopy && readable >= static_cast<ptrdiff_t>(kShortCopy)) {
        std::memcpy(out, src.data, kShortCopy);
    } else if (src.length <= 2 * kShortCopy && readable >= static_cast<ptrdiff_t>(2 * kShortCopy)) {
        std::memcpy(out, src.data, 2 * kShortCopy);
    } else {
        std::memcpy(out, src.data, src.length);
    }
    return out + src.length;
}

// A record without quotes or escapes: each column's text and the
// delimiter, nothing to look at inside the text. Returns the record's end.
char* plainRecord(char* out, const char* data, const char* rowEnd, const DelimitedRow& row,
                  const Conversions& conversions, bu::rf::TextWidth width) noexcept {
    const Mark delimiter = settings.delimiter;
    const int32_t delimitedColumns =
        settings.appendDelimiter != 0 ? row.columnCount : row.columnCount - 1;
    for (int32_t i = 0; i < row.columnCount; ++i) {
        if (row.indicators[i] != 1) {
            out = conversions.converts(i)
                      ? renderColumn(out, data, row, i, width)
                      : copyText(out, {data + row.offsets[i], row.lengths[i], rowEnd});
        }
        if (i < delimitedColumns) out = putMark(out, delimiter);
    }
    return out;
}

// Where a column that needs neither quotes nor escapes ends in the record,
// written there as it is; null when it takes the walk. Unless every column
// is quoted, that is a rendered text none of whose characters needs a look
// (an empty one is left to the walk, which quotes it) and a column of the
// row in which no byte stops a plain run.
char* bareColumn(char* out, int32_t i, const char* data, const char* rowEnd,
                 const DelimitedRow& row, const Conversions& conversions, uint8_t stops,
                 bu::rf::TextWidth width) noexcept {
    if (conversions.converts(i)) {
        if (!renderedTextIsPlain) return nullptr;
        char* const end = renderColumn(out, data, row, i, width);
        return end != out ? end : nullptr;
    }
    const Source src{data + row.offsets[i], row.lengths[i], rowEnd};
    if (src.length == 0 || plainRun(src, 0, stops) != src.length) return nullptr;
    return copyText(out, src);
}

// A record with quotes or escapes, into `rec`. Returns 0 or the code of the
// character walk. The record's positions are held in locals and put into a
// Record only for a walk: kept in memory, each column's work would wait on
// the stores of the one before.
int32_t assembledRecord(Record& rec, const char* data, const char* rowEnd, const DelimitedRow& row,
                        const Conversions& conversions, Assembly assembly,
                        bu::rf::TextWidth width) noexcept {
    const bool quoted = assembly == Assembly::Quoted;
    const bool bareAllowed = !quoted || settings.quotedData != 1;
    const uint8_t stops = kNeedsChecker | kDelimiterStart | (quoted ? kCloseStart : uint8_t{0});
    const Mark delimiter = settings.delimiter;
    const int32_t delimitedColumns =
        settings.appendDelimiter != 0 ? row.columnCount : row.columnCount - 1;
    char* out = rec.out;
    char* column = rec.column;
    uint32_t uncounted = rec.uncounted;
    for (int32_t i = 0; i < row.columnCount; ++i) {
        const bool null = row.indicators[i] == 1;
        if (!null) {
            char* const end = bareAllowed
                                  ? bareColumn(out, i, data, rowEnd, row, conversions, stops, width)
                                  : nullptr;
            if (end != nullptr) {
                out = end;
            } else {
                Record walked{rec.start, out, column, uncounted};
                const Source src = walkedSource(i, data, rowEnd, row, conversions, width);
                const int32_t rc = quoted ? quotedColumn(walked, src) : escapedColumn(walked, src);
                if (rc != 0) return rc;
                out = walked.out;
                column = walked.column;
                uncounted = walked.uncounted;
            }
        }
        if (i < delimitedColumns) {
            out = putMark(out, delimiter);
            // A delimiter behind a NULL column doesn't end a counted column.
            if (!null) column = out;
        }
    }
    rec.out = out;
    rec.column = column;
    rec.uncounted = uncounted;
    return 0;
}

// Invalid characters go out unchanged while a record is made.
class Tolerance {
  public:
    Tolerance() noexcept : saved_(bCheckTolerant) { bCheckTolerant = 1; }
    ~Tolerance() { bCheckTolerant = saved_; }
    Tolerance(const Tolerance&) = delete;
    Tolerance& operator=(const Tolerance&) = delete;

  private:
    int32_t saved_;
};

}  // namespace

namespace bu::rf {

// The byte kinds wait for the first record: making them asks the checker
// about every pair of bytes, work a job that writes no delimited record
// would do for nothing.
void setDelimitedSettings(const DelimitedSettings& next) noexcept {
    settings = next;
    kindsMade = false;
}

bool createConvertTable(int32_t count, const int32_t* types) noexcept {
    std::free(table);
    tableColumns = tableRendered = 0;
    table = count > 0 ? static_cast<ConvertRecord*>(
                            std::calloc(static_cast<size_t>(count), sizeof(ConvertRecord)))
                      : nullptr;
    if (table == nullptr) return false;
    tableColumns = count;
    for (int32_t i = 0; i < count; ++i) {
        table[i].bConvert = convertsToText(types[i]) ? 1 : 0;
        tableRendered += table[i].bConvert;
    }
    return true;
}

ConvertRecord* convertTable() noexcept {
    return table;
}

int32_t createDelimitedRecord(pmData& buffer, const DelimitedRow& row) noexcept {
    Tolerance tolerance;
    if (!kindsMade || kindsChecker != IsMBC) makeByteKinds();
    const char* data = static_cast<const char*>(buffer.Data);
    const char* rowEnd = data + buffer.Length;
    const Conversions conversions;
    if (DC_TraceLvl > 4) traceSkippedConversions(row, conversions);
    const Assembly assembly = assemblyOfJob();
    if (!reserveRecord(textBound(row, conversions), row.columnCount, assembly))
        return kNoRecordMemory;

    const bu::rf::TextWidth width = recordWidth();
    Record rec{target};
    if (assembly == Assembly::Plain) {
        rec.out = plainRecord(target, data, rowEnd, row, conversions, width);
    } else if (const int32_t rc =
                   assembledRecord(rec, data, rowEnd, row, conversions, assembly, width)) {
        return rc;
    }
    buffer.Length = row.columnCount > 0 ? rec.length() : 0;
    buffer.Data = target;
    return 0;
}

void releaseDelimitedBuffers() noexcept {
    std::free(target);
    target = nullptr;
    targetCapacity = 0;
    std::free(table);
    table = nullptr;
    tableColumns = tableRendered = 0;
}

}  // namespace bu::rf
