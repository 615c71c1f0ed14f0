// Attribute values in the form the operator reads them: every value has a
// zero byte behind its length, so a text can be used as it stands.
#pragma once

#include <cstdint>
#include <cstring>
#include <string_view>

#include "job/job_definition.h"

namespace buhost {

inline AttributeValue textAttribute(std::string_view text) {
    AttributeValue v;
    v.bytes.assign(text.begin(), text.end());
    v.bytes.push_back(0);
    v.length = static_cast<int32_t>(text.size());
    return v;
}

inline AttributeValue numberAttribute(int32_t n) {
    uint8_t bytes[5] = {};  // the number, then the zero byte every value carries
    std::memcpy(bytes, &n, 4);
    AttributeValue v;
    v.bytes.assign(bytes, bytes + sizeof bytes);
    v.length = 4;
    return v;
}

inline AttributeValue byteAttribute(uint8_t b) {
    AttributeValue v;
    v.bytes = {b, 0};
    v.length = 1;
    return v;
}

}  // namespace buhost
