/*
 * delimited_parse_machine.h - the parsing machine every loop of the parser
 * is made from. A Shape says what a loop walks by (bytes or characters),
 * how it compares each kind of mark (not at all, as one byte, as a string),
 * how it trims, and which of the loops' own rules it follows; `if
 * constexpr` leaves out of each loop what its shape excludes, so a byte
 * walk makes no call per byte and keeps no table of character lengths.
 * The shapes themselves are in delimited_parse_loops.cpp.
 */
#ifndef BU_RECORDFORMAT_DELIMITED_PARSE_MACHINE_H
#define BU_RECORDFORMAT_DELIMITED_PARSE_MACHINE_H

#include <cstdint>
#include <cstring>

#include "charsets.h"
#include "dc_messages.h"
#include "delimited_parser.h"
#include "file_path_globals.h"

namespace bu::rf::parse {

enum class Walk : uint8_t { Byte, Character };
enum class Form : uint8_t { None, OneByte, String };

// The loops' own rules, where they part from the general machine.
enum class Rule : uint8_t {
    None,
    // Leave the walk once the schema's last column is closed by a
    // delimiter; anything left is counted as excess columns, or ignored
    // when columns may be cut.
    StopAtLastColumn,
    // A record ending in a delimiter, short of columns that may be missing
    // and can't be NULL: the last delimiter is walked again until the
    // schema's columns are there, as empty ones.
    WalkLastDelimiterAgain,
};

struct Shape {
    Walk walk;
    Form delimiter;
    Form delimiterEscape;
    Form quotes;  // open and close marks and the quote escape
    Form trim;
    Rule rule = Rule::None;
    // The character lengths are kept only when a long column may be cut,
    // the one use a loop without trimming has for them.
    bool lengthsOnlyToCut = false;
};

// The widest character any checker reports.
inline constexpr uint32_t kWidestCharacter = 4;
// The most bytes a mark holds.
inline constexpr int32_t kLongestMark = 100;

// A mark compared in the form of a shape; `at` and `cutAt` never look
// behind `end`.
template <Form F>
class MarkAt;

template <>
class MarkAt<Form::None> {
  public:
    MarkAt(const Mark&, uint8_t) noexcept {}
    static constexpr uint32_t size() noexcept { return 0; }
    static constexpr bool at(const uint8_t*, const uint8_t*) noexcept { return false; }
    static constexpr bool cutAt(const uint8_t*, const uint8_t*) noexcept { return false; }
};

template <>
class MarkAt<Form::OneByte> {
  public:
    MarkAt(const Mark& mark, uint8_t byte) noexcept : byte_(byte), size_(mark.length > 0 ? 1 : 0) {}
    uint32_t size() const noexcept { return size_; }
    bool at(const uint8_t* p, const uint8_t* end) const noexcept {
        return size_ != 0 && p < end && *p == byte_;
    }
    static constexpr bool cutAt(const uint8_t*, const uint8_t*) noexcept { return false; }

  private:
    uint8_t byte_;
    uint32_t size_;
};

template <>
class MarkAt<Form::String> {
  public:
    MarkAt(const Mark& mark, uint8_t) noexcept
        : bytes_(reinterpret_cast<const uint8_t*>(mark.bytes)),
          size_(mark.length <= 0 || mark.bytes == nullptr
                    ? 0
                    : static_cast<uint32_t>(mark.length > kLongestMark ? kLongestMark
                                                                       : mark.length)) {}
    uint32_t size() const noexcept { return size_; }
    bool at(const uint8_t* p, const uint8_t* end) const noexcept {
        return size_ != 0 && end - p >= static_cast<ptrdiff_t>(size_) &&
               std::memcmp(p, bytes_, size_) == 0;
    }
    // The record ends inside the mark: what is left is its beginning.
    bool cutAt(const uint8_t* p, const uint8_t* end) const noexcept {
        const ptrdiff_t left = end - p;
        return left > 0 && left < static_cast<ptrdiff_t>(size_) &&
               std::memcmp(p, bytes_, static_cast<size_t>(left)) == 0;
    }

