// Keyword values are compared case-blind, on an upper-cased copy.
#include <cctype>

#include "attributes.h"

void bu::dc::upperCaseCopy(char* target, size_t size, const void* source, int32_t length) noexcept {
    const auto* text = static_cast<const char*>(source);
    size_t n = length > 0 ? static_cast<size_t>(length) : 0;
    if (n > size - 1) n = size - 1;
    if (text == nullptr) n = 0;
    for (size_t i = 0; i < n; ++i) {
        target[i] = static_cast<char>(std::toupper(static_cast<unsigned char>(text[i])));
    }
    target[n] = '\0';
}
