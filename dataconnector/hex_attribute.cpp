// Attribute values given as hexadecimal digits, decoded in place.
#include <cctype>

#include "attributes.h"
#include "dc_messages.h"
#include "special_chars.h"

using namespace bu::dc;

namespace {

constexpr int32_t kOddLength = 1;
constexpr int32_t kBadDigit = 2;

int32_t nibble(char digit) {
    auto c = static_cast<unsigned char>(std::toupper(static_cast<unsigned char>(digit)));
    return c <= '9' ? c - '0' : c - 'A' + 10;
}

int32_t refuse(const char* name, const char* value, int32_t length, int32_t result) {
    trace(1, "ConvertHEX", kWarning, "Invalid %s attribute value ('%.*s') provided", name, length,
          value);
    trace(1, "ConvertHEX", kWarning, "Valid %s values are hexadecimal digits", name);
    if (ThisInstance == 1) {
        // The value isn't terminated at its length; show just its digits.
        char shown[kLineSize];
        std::snprintf(shown, sizeof shown, "%.*s", length, value);
        publicMessage(19205, 3, 6, kText, name, kText, shown, kText, "hexadecimal digits");
    }
    return result;
}

}  // namespace

extern "C" int32_t ConvertHEX(char* Value, const char* Name) noexcept {
    const int32_t length = PX_Len;
    if (length < 0 || length % 2 != 0)
        return refuse(Name, Value, length < 0 ? 0 : length, kOddLength);
    for (int32_t i = 0; i < length; ++i) {
        if (!std::isxdigit(static_cast<unsigned char>(Value[i]))) {
            return refuse(Name, Value, length, kBadDigit);
        }
    }
    trace(1, "ConvertHEX", kInfo, "Decoding attribute '%s' from '%.*s'", Name, length, Value);
    for (int32_t i = 0; i < length / 2; ++i) {
        Value[i] = static_cast<char>(nibble(Value[2 * i]) * 16 + nibble(Value[2 * i + 1]));
    }
    PX_Len = length / 2;
    Value[PX_Len] = '\0';
    return 0;
}