  private:
    const uint8_t* bytes_;
    uint32_t size_;
};

template <Shape S>
class Machine {
    static constexpr bool kCharacters = S.walk == Walk::Character;
    static constexpr bool kQuotes = S.quotes != Form::None;

  public:
    Machine(const ParseSettings& settings, const ParseColumns& columns, const ParseWork& work,
            uint8_t* record, uint32_t length) noexcept
        : settings_(settings),
          columns_(columns),
          work_(work),
          record_(record),
          length_(length),
          end_(length),
          delimiter_(settings.delimiter, settings.delimiterByte),
          escapeDelimiter_(settings.escapeDelimiter, settings.escapeDelimiterByte),
          open_(settings.openQuote, settings.openQuoteByte),
          close_(settings.closeQuote, settings.closeQuoteByte),
          escapeQuote_(settings.escapeQuote, settings.escapeQuoteByte),
          keepLengths_(kCharacters && (!S.lengthsOnlyToCut || settings.truncate)),
          escapeQuoteIsData_(sameMark(settings.escapeQuote, settings.escapeDelimiter)) {}

    ParseResult run() noexcept {
        fourByteUTF = 0;
        while (position_ < end_) {
            unquoted_ = true;
            uint32_t length = 0;
            if (characterAt(length) != 0) return result_;
            int32_t rc;
            if (open_.at(here(), stop())) {
                unquoted_ = false;
                position_ += open_.size();
                rc = quotedField();
            } else if (settings_.quotedData == 1 && !delimiter_.at(here(), stop())) {
                rc = fail(kParseNoOpenQuote, column_ + 1);
            } else {
                rc = unquotedField(length);
            }
            if (rc != 0) return result_;
            if constexpr (S.rule == Rule::StopAtLastColumn) {
                if (leftTheWalk_) return finish();
            }
        }
        if (endOfRecord() != 0) return result_;
        if (firstBadCharacterColumn_ != 0) {
            fail(kParseBadCharacter, firstBadCharacterColumn_);
            return result_;
        }
        return finish();
    }

  private:
    uint8_t* here() const noexcept { return record_ + position_; }
    const uint8_t* stop() const noexcept { return record_ + end_; }

    static bool sameMark(const Mark& a, const Mark& b) noexcept {
        return a.length > 0 && a.length == b.length &&
               std::memcmp(a.bytes, b.bytes, static_cast<size_t>(a.length)) == 0;
    }

    int32_t fail(int32_t error, int32_t column) noexcept {
        result_.error = error;
        result_.errorColumn = column;
        return error;
    }

    // The length of the character at the position (1 in a byte walk), or
    // the error of a character no column can hold.
    int32_t characterAt(uint32_t& length) noexcept {
        if constexpr (!kCharacters) {
            length = 1;
            return 0;
        } else {
            const uint32_t left = end_ - position_;
            int32_t found = 0;
            int32_t errorColumn = 0;
            int32_t rc;
            if (left >= kWidestCharacter) {
                rc = charsets::checkParsedCharacter(reinterpret_cast<const char*>(here()),
                                                    position_, &found, &errorColumn, column_);
            } else {
                // The checker reads a few bytes on: near the record's end it
                // reads a copy that ends in zero bytes instead.
                char tail[kWidestCharacter + 1] = {};
                std::memcpy(tail, here(), left);
                rc = charsets::checkParsedCharacter(tail, position_, &found, &errorColumn, column_);
            }
            if (rc != 0) return fail(kParseBadCharacter, errorColumn);
            if (static_cast<uint32_t>(found) > left) return fail(kParseBadCharacter, column_ + 1);
            if (fourByteUTF) {
                if (!settings_.keepsBadRecords) return fail(kParseBadCharacter, column_ + 1);
                if (firstBadCharacterColumn_ == 0) firstBadCharacterColumn_ = column_ + 1;
            }
            length = static_cast<uint32_t>(found);
            return 0;
        }
    }

    void takeData(uint32_t length) noexcept {
        columnLength_ += length;
        position_ += length;
        if (keepLengths_) work_.characterLengths[characterCount_++] = length;
    }

    // Moves the rest of the record left over `count` bytes at the position.
    void removeHere(uint32_t count) noexcept {
        std::memmove(here(), here() + count, end_ - position_ - count);
        end_ -= count;
        record_[end_] = 0;
    }

