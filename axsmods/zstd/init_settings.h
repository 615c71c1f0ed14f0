// init_settings.h - what the job's initialisation string asks of the module:
// blank-separated key=value words, keys and yes/no compared case-blind.
//
//   level=N     compression level, 1 to 19 (default 3)
//   threads=N   compression worker threads, 0 (compress in the caller's
//               thread) up to what the library allows (default 0)
//   fsync=yes   make each checkpoint's bytes durable with fsync before the
//               position is handed out (default no: written, not synced)
#ifndef BU_ZSTDAXSM_INIT_SETTINGS_H
#define BU_ZSTDAXSM_INIT_SETTINGS_H

#include <string>
#include <string_view>

namespace zstdaxsm {

struct Settings {
    int level = 3;
    int threads = 0;
    bool fsync = false;
};

// Fills `out` from the string; false with a text naming the faulty word.
bool parseInitString(std::string_view text, Settings* out, std::string* why);

}  // namespace zstdaxsm

#endif  // BU_ZSTDAXSM_INIT_SETTINGS_H
