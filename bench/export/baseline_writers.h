// The baselines of the export benchmark: what a plain, well-written
// single-threaded program does with the reference table's rows, writing the
// same bytes as the operator's job, so the two can be compared byte for byte
// and by time.
#pragma once

#include <cstdint>
#include <string>

#include "reference_table.h"

namespace bench {

enum class Quoting { None, Optional };

// Delimited text, a line feed after each record: numbers by std::to_chars,
// the column texts as the operator renders them, one fwrite per MiB.
// Returns the bytes written; throws std::runtime_error when the file fails.
uint64_t writeDelimited(const ReferenceRows& rows, char delimiter, Quoting quoting,
                        const std::string& path);

enum class LengthPrefix { Binary, Formatted, Unformatted };

// Each row without its indicator bytes, behind a 2-byte length (BINARY),
// also followed by a line feed (FORMATTED), or bare (UNFORMATTED): plain
// fwrite calls into a stream with a 1 MiB buffer.
uint64_t writeLengthPrefixed(const ReferenceRows& rows, LengthPrefix form, const std::string& path);

}  // namespace bench
