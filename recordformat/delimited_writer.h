/*
 * delimited_writer.h - one row of the schema's columns, in their row form,
 * made into one delimited text record: which bytes stand in the record, and
 * in which order quotes, escapes and delimiters apply. The record ends with
 * its last column or a trailing delimiter; the end-of-record mark is the
 * text writer's business.
 */
#ifndef BU_RECORDFORMAT_DELIMITED_WRITER_H
#define BU_RECORDFORMAT_DELIMITED_WRITER_H

#include <cstdint>

#include "column_text.h"
#include "pmdcomt.h"
#include "text_attr.h"

namespace bu::rf {

// A mark of the job: its bytes, already in the record's character set.
struct Mark {
    const char* bytes = nullptr;
    int32_t length = 0;
};

// The mark a delimiter-like setting holds: none for a length of 0 or below,
// and never more than its record's bytes.
Mark markOf(const TextAttr& attr) noexcept;

// The settings of a delimited job, fixed once at its start.
struct DelimitedSettings {
    Mark delimiter;
    Mark openQuote;
    Mark closeQuote;
    Mark escapeDelimiter;  // stands before a delimiter in the data
    Mark escapeQuote;      // stands before a close mark in quoted data
    int32_t quotedData;    // 0 no, 1 every column, other: where needed
    int32_t appendDelimiter;
};

// Takes the job's settings; the marks' bytes must outlive the job.
void setDelimitedSettings(const DelimitedSettings& settings) noexcept;

// Makes the conversion table for `count` columns of these types, zeroed.
// Returns false when its memory can't be had.
bool createConvertTable(int32_t count, const int32_t* types) noexcept;

// The table, or null when the schema has nothing to convert.
ConvertRecord* convertTable() noexcept;

// One row as DC_ReadRow describes it, with the schema's forms of its columns.
struct DelimitedRow {
    int32_t columnCount;
    const uint32_t* offsets;    // from the row's start, indicator bytes included
    const uint8_t* indicators;  // 1: NULL
    const uint32_t* lengths;
    const int32_t* types;  // per schema column
    const int16_t* precisions;
    const int16_t* scales;
};

// What a record couldn't be made for.
inline constexpr int32_t kNoRecordMemory = 19;

// Replaces the row that `buffer` describes by the delimited record. Returns
// 0, kNoRecordMemory, or the non-zero code of the character walk, leaving
// `buffer` alone then.
int32_t createDelimitedRecord(pmData& buffer, const DelimitedRow& row) noexcept;

// Frees the record's block and the conversion table.
void releaseDelimitedBuffers() noexcept;

}  // namespace bu::rf

#endif  // BU_RECORDFORMAT_DELIMITED_WRITER_H
