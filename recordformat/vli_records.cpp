// Length-prefixed records (formats 2 to 7): a 2- or 4-byte little-endian
// prefix, the data, and for the FORMATTED kinds one terminator byte. Reads
// deliver records in place in the file's block.
#include <cstdio>
#include <cstring>

#include "record_writeout.h"

namespace {

constexpr int32_t kOverflowMessage = 19473;

struct VliShape {
    uint32_t prefix;     // bytes of the length prefix
    bool countsItself;   // the prefix value includes the prefix's 2 bytes
    bool hasTerminator;  // one byte behind the data, written as 10
};

VliShape shapeOf(uint32_t format) {
    switch (format) {
        case pmFmtFormatted:
            return {2, false, true};
        case pmFmtBinarySelf:
            return {2, true, false};
        case pmFmtFormatted2:
            return {2, true, true};
        case pmFmtBinary4:
            return {4, false, false};
        case pmFmtFormatted4:
            return {4, false, true};
        default:
            return {2, false, false};  // BINARY
    }
}

// Swaps the first two bytes only: a 4-byte prefix keeps its high half where
// it is, which is how files of the other byte order are read.
void us2flip(uint8_t* bytes) {
    uint8_t first = bytes[0];
    bytes[0] = bytes[1];
    bytes[1] = first;
}

uint32_t nothing(pmRecord* record, uint32_t rc) {
    record->Data = nullptr;
    record->Length = 0;
    return rc;
}

uint32_t refuseLength(FileInfo* file, uint64_t needed, pmRecord* record) {
    static const char kFn[] = "pmrwfmtRvli";
    if (pm::traceAbove(1)) {
        char line[96];
        std::snprintf(line, sizeof line, "NeededLength=%llu",
                      static_cast<unsigned long long>(needed));
        trceprnt(kFn, line, "");
        std::snprintf(line, sizeof line, "BufferSize=%llu",
                      static_cast<unsigned long long>(file->BufferSize));
        trceprnt(kFn, line, "");
        trceprnt(kFn, "NeededLength>BufferSize", "");
    }
    const int32_t values[3] = {static_cast<int32_t>(FileRecordCount + 1),
                               static_cast<int32_t>(needed),
                               static_cast<int32_t>(file->BufferSize)};
    pm::publicMessage(kOverflowMessage, 3, values);
    return nothing(record, pmrcOverflow);
}

uint32_t badTerminator(FileInfo* file, uint32_t prefix, uint32_t dataLength, pmRecord* record) {
    static const char kFn[] = "pmrwfmtRvli";
    if (pm::traceAbove(3)) {
        char line[64];
        std::snprintf(line, sizeof line, "FileInfo->BufferPosition=%llu",
                      static_cast<unsigned long long>(file->BufferPosition));
        trceprnt(kFn, line, "");
    }
    if (pm::traceAbove(1)) {
        const uint8_t* data = file->Buffer + file->BufferPosition;
        trceprnt(kFn, "format error on record=", "");
        // The record from its prefix on: data length plus 2 bytes.
        pm::dump(data - prefix, dataLength + 2);
        TRCECMTU(kFn, "reclen=", dataLength);
        trceprnt(kFn, "UNX term char=", "");
        pm::dump(data + dataLength, 1);
    }
    return nothing(record, pmrcDataFormat);
}

// Refills until `count` bytes lie unread in the block, the module stops
// delivering, or a read fails. Modules such as pipes may deliver short
// blocks, so one refill isn't always enough.
uint32_t fillTo(FileInfo* file, uint64_t count) {
    uint32_t rc = pmrcOK;
    while (rc == pmrcOK && file->BufferEnd - file->BufferPosition < count) {
        uint64_t before = file->BufferEnd - file->BufferPosition;
        rc = pmReadn2Buf(file);
        if (rc == pmrcOK && file->BufferEnd - file->BufferPosition <= before) break;
    }
    return rc;
}

}  // namespace

