// module_file.h - one open file of the module, as the dispatcher sees it,
// and the module's failure text that goes back with return code 34.
#ifndef BU_ZSTDAXSM_MODULE_FILE_H
#define BU_ZSTDAXSM_MODULE_FILE_H

#include <cstdint>
#include <string>

#include "module_text.h"
#include "pmdcomt.h"
#include "zstd_position.h"

namespace zstdaxsm {

// The block size asked for at open: the library's largest block, so that a
// write fills whole blocks and a read rarely stops inside one.
constexpr uint32_t kBlockSize = 128 * 1024;

// Keeps `text` (prefixed with the module's name) for the layer to copy and
// answers 34.
uint32_t failWith(const std::string& text);
const std::string& failureText();

class ModuleFile {
  public:
    virtual ~ModuleFile() = default;
    // Up to `room` bytes into `into`; 9 with nothing at the end.
    virtual uint32_t read(uint8_t* into, uint32_t room, uint32_t* got) = 0;
    virtual uint32_t write(const uint8_t* bytes, uint32_t length) = 0;
    virtual uint32_t position(ZstdPosition* out) = 0;
    virtual uint32_t reposition(const ZstdPosition& at) = 0;
    // Finishes the file and releases the descriptor, also after a failure.
    virtual uint32_t close() = 0;
};

}  // namespace zstdaxsm

#endif  // BU_ZSTDAXSM_MODULE_FILE_H