    // "EscapeRecordDelimiter" directly in front of the record's own end
    // mark: the escape goes, and the mark stays as data.
    bool removeEscapedRecordEnd() noexcept {
        const Mark& escape = settings_.escapeRecordEnd;
        const Mark& mark = settings_.recordEnd;
        if (escape.length <= 0 || mark.length <= 0) return false;
        const auto escapeSize = static_cast<uint32_t>(escape.length);
        const auto markSize = static_cast<uint32_t>(mark.length);
        if (end_ - position_ < escapeSize + markSize) return false;
        if (std::memcmp(here(), escape.bytes, escapeSize) != 0 ||
            std::memcmp(here() + escapeSize, mark.bytes, markSize) != 0) {
            return false;
        }
        removeHere(escapeSize);
        return true;
    }

    int32_t quotedField() noexcept {
        while (position_ < end_) {
            uint32_t length = 0;
            if (characterAt(length) != 0) return result_.error;
            if (escapeQuote_.at(here(), stop())) {
                const int32_t rc = escapedInQuotes();
                if (rc != 0) return rc;
                continue;
            }
            if (!close_.at(here(), stop())) {
                takeData(length);
                continue;
            }
            const uint32_t closeSize = close_.size();
            if (end_ - position_ >= 2 * closeSize && close_.at(here() + closeSize, stop())) {
                removeHere(closeSize);  // a doubled close mark is one mark of data
                takeData(closeSize);
                continue;
            }
            const uint8_t* next = here() + closeSize;
            if (next != stop() && !delimiter_.at(next, stop())) {
                return fail(kParseNoDelimiterAfterQuote, column_ + 1);
            }
            ++column_;
            if (column_ <= columns_.count) {
                const int32_t rc = closeColumn(columnStart_ + open_.size());
                if (rc != 0) return rc;
            }
            position_ = next == stop() ? end_ : position_ + closeSize + delimiter_.size();
            startColumn();
            return 0;
        }
        return 0;  // never closed: the end of the record closes it
    }

    // An escape quote mark inside quotes, at the position.
    int32_t escapedInQuotes() noexcept {
        const uint32_t size = escapeQuote_.size();
        const uint8_t* next = here() + size;
        uint32_t mark = 0;
        if (close_.at(next, stop())) {
            mark = close_.size();
        } else if (open_.at(next, stop())) {
            mark = open_.size();
        } else if (escapeQuote_.at(next, stop())) {
            mark = size;
        }
        if (mark != 0) {
            removeHere(size);
            takeData(mark);
            return 0;
        }
        if (close_.cutAt(next, stop()) || open_.cutAt(next, stop()) ||
            escapeQuote_.cutAt(next, stop()) || !escapeQuoteIsData_) {
            return fail(kParseBadQuoteEscape, column_ + 1);
        }
        // The same mark escapes delimiters: here it is plain data, which the
        // character table doesn't count.
        columnLength_ += size;
        position_ += size;
        return 0;
    }

    int32_t unquotedField(uint32_t length) noexcept {
        for (;;) {
            if (escapeDelimiter_.at(here(), stop())) {
                const uint8_t* next = here() + escapeDelimiter_.size();
                if (delimiter_.at(next, stop())) {
                    removeHere(escapeDelimiter_.size());
                    takeData(delimiter_.size());
                    if (position_ >= end_) return 0;
                    if (characterAt(length) != 0) return result_.error;
                    continue;
                }
                if (delimiter_.cutAt(next, stop())) {
                    return fail(kParseBadDelimiterEscape, column_ + 1);
                }
            }
            if (delimiter_.at(here(), stop())) return closeAtDelimiter();
            if (removeEscapedRecordEnd()) {
                // A byte walk steps over the mark's bytes as they come.
                if constexpr (kCharacters)
                    takeData(static_cast<uint32_t>(settings_.recordEnd.length));
            } else {
                takeData(length);
            }
            if (position_ >= end_) return 0;
            if (characterAt(length) != 0) return result_.error;
        }
    }

