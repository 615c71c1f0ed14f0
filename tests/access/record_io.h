// record_io.h - small helpers for tests that write and read records.
#ifndef BU_TESTS_ACCESS_RECORD_IO_H
#define BU_TESTS_ACCESS_RECORD_IO_H

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "pmdcomt.h"

// A text as the layer's name or value (the layer doesn't write through it).
inline pmData dataOf(const char* text) {
    return {static_cast<uint32_t>(std::strlen(text)), const_cast<char*>(text)};
}

inline uint32_t writeRecord(pmFp fp, const std::string& bytes) {
    pmRecord r{static_cast<uint32_t>(bytes.size()), const_cast<char*>(bytes.data()), 0, 0};
    return pmWrite(fp, &r);
}

// A record as length-prefixed format 2 to 7 lays it on disk: a 2-byte (6
// and 7: 4-byte) little-endian prefix that counts itself in 4 and 5, the
// data, and a terminator in the odd formats.
inline std::string onDisk(const std::string& data, uint32_t format = 2, char terminator = '\n') {
    const size_t prefix = format >= 6 ? 4 : 2;
    const size_t length = data.size() + (format == 4 || format == 5 ? 2 : 0);
    std::string out(prefix, '\0');
    for (size_t i = 0; i < prefix; ++i) out[i] = static_cast<char>(length >> (8 * i));
    return out + data + (format % 2 == 1 ? std::string(1, terminator) : "");
}

// Reads records until a non-zero code, which is stored in `last`.
inline std::vector<std::string> readAll(pmFp fp, uint32_t* last) {
    std::vector<std::string> out;
    pmRecord r{};
    while ((*last = pmRead(fp, &r)) == 0) {
        out.emplace_back(static_cast<const char*>(r.Data), r.Length);
    }
    return out;
}

// Records of varied lengths and contents.
inline std::vector<std::string> sampleRecords(const std::vector<size_t>& lengths) {
    std::vector<std::string> out;
    for (size_t i = 0; i < lengths.size(); ++i) {
        std::string s(lengths[i], '\0');
        for (size_t j = 0; j < s.size(); ++j) s[j] = static_cast<char>('a' + (i * 7 + j) % 26);
        out.push_back(s);
    }
    return out;
}

// A position as pmGetPos hands it out, copied as a checkpoint keeps it; empty
// when refused, with the code in `rc`.
inline std::vector<uint8_t> takePosition(pmFp fp, uint32_t userDone = 0, uint32_t* rc = nullptr) {
    pmData pos{};
    uint32_t got = pmGetPos(fp, userDone, &pos);
    if (rc != nullptr) *rc = got;
    if (got != 0) return {};
    auto* bytes = static_cast<uint8_t*>(pos.Data);
    return std::vector<uint8_t>(bytes, bytes + pos.Length);
}

inline uint32_t restorePosition(pmFp fp, std::vector<uint8_t> position) {
    pmData pos{static_cast<uint32_t>(position.size()), position.data()};
    return pmRepos(fp, &pos);
}

#endif  // BU_TESTS_ACCESS_RECORD_IO_H
