#include "errno_text.h"

#include <cstring>
#include <vector>

namespace Halvex_HxVault::PrivateStuff {

namespace {
constexpr std::size_t kErrnoTextStep = 1000;
}

std::string errnoText(int errorNumber) {
    // strerror_r truncates to the buffer it is given; a text that fills the
    // buffer may have been cut, so ask again with more room.
    std::vector<char> buffer(kErrnoTextStep);
    for (;;) {
        buffer[0] = '\0';
        const char* text = strerror_r(errorNumber, buffer.data(), buffer.size());
        const std::size_t length = std::strlen(text);
        if (text != buffer.data() || length + 1 < buffer.size()) return std::string(text, length);
        buffer.resize(buffer.size() + kErrnoTextStep);
    }
}

}  // namespace Halvex_HxVault::PrivateStuff
