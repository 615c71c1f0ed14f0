/*
 * delimited_export.h - delimited records in the data connector layer: the
 * set-up at schema time (the parsing case checked, the marks cached, the
 * conversion table made), the record made of each row, and the release of
 * the working buffers at the end of the job.
 */
#ifndef BU_DC_DELIMITED_EXPORT_H
#define BU_DC_DELIMITED_EXPORT_H

#include <cstdint>

#include "bu_export.h"
#include "pmdcomt.h"

extern "C" {

// The open quote mark has two bytes or more (the text reader's concern).
extern int32_t bMultiByteOpenQuote;

// The parser's blocks (producers only): the row it builds and the record as
// read. Length stays 0 until the parser fills them.
extern pmData pmBufferTarget;
BU_API pmData pmBufferOrig;
// The bytes of pmBufferTarget's block.
extern uint32_t pmBufferTargetSize;

// Checks UDDI_ParsingCase, caches the marks and, when the schema has columns
// to render, makes the conversion table. Returns 0, 4 (no memory) or 7 (a
// case no parser has).
int32_t ValidateUDDIcase(void) noexcept;

// Makes the parser's blocks for a producer with a delimiter. Returns 0 or 4.
BU_API int32_t dcCreateUDDIBuffers(void) noexcept;

// Replaces the row in pmBuffer by its delimited record. Returns 0, or
// non-zero when no record could be made (DC_ReadRow then returns 48).
BU_API int32_t CreateDelimitedText(int32_t ColCount, const uint32_t* Offsets,
                                   const uint8_t* Indicators, const uint32_t* Lengths) noexcept;

// Frees the working buffers of delimited data and the number work value.
BU_API void dcfini(void) noexcept;
}

namespace bu::dc {

// CreateDelimitedText on the row in `record`, which becomes its delimited
// record.
int32_t createDelimitedText(pmData& record, int32_t ColCount, const uint32_t* Offsets,
                            const uint8_t* Indicators, const uint32_t* Lengths) noexcept;

}  // namespace bu::dc

#endif  // BU_DC_DELIMITED_EXPORT_H