    int32_t closeAtDelimiter() noexcept {
        ++column_;
        if (column_ <= columns_.count) {
            const int32_t rc = closeColumn(columnStart_);
            if (rc != 0) return rc;
        }
        position_ += delimiter_.size();
        startColumn();
        if constexpr (S.rule == Rule::WalkLastDelimiterAgain) {
            if (position_ == end_ && settings_.acceptMissing && !settings_.nullColumns &&
                column_ + 1 < columns_.count) {
                position_ -= delimiter_.size();
            }
        }
        if constexpr (S.rule == Rule::StopAtLastColumn) {
            if (column_ >= columns_.count) leaveTheWalk();
        }
        return 0;
    }

    void startColumn() noexcept {
        columnStart_ = position_;
        columnLength_ = 0;
        characterCount_ = 0;
    }

    void leaveTheWalk() noexcept {
        leftTheWalk_ = true;
        if (position_ >= end_ || settings_.truncate) return;
        int32_t delimiters = 0;
        for (uint32_t at = position_; at < end_;) {
            if (delimiter_.at(record_ + at, stop())) {
                ++delimiters;
                at += delimiter_.size();
            } else {
                ++at;
            }
        }
        column_ += delimiters + 1;
    }

    int32_t endOfRecord() noexcept {
        if constexpr (S.rule == Rule::StopAtLastColumn) {
            if (column_ >= columns_.count) return 0;
            ++column_;
            return closeColumn(columnStart_);
        } else {
            if (columnLength_ == 0) {
                if (column_ + 1 != columns_.count) return 0;
                ++column_;
                return closeColumn(columnStart_);
            }
            ++column_;
            return column_ <= columns_.count ? closeColumn(columnStart_) : 0;
        }
    }

    int32_t closeColumn(uint32_t offset) noexcept {
        uint32_t firstCharacter = 0;
        trim(offset, firstCharacter);
        const int32_t rc = setOffsetLen(offset, firstCharacter);
        if (rc != 0) return rc;
        result_.dataBytes += columnLength_;
        columnLength_ = 0;
        characterCount_ = 0;
        return 0;
    }

    // --- trimming ---------------------------------------------------------

    void trim(uint32_t& offset, uint32_t& firstCharacter) noexcept {
        if constexpr (S.trim == Form::OneByte) {
            trimOneByte(offset);
        } else if constexpr (S.trim == Form::String && !kCharacters) {
            trimByMarkLength(offset);
        } else if constexpr (S.trim == Form::String) {
            trimByCharacters(offset, firstCharacter);
        }
    }

    // A count of units to drop: at least 1, and when it isn't below the
    // units there are, all of them.
    static bool emptiesColumn(int32_t count, uint32_t units) noexcept {
        return count != 0 && static_cast<int64_t>(count) >= static_cast<int64_t>(units);
    }

    void trimOneByte(uint32_t& offset) noexcept {
        const uint8_t lead = settings_.trimLeadingByte;
        const uint8_t trail = settings_.trimTrailingByte;
        if (settings_.trimLeading.length > 0 && columnLength_ != 0 && record_[offset] == lead) {
            while (columnLength_ != 0 && record_[offset] == lead) ++offset, --columnLength_;
        } else if (emptiesColumn(settings_.trimLeadingCount, columnLength_)) {
            columnLength_ = 0;
        } else if (settings_.trimLeadingCount >= 1) {
            offset += static_cast<uint32_t>(settings_.trimLeadingCount);
            columnLength_ -= static_cast<uint32_t>(settings_.trimLeadingCount);
        }
        if (settings_.trimTrailing.length > 0 && columnLength_ != 0 &&
            record_[offset + columnLength_ - 1] == trail) {
            while (columnLength_ != 0 && record_[offset + columnLength_ - 1] == trail) {
                --columnLength_;
            }
        } else if (emptiesColumn(settings_.trimTrailingCount, columnLength_)) {
            columnLength_ = 0;
        } else if (settings_.trimTrailingCount >= 1) {
            columnLength_ -= static_cast<uint32_t>(settings_.trimTrailingCount);
        }
    }

