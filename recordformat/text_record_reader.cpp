// Text records on read (format 1): each record is handed out in place in
// the file's block, up to its end-of-record mark. The mark is learnt from
// the first record of the file (a line feed, or a carriage return and line
// feed), after any byte-order mark; with quoted delimited data a mark
// inside quotes is data. Every comparison first makes the bytes it needs
// present in the block, so records, marks and quote marks may straddle
// blocks anywhere.
#include <cstdio>
#include <cstring>

#include "charsets.h"
#include "file_settings.h"
#include "record_writeout.h"
#include "text_attr.h"

namespace {

constexpr char kFn[] = "pmrwfmtRtext";
constexpr int32_t kUtf16 = 2;
constexpr int32_t kUtf8 = 3;
constexpr int32_t kBigEndian = 1;
constexpr int32_t kLittleEndian = 2;
constexpr uint8_t kLineFeed = 0x0A;
constexpr uint8_t kCarriageReturn = 0x0D;
// The widest character a checker looks at.
constexpr uint32_t kWidestCharacter = 4;
constexpr uint32_t kEscapeMatchesMark = 47;
constexpr int32_t kOverflowMessage = 19469;
constexpr int32_t kOverflowInQuotesMessage = 19470;

// Where a read stands: `at` bytes behind BufferPosition. A refill moves the
// unread bytes to the block's start, so the distance stays valid.
struct Scan {
    FileInfo* file;
    uint64_t at = 0;
    bool insideQuotes = false;
    bool atColumnStart = true;
};

bool fileHasBom = false;

uint64_t available(const Scan& s) {
    return s.file->BufferEnd - s.file->BufferPosition - s.at;
}

const uint8_t* here(const Scan& s) {
    return s.file->Buffer + s.file->BufferPosition + s.at;
}

// A record longer than the block can hold: 17, said once by the walk.
uint32_t overflow(const Scan& s) {
    FileInfo* f = s.file;
    if (pm::traceAbove(1)) {
        TRCECMTLL(kFn, "offset=", s.at);
        TRCECMTLL(kFn, "FileInfo->BufferSize=", f->BufferSize);
        TRCECMTLL(kFn, "FileInfo->BufferPosition=", f->BufferPosition);
        TRCECMTI(kFn, "bInsideQuotes=", s.insideQuotes ? 1 : 0);
        trceprnt(kFn, "Not enough room in buffer for another record", "");
    }
    const int32_t values[2] = {static_cast<int32_t>(FileRecordCount + 1),
                               static_cast<int32_t>(f->BufferSize)};
    pm::publicMessage(s.insideQuotes ? kOverflowInQuotesMessage : kOverflowMessage, 2, values);
    return pmrcOverflow;
}

// Makes at least `count` bytes present from the scan's position on, reading
// more of the file while what is unread still fits the block (the buffer
// holds two blocks). Returns 0, 9 when the file ends first, 17 (not yet
// reported) when no more can be read, or the read's failure. A record
// longer than the block is refused by the walks themselves.
uint32_t need(Scan& s, uint64_t count) {
    while (available(s) < count) {
        FileInfo* f = s.file;
        if (f->BufferEnd - f->BufferPosition > f->BufferSize) return pmrcOverflow;
        const uint64_t before = f->BufferEnd - f->BufferPosition;
        uint32_t rc = pmReadn2Buf(f);
        if (rc != pmrcOK) return rc;
        // A read that brings nothing ends the file as surely as 9 does.
        if (f->BufferEnd - f->BufferPosition == before) return pmrcEOF;
    }
    return pmrcOK;
}

// Whether a mark stands at the scan's position (read on for it if needed).
bool standsHere(Scan& s, const TextAttr& mark) {
    if (mark.Length <= 0) return false;
    const auto length = static_cast<uint64_t>(mark.Length);
    return need(s, length) == pmrcOK && std::memcmp(here(s), mark.Bytes, length) == 0;
}

uint32_t deliver(FileInfo* file, pmRecord* record, uint64_t length) {
    auto* data = file->Buffer + file->BufferPosition;
    record->Data = data;
    record->Length = static_cast<uint32_t>(length);
    file->BufferPosition += length + file->EORLength;
    if (file->BufferPosition > file->BufferEnd) file->BufferPosition = file->BufferEnd;
    data[length] = 0;
    if (pm::traceAbove(4)) {
        trceprnt(kFn, "user_buffer->Data contents", "");
        pm::dump(data, static_cast<uint32_t>(length));
    }
    if (length == 0 && file->bAtStart == 1 && fileHasBom) {
        if (pm::traceAbove(1)) {
            trceprnt(kFn, "WARNING! File contains BOM only", "");
            trceprnt(kFn, "WARNING! Returning EOF", "");
        }
        return pmrcEOF;
    }
    return pmrcOK;
}

uint32_t nothing(pmRecord* record, uint32_t rc) {
    record->Data = nullptr;
    record->Length = 0;
    return rc;
}

// --- byte-order mark ---------------------------------------------------

enum class Bom { None, Utf8, Utf16Big, Utf16Little, Utf32 };

Bom leadingMark(const uint8_t* b, uint64_t n) {
    if (n < 2) {
        if (pm::traceAbove(1)) {
            trceprnt(kFn, "Buffer is too small to allow for any UTF control bytes", "");
        }
        return Bom::None;
    }
    if (pm::traceAbove(2)) {
        trceprnt(kFn, "BOF: Checking file UTF control bytes", "");
        trceprnt(kFn, "File leading bytes:", "");
        pm::dump(b, static_cast<uint32_t>(n < 4 ? n : 4));
    }
    const char* what = nullptr;
    Bom found = Bom::None;
    int32_t width = 0;
    if (b[0] == 0xFE && b[1] == 0xFF) {
        found = Bom::Utf16Big, width = 2, what = "UTF16 big-endian BOM";
    } else if (b[0] == 0xFF && b[1] == 0xFE) {
        found = Bom::Utf16Little, width = 2, what = "UTF16 little-endian BOM";
    } else if (n >= 3 && b[0] == 0xEF && b[1] == 0xBB && b[2] == 0xBF) {
        found = Bom::Utf8, width = 3, what = "UTF8 indicator bytes";
    } else if (n >= 4 && b[0] == 0 && b[1] == 0 && b[2] == 0xFE && b[3] == 0xFF) {
        found = Bom::Utf32, width = 4, what = "UTF32 big-endian BOM";
    }
    if (found == Bom::None) {
        if (pm::traceAbove(1)) trceprnt(kFn, "No UTF control bytes found", "");
    } else if (pm::traceAbove(1)) {
        char line[64];
        std::snprintf(line, sizeof line, "%d byte %s found", width, what);
        trceprnt(kFn, line, "");
    }
    return found;
}

uint32_t conflict(const char* found, const char* reason, uint32_t rc) {
    if (pm::traceAbove(1)) {
        char line[160];
        std::snprintf(line, sizeof line, "Input data indicates input is %s. %s", found, reason);
        trceprnt(kFn, line, "");
    }
    return rc;
}

// Bytes of a byte-order mark to step over at the file's start, or the
// conflict of a mark with the job's character set or the platform.
uint32_t markToSkip(FileInfo* file, uint64_t* skip) {
    *skip = 0;
    fileHasBom = false;
    if (SG_UTF_CharsetNum != kUtf16 && SG_UTF_CharsetNum != kUtf8) {
        if (pm::traceAbove(3)) {
            trceprnt(kFn, "Neither UTF8 nor UTF16 character set requested, bypassing BOM check",
                     "");
        }
        return pmrcOK;
    }
    const uint8_t* b = file->Buffer + file->BufferPosition;
    const Bom bom = leadingMark(b, file->BufferEnd - file->BufferPosition);
    fileHasBom = bom != Bom::None;
    const bool utf16 = SG_UTF_CharsetNum == kUtf16;
    switch (bom) {
        case Bom::None:
            return pmrcOK;
        case Bom::Utf32:
            return conflict("UTF32", "This convention is not supported.", pmrcCharsetBOM);
        case Bom::Utf8:
            if (utf16) {
                return conflict("UTF8", "This conflicts with requested attribute UTF16.",
                                pmrcCharsetBOM);
            }
            *skip = 3;
            return pmrcOK;
        case Bom::Utf16Little:
        case Bom::Utf16Big:
            if (!utf16) {
                return conflict("UTF16", "This conflicts with requested attribute UTF8.",
                                pmrcCharsetBOM);
            }
            if ((bom == Bom::Utf16Little) != (file->ByteOrder == kLittleEndian)) {
                return conflict(bom == Bom::Utf16Little ? "LITTLE_ENDIAN" : "BIG_ENDIAN",
                                "This conflicts with platform characteristics.", pmrcEndianBOM);
            }
            *skip = 2;
            return pmrcOK;
    }
    return pmrcOK;
}

// --- quotes --------------------------------------------------------------

bool quoting() {
    return bQuotedData != 0 && OpenQuoteMark.Length > 0;
}

// Inside quotes: an escape takes the escape or close mark behind it along,
// a doubled close mark is data, a single one ends the quotes. Returns
// whether the scan stood on one of them (and stepped over it).
bool stepInsideQuotes(Scan& s) {
    s.atColumnStart = false;
    if (standsHere(s, EscapeQuoteCharacter)) {
        s.at += static_cast<uint64_t>(EscapeQuoteCharacter.Length);
        if (standsHere(s, EscapeQuoteCharacter)) {
            s.at += static_cast<uint64_t>(EscapeQuoteCharacter.Length);
        } else if (standsHere(s, CloseQuoteMark)) {
            s.at += static_cast<uint64_t>(CloseQuoteMark.Length);
        }
        return true;
    }
    if (!standsHere(s, CloseQuoteMark)) return false;
    s.at += static_cast<uint64_t>(CloseQuoteMark.Length);
    s.insideQuotes = false;
    if (standsHere(s, CloseQuoteMark)) {
        s.at += static_cast<uint64_t>(CloseQuoteMark.Length);
        s.insideQuotes = true;
    }
    return true;
}

// An open mark starts quotes at a column's start only: the record's first
// byte, or right behind a delimiter. The first record's walk doesn't ask.
bool opensQuotes(Scan& s, bool anywhere) {
    if (!standsHere(s, OpenQuoteMark)) return false;
    if (!anywhere && !s.atColumnStart) {
        const auto delimiter = static_cast<uint64_t>(TextDelimiter.Length);
        if (delimiter == 0 || s.at < delimiter ||
            std::memcmp(here(s) - delimiter, TextDelimiter.Bytes, delimiter) != 0) {
            return false;
        }
    }
    s.insideQuotes = true;
    s.atColumnStart = false;
    s.at += static_cast<uint64_t>(OpenQuoteMark.Length);
    return true;
}

// "EscapeRecordDelimiter" right before a mark makes the mark data.
bool escapedMark(const Scan& s, uint64_t markStart) {
    const auto length =
        static_cast<uint64_t>(EscapeRecDelim.Length > 0 ? EscapeRecDelim.Length : 0);
    if (length == 0 || markStart < length) return false;
    const uint8_t* start = s.file->Buffer + s.file->BufferPosition;
    return std::memcmp(start + markStart - length, EscapeRecDelim.Bytes, length) == 0;
}

// --- the first record: learning the mark --------------------------------

bool isLineFeed(const uint8_t* c, int32_t length, bool utf16, bool little) {
    if (!utf16) return length == 1 && c[0] == kLineFeed;
    return length == 2 && c[little ? 0 : 1] == kLineFeed && c[little ? 1 : 0] == 0;
}

bool isCarriageReturn(const uint8_t* c, int32_t length, bool utf16, bool little) {
    if (!utf16) return length == 1 && c[0] == kCarriageReturn;
    return length == 2 && c[little ? 0 : 1] == kCarriageReturn && c[little ? 1 : 0] == 0;
}

// The bytes of the character at the scan's position, by the character set's
// checker (which accepts anything while the mark is being learnt); at least
// one, and never more than the file holds.
uint64_t characterLength(Scan& s) {
    (void)need(s, kWidestCharacter);  // a last character may be shorter
    int32_t length = 0;
    (void)dcCheckNextChar(reinterpret_cast<const char*>(here(s)), static_cast<uint32_t>(s.at),
                          &length);
    const uint64_t bytes = length > 0 ? static_cast<uint64_t>(length) : 1;
    return bytes < available(s) ? bytes : available(s);
}

uint32_t escapeIsTheMark(const uint8_t* mark, uint64_t length) {
    if (DC_TraceLvl > 4) {
        char line[160];
        std::snprintf(line, sizeof line, "Error: EscapeRecordDelimiter matches the EOR marker (%s)",
                      pHEXvalue(mark, static_cast<int32_t>(length)));
        trceprnt(kFn, line, "");
    }
    return kEscapeMatchesMark;
}

// The end of the file before any mark: the bytes walked are the record
// only where the job accepts the end of the file as its end.
uint32_t noMarkFound(FileInfo* file, pmRecord* record, uint64_t walked) {
    if (DC_TraceLvl >= 2) trceprnt(kFn, "!ERROR! Could not find a valid EOR", "");
    if (!bAcceptEOFasEOR) return nothing(record, pmrcNoEOR);
    record->Data = file->Buffer + file->BufferPosition;
    record->Length = static_cast<uint32_t>(walked);
    file->BufferPosition += walked;
    return pmrcNoEOR;
}

uint32_t defineEndOfRecord(FileInfo* file, pmRecord* record) {
    if (file->BufferEnd == 0) {
        uint32_t rc = pmReadn2Buf(file);
        if (rc != pmrcOK) return nothing(record, rc);
    }
    if (file->bAtStart == 1) {
        // A mark has up to 4 bytes; a short first read mustn't hide it.
        Scan start{file};
        (void)need(start, 4);
        uint64_t skip = 0;
        uint32_t rc = markToSkip(file, &skip);
        if (rc != pmrcOK) return nothing(record, rc);
        file->BufferPosition += skip;
        if (file->BufferPosition == file->BufferEnd) {
            rc = pmReadn2Buf(file);
            if (rc != pmrcOK) return nothing(record, rc);
        }
    }
    bCheckTolerant = 1;
    if (pm::traceAbove(2)) {
        char line[64];
        std::snprintf(line, sizeof line, "x'%02x' or x'%02x%02x'", kLineFeed, kCarriageReturn,
                      kLineFeed);
        trceprnt(kFn, "Searching for ", line);
    }
    const bool utf16 = SG_UTF_CharsetNum == kUtf16;
    const bool little = file->ByteOrder != kBigEndian;
    Scan s{file};
    bool previousWasCr = false;
    uint64_t previousAt = 0;
    uint32_t rc = pmrcOK;
    while (file->EORLength == 0) {
        rc = s.at > file->BufferSize ? uint32_t{pmrcOverflow} : need(s, 1);
        if (rc != pmrcOK) break;
        if (quoting() && (s.insideQuotes || opensQuotes(s, true))) {
            if (s.insideQuotes && !stepInsideQuotes(s)) s.at += characterLength(s);
            previousWasCr = false;
            continue;
        }
        const int32_t length = static_cast<int32_t>(characterLength(s));
        const uint8_t* c = here(s);
        if (!isLineFeed(c, length, utf16, little)) {
            previousWasCr = isCarriageReturn(c, length, utf16, little);
            previousAt = s.at;
            s.at += static_cast<uint64_t>(length);
            continue;
        }
        const uint64_t markStart = previousWasCr ? previousAt : s.at;
        const uint64_t markLength = s.at + static_cast<uint64_t>(length) - markStart;
        const uint8_t* mark = file->Buffer + file->BufferPosition + markStart;
        if (EscapeRecDelim.Length > 0) {
            if (static_cast<uint64_t>(EscapeRecDelim.Length) == markLength &&
                std::memcmp(EscapeRecDelim.Bytes, mark, markLength) == 0) {
                bCheckTolerant = 0;
                return nothing(record, escapeIsTheMark(mark, markLength));
            }
            if (escapedMark(s, markStart)) {
                previousWasCr = false;
                s.at += static_cast<uint64_t>(length);
                continue;
            }
        }
        std::memcpy(file->EOR, mark, markLength);
        file->EORLength = static_cast<uint16_t>(markLength);
        s.at = markStart;
    }
    bCheckTolerant = 0;
    if (file->EORLength != 0) {
        if (pm::traceAbove(2)) {
            trceprnt(kFn, "valid EOR found:", "");
            pm::dump(file->EOR, file->EORLength);
        }
        return deliver(file, record, s.at);
    }
    if (rc == pmrcEOF) return noMarkFound(file, record, s.at);
    return nothing(record, rc == pmrcOverflow ? overflow(s) : rc);
}

// --- later records: searching for the mark ------------------------------

// The file ended inside a record: nothing pending is the end; a last record
// without its mark counts where the job accepts that.
uint32_t endOfFile(FileInfo* file, pmRecord* record, uint64_t pending) {
    if (pending == 0) return nothing(record, pmrcEOF);
    if (!bAcceptEOFasEOR) {
        if (pm::traceAbove(1)) trceprnt(kFn, "!ERROR! returning 'pmrcNoEOR'", "");
        return nothing(record, pmrcNoEOR);
    }
    if (DC_TraceLvl >= 2) trceprnt(kFn, "WARNING! EOF interpreted as EOR", "");
    const uint64_t length = file->BufferEnd - file->BufferPosition;
    record->Data = file->Buffer + file->BufferPosition;
    record->Length = static_cast<uint32_t>(length);
    file->BufferPosition = file->BufferEnd;
    return pmrcOK;
}

uint32_t searchRecord(FileInfo* file, pmRecord* record) {
    // In big-endian UTF16 the byte to look for is the mark's second; the
    // mark then starts one byte before it.
    const bool stepBack = SG_UTF_CharsetNum == kUtf16 && file->ByteOrder == kBigEndian;
    const uint8_t target = file->EOR[stepBack ? 1 : 0];
    const uint64_t lookahead = file->EORLength - (stepBack ? 1 : 0);
    Scan s{file};
    for (;;) {
        uint32_t rc = s.at > file->BufferSize ? uint32_t{pmrcOverflow} : need(s, lookahead);
        if (rc == pmrcEOF) return endOfFile(file, record, s.at);
        if (rc != pmrcOK) return nothing(record, rc == pmrcOverflow ? overflow(s) : rc);
        if (quoting()) {
            if (s.insideQuotes) {
                if (!stepInsideQuotes(s)) s.at += 1;
                continue;
            }
            if (opensQuotes(s, false)) continue;
        }
        s.atColumnStart = false;
        if (*here(s) == target && (!stepBack || s.at > 0)) {
            const uint64_t markStart = s.at - (stepBack ? 1 : 0);
            const uint8_t* mark = file->Buffer + file->BufferPosition + markStart;
            if (std::memcmp(mark, file->EOR, file->EORLength) == 0) {
                if (!escapedMark(s, markStart)) return deliver(file, record, markStart);
                s.at = markStart + file->EORLength;
                continue;
            }
        }
        s.at += 1;
    }
}

}  // namespace

extern "C" uint32_t pmrwfmtRtext(FileInfo* File, pmRecord* UserBuffer) noexcept {
    bCheckTolerant = 0;
    if (File->EORLength == 0) return defineEndOfRecord(File, UserBuffer);
    return searchRecord(File, UserBuffer);
}
