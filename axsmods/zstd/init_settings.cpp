#include "init_settings.h"

#include "module_text.h"

#include <zstd.h>

#include <strings.h>
#include <charconv>

namespace zstdaxsm {
namespace {

constexpr int kMinLevel = 1;
constexpr int kMaxLevel = 19;

bool sameWord(std::string_view a, const char* b) {
    return a.size() == std::char_traits<char>::length(b) && strncasecmp(a.data(), b, a.size()) == 0;
}

bool parseNumber(std::string_view key, std::string_view value, int low, int high, int* out,
                 std::string* why) {
    int n = 0;
    auto [end, ec] = std::from_chars(value.data(), value.data() + value.size(), n);
    if (ec != std::errc() || end != value.data() + value.size() || n < low || n > high) {
        *why = concat({key, "=", value, " is not a number from ", std::to_string(low), " to ",
                       std::to_string(high)});
        return false;
    }
    *out = n;
    return true;
}

bool parseWord(std::string_view word, Settings* out, std::string* why) {
    size_t eq = word.find('=');
    if (eq == std::string_view::npos || eq == 0) {
        *why = concat({"'", word, "' is not of the form key=value"});
        return false;
    }
    std::string_view key = word.substr(0, eq), value = word.substr(eq + 1);
    if (sameWord(key, "level"))
        return parseNumber(key, value, kMinLevel, kMaxLevel, &out->level, why);
    if (sameWord(key, "threads")) {
        // What the library allows: 0 alone when it was built without threads.
        ZSTD_bounds bounds = ZSTD_cParam_getBounds(ZSTD_c_nbWorkers);
        int high = ZSTD_isError(bounds.error) ? 0 : bounds.upperBound;
        return parseNumber(key, value, 0, high, &out->threads, why);
    }
    if (sameWord(key, "fsync")) {
        if (sameWord(value, "yes") || sameWord(value, "no")) {
            out->fsync = sameWord(value, "yes");
            return true;
        }
        *why = concat({"fsync=", value, " is neither yes nor no"});
        return false;
    }
    *why = concat({"unknown key '", key, "' (the keys are level, threads and fsync)"});
    return false;
}

}  // namespace

bool parseInitString(std::string_view text, Settings* out, std::string* why) {
    Settings settings;
    while (true) {
        size_t start = text.find_first_not_of(" \t");
        if (start == std::string_view::npos) break;
        text.remove_prefix(start);
        size_t end = text.find_first_of(" \t");
        if (!parseWord(text.substr(0, end), &settings, why)) {
            *why = concat({"initialisation string: ", *why});
            return false;
        }
        text.remove_prefix(end == std::string_view::npos ? text.size() : end);
    }
    *out = settings;
    return true;
}

}  // namespace zstdaxsm