    // A byte walk knows no characters: a trim mark is dropped by its own
    // length, and a count counts bytes.
    void trimByMarkLength(uint32_t& offset) noexcept {
        const Mark& lead = settings_.trimLeading;
        const Mark& trail = settings_.trimTrailing;
        if (lead.length > 0) {
            const auto size = static_cast<uint32_t>(lead.length);
            while (columnLength_ >= size && columnLength_ != 0 &&
                   std::memcmp(record_ + offset, lead.bytes, size) == 0) {
                offset += size;
                columnLength_ -= size;
            }
        } else if (emptiesColumn(settings_.trimLeadingCount, columnLength_)) {
            columnLength_ = 0;
        } else if (settings_.trimLeadingCount >= 1) {
            offset += static_cast<uint32_t>(settings_.trimLeadingCount);
            columnLength_ -= static_cast<uint32_t>(settings_.trimLeadingCount);
        }
        if (trail.length > 0) {
            const auto size = static_cast<uint32_t>(trail.length);
            while (columnLength_ >= size && columnLength_ != 0 &&
                   std::memcmp(record_ + offset + columnLength_ - size, trail.bytes, size) == 0) {
                columnLength_ -= size;
            }
        } else if (emptiesColumn(settings_.trimTrailingCount, columnLength_)) {
            columnLength_ = 0;
        } else if (settings_.trimTrailingCount >= 1) {
            columnLength_ -= static_cast<uint32_t>(settings_.trimTrailingCount);
        }
    }

    // Whether `mark` stands at `offset` of the record (compared over the
    // mark's whole length, within the record).
    bool markAt(uint32_t offset, const Mark& mark) const noexcept {
        const auto size = static_cast<uint32_t>(mark.length);
        return offset <= end_ && end_ - offset >= size &&
               std::memcmp(record_ + offset, mark.bytes, size) == 0;
    }

    // The general machine compares the trim mark over its own length, but
    // drops one character at a time, as the character table has them.
    void trimByCharacters(uint32_t& offset, uint32_t& firstCharacter) noexcept {
        const uint32_t* lengths = work_.characterLengths;
        if (settings_.trimLeading.length > 0) {
            while (columnLength_ != 0 && firstCharacter < characterCount_ &&
                   markAt(offset, settings_.trimLeading)) {
                const uint32_t size = lengths[firstCharacter];
                if (size == 0 || size > columnLength_) break;
                offset += size;
                columnLength_ -= size;
                ++firstCharacter;
            }
        } else if (emptiesColumn(settings_.trimLeadingCount, characterCount_)) {
            columnLength_ = 0;
            firstCharacter = characterCount_;
        } else if (settings_.trimLeadingCount >= 1) {
            const auto count = static_cast<uint32_t>(settings_.trimLeadingCount);
            for (; firstCharacter < count && lengths[firstCharacter] <= columnLength_;
                 ++firstCharacter) {
                offset += lengths[firstCharacter];
                columnLength_ -= lengths[firstCharacter];
            }
        }
        uint32_t last = characterCount_;
        if (settings_.trimTrailing.length > 0) {
            while (columnLength_ != 0 && last > firstCharacter) {
                const uint32_t size = lengths[last - 1];
                if (size == 0 || size > columnLength_ ||
                    !markAt(offset + columnLength_ - size, settings_.trimTrailing)) {
                    break;
                }
                columnLength_ -= size;
                --last;
            }
        } else if (emptiesColumn(settings_.trimTrailingCount, characterCount_)) {
            columnLength_ = 0;
        } else if (settings_.trimTrailingCount >= 1) {
            for (int32_t dropped = 0;
                 dropped < settings_.trimTrailingCount && last > firstCharacter; ++dropped) {
                const uint32_t size = lengths[last - 1];
                if (size > columnLength_) break;
                columnLength_ -= size;
                --last;
            }
        }
    }

    // --- the column's place in the row (dcSetOffsetLen) -------------------

