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
    AttributeValue v;
    v.bytes.resize(5, 0);
    std::memcpy(v.bytes.data(), &n, 4);
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
