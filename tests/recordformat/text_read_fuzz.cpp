// Fuzz target for the text reader: any bytes, in ASCII, UTF-8 or UTF-16,
// with or without quoted data, an escaped end-of-record mark and the end of
// the file taken as one, delivered in blocks of any size, must give records
// that lie inside the valid bytes of the block and are never longer than
// a block.
//   byte 0: bits 0-1 the character set, bit 2 quoted data, bit 3 a two-byte
//   open quote, bit 4 an escaped end of record, bit 5 the end of the file
//   taken as one; byte 1: the block size less 4; byte 2: bytes per
//   delivered block (0: whole blocks).
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "block_feed.h"
#include "charsets.h"
#include "file_settings.h"
#include "pm_layer.h"
#include "text_attr.h"

namespace {

void setMark(TextAttr& attr, const char* bytes, int32_t length) {
    attr = {};
    attr.Length = length;
    std::memcpy(attr.Bytes, bytes, static_cast<size_t>(length));
}

void configure(uint8_t flags) {
    static const char* const kSets[] = {"ASCII", "UTF8", "UTF16", "ASCII"};
    const bool utf16 = (flags & 3) == 2;
    pmSetCharSet(kSets[flags & 3]);
    bQuotedData = (flags & 4) != 0 ? 1 : 0;
    setMark(TextDelimiter, utf16 ? "|\0" : "|", utf16 ? 2 : 1);
    if ((flags & 8) != 0) {
        setMark(OpenQuoteMark, utf16 ? "<\0<\0" : "<<", utf16 ? 4 : 2);
    } else {
        setMark(OpenQuoteMark, utf16 ? "\"\0" : "\"", utf16 ? 2 : 1);
    }
    CloseQuoteMark = OpenQuoteMark;
    EscapeRecDelim = {};
    if ((flags & 16) != 0) setMark(EscapeRecDelim, utf16 ? "\\\0" : "\\", utf16 ? 2 : 1);
    bAcceptEOFasEOR = (flags & 32) != 0 ? 1 : 0;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 3) return 0;
    configure(data[0]);
    Paramod module{};
    FileInfo file{};
    file.Format = pmFmtText;
    file.BufferSize = 4 + data[1];
    file.PPtr = &module;
    file.ReadBuf = bu::test::readFedBlock;
    file.ByteOrder = 2;
    file.Buffer = static_cast<uint8_t*>(std::malloc(2 * file.BufferSize + 8));
    bu::test::blockFeed = {data + 3, size - 3, 0, data[2] == 0 ? file.BufferSize : data[2]};
    for (int i = 0; i < 100000; ++i) {
        pmRecord record{};
        const uint32_t rc = pmrwfmtRtext(&file, &record);
        if (!bu::test::readWithinBlock(file, rc, record)) abort();
        if (rc != pmrcOK) break;
    }
    std::free(file.Buffer);
    return 0;
}