    int32_t setOffsetLen(uint32_t offset, uint32_t firstCharacter) noexcept {
        static const char kFn[] = "dcSetOffsetLen";
        const auto i = static_cast<size_t>(column_ - 1);
        columns_.offsets[i] = offset;
        columns_.lengths[i] = columnLength_;
        columns_.receivedLengths[i] = columnLength_;
        const uint32_t limit = columns_.maxLengths[i];
        if (limit != 0 && columnLength_ > limit) {
            if (result_.firstOverflowColumn == 0) result_.firstOverflowColumn = column_;
            if (!settings_.truncate) {
                dc::trace(1, kFn, dc::kWarning,
                          "VARCHAR field length error on record %d, column %d. Received %d "
                          "(max %d).",
                          static_cast<int32_t>(FileRecordCount + 1), column_,
                          static_cast<int32_t>(columnLength_), static_cast<int32_t>(limit));
                return fail(kParseOverflow, column_);
            }
            cutColumn(limit, firstCharacter);
        }
        columns_.indicators[i] = columnLength_ == 0 && unquoted_ && settings_.nullColumns ? 1 : 0;
        unquoted_ = true;
        return 0;
    }

    // Cuts the column to the limit; a character walk keeps whole characters.
    void cutColumn(uint32_t limit, uint32_t firstCharacter) noexcept {
        static const char kFn[] = "dcSetOffsetLen";
        const uint32_t received = columnLength_;
        if constexpr (kCharacters) {
            uint32_t kept = 0;
            for (uint32_t k = firstCharacter; k < characterCount_; ++k) {
                const uint32_t size = work_.characterLengths[k];
                if (kept + size > limit) break;
                kept += size;
            }
            columnLength_ = kept;
        } else {
            columnLength_ = limit;
        }
        dc::trace(1, kFn, dc::kInfo,
                  "VARCHAR (%s) field truncated on record %d, column %d. Received %d. Truncated "
                  "to %d.",
                  kCharacters ? "multi-byte" : "single-byte",
                  static_cast<int32_t>(FileRecordCount + 1), column_,
                  static_cast<int32_t>(received), static_cast<int32_t>(columnLength_));
        columns_.lengths[static_cast<size_t>(column_ - 1)] = columnLength_;
    }

    // --- the row --------------------------------------------------------

    // The columns' texts back to back in the target, and the count's verdict.
    ParseResult finish() noexcept {
        const int32_t kept = column_ < columns_.count ? column_ : columns_.count;
        uint32_t at = 0;
        for (int32_t i = 0; i < kept; ++i) {
            const uint32_t size = columns_.lengths[i];
            const uint32_t from = columns_.offsets[i];
            if (size != 0) {
                if (from > length_ || size > length_ - from || size > work_.targetSize - at) {
                    fail(kParseRecordTooLarge, i + 1);
                    return result_;
                }
                std::memcpy(work_.target + at, record_ + from, size);
            }
            columns_.offsets[i] = at;
            at += size;
        }
        result_.rowLength = at;
        result_.rowMade = true;
        result_.columnsFound = column_;
        if (column_ > columns_.count) {
            fail(kParseTooManyColumns, 0);
        } else if (column_ < columns_.count) {
            fail(kParseTooFewColumns, 0);
        } else if (result_.firstOverflowColumn != 0) {
            fail(kParseOverflow, result_.firstOverflowColumn);
        }
        return result_;
    }

    const ParseSettings& settings_;
    const ParseColumns& columns_;
    const ParseWork& work_;
    uint8_t* record_;
    const uint32_t length_;
    uint32_t end_;  // RecordEnd: shrinks as escapes are removed
    const MarkAt<S.delimiter> delimiter_;
    const MarkAt<S.delimiterEscape> escapeDelimiter_;
    const MarkAt<S.quotes> open_;
    const MarkAt<S.quotes> close_;
    const MarkAt<S.quotes> escapeQuote_;
    const bool keepLengths_;
    const bool escapeQuoteIsData_;

    uint32_t position_ = 0;
    uint32_t columnStart_ = 0;
    int32_t column_ = 0;  // columns closed so far
    uint32_t columnLength_ = 0;
    uint32_t characterCount_ = 0;
    bool unquoted_ = true;
    bool leftTheWalk_ = false;
    int32_t firstBadCharacterColumn_ = 0;
    ParseResult result_;
};

}  // namespace bu::rf::parse

#endif  // BU_RECORDFORMAT_DELIMITED_PARSE_MACHINE_H
