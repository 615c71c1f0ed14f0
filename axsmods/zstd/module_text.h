// module_text.h - the module's messages are put together from pieces.
#ifndef BU_ZSTDAXSM_MODULE_TEXT_H
#define BU_ZSTDAXSM_MODULE_TEXT_H

#include <initializer_list>
#include <string>
#include <string_view>

namespace zstdaxsm {

inline std::string concat(std::initializer_list<std::string_view> parts) {
    std::string out;
    for (std::string_view part : parts) out.append(part);
    return out;
}

}  // namespace zstdaxsm

#endif  // BU_ZSTDAXSM_MODULE_TEXT_H