extern "C" uint32_t pmrwfmtRvli(FileInfo* File, pmRecord* Record) noexcept {
    static const char kFn[] = "pmrwfmtRvli";
    const VliShape shape = shapeOf(File->Format);
    if (File->BufferPosition + shape.prefix > File->BufferEnd) {
        uint32_t rc = fillTo(File, shape.prefix);
        if (rc != pmrcOK) return nothing(Record, rc);
        if (File->BufferPosition + shape.prefix > File->BufferEnd) {
            return nothing(Record, pmrcDataFormat);
        }
    }
    uint8_t* at = File->Buffer + File->BufferPosition;
    if (File->bFlipEndian) us2flip(at);
    uint32_t prefixValue = 0;
    if (shape.prefix == 4) {
        std::memcpy(&prefixValue, at, 4);
    } else {
        uint16_t v = 0;
        std::memcpy(&v, at, 2);
        prefixValue = v;
    }
    File->BufferPosition += shape.prefix;
    // In 16 bits, as the prefix is: a self-counting prefix below 2 wraps.
    uint32_t dataLength = shape.countsItself ? static_cast<uint16_t>(prefixValue - 2) : prefixValue;
    uint64_t needed = uint64_t{dataLength} + (shape.hasTerminator ? 1 : 0);
    if (needed == 0 || needed > File->BufferSize) return refuseLength(File, needed, Record);
    uint32_t rc = fillTo(File, needed);
    bool fits = File->BufferPosition + needed <= File->BufferEnd;
    if (rc == pmrcEOF && fits) {
        rc = pmrcOK;  // the module gave the last bytes together with the end
    } else if (rc == pmrcEOF && shape.hasTerminator) {
        trceprnt(kFn, "!ERROR! ", "EOF encountered before expected EOR");
        rc = pmrcDataFormat;
    } else if (rc == pmrcOK && !fits) {
        if (shape.hasTerminator) {
            trceprnt(kFn, "!ERROR! ", "buffer exhausted before expected EOR");
            rc = pmrcDataFormat;
        } else {
            // Without a terminator the shortfall goes unnoticed; still, never
            // hand out bytes behind the valid data.
            dataLength = static_cast<uint32_t>(File->BufferEnd - File->BufferPosition);
            needed = dataLength;
        }
    }
    if (rc != pmrcOK) return nothing(Record, rc);
    uint8_t* data = File->Buffer + File->BufferPosition;
    if (shape.hasTerminator && data[dataLength] != 10 && data[dataLength] != 13) {
        return badTerminator(File, shape.prefix, dataLength, Record);
    }
    Record->Data = data;
    Record->Length = dataLength;
    File->BufferPosition += needed;
    return pmrcOK;
}

extern "C" uint32_t pmrwfmtWvli(FileInfo* File, pmRecord* Record, uint32_t Flush) noexcept {
    static const char kFn[] = "pmrwfmtWvli";
    if (Record == nullptr) return rf::flushOrRefuse(File, Flush);
    if (Record->Length == 0) return Flush ? pm::writeOutBuffer(File) : uint32_t{pmrcOK};
    const VliShape shape = shapeOf(File->Format);
    uint64_t added = uint64_t{Record->Length} + shape.prefix + (shape.hasTerminator ? 1 : 0);
    if (added > File->BufferSize) return rf::refuseOversize(kFn, "AddedLength", added, File);
    uint32_t rc = rf::makeRoom(kFn, "AddedLength", File, added);
    if (rc != pmrcOK) return rc;
    uint8_t* at = File->Buffer + File->BufferEnd;
    if (shape.prefix == 4) {
        uint32_t v = Record->Length;
        std::memcpy(at, &v, 4);
    } else {
        // A length beyond 16 bits is cut to them, as the format has it.
        uint16_t v = static_cast<uint16_t>(Record->Length + (shape.countsItself ? 2 : 0));
        std::memcpy(at, &v, 2);
    }
    std::memcpy(at + shape.prefix, Record->Data, Record->Length);
    if (shape.hasTerminator) at[shape.prefix + Record->Length] = 10;
    File->BufferEnd += added;
    return Flush ? pm::writeOutBuffer(File) : uint32_t{pmrcOK};
}
