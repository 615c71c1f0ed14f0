// The command line of a benchmark: pairs of "--name value". The options
// `make bench` hands every benchmark (--benchmark_...) are passed over.
#pragma once

#include <functional>
#include <stdexcept>
#include <string>

namespace bench {

// Calls `take` with each name and its value; `take` returns false for a
// name it doesn't know. Throws std::runtime_error for such a name and for a
// name without a value, pointing at the head of `source` for the usage.
inline void readOptions(int argc, char** argv, const std::string& source,
                        const std::function<bool(const std::string&, const std::string&)>& take) {
    for (int i = 1; i < argc; ++i) {
        const std::string name = argv[i];
        if (name.rfind("--benchmark_", 0) == 0) continue;
        if (i + 1 >= argc) throw std::runtime_error("usage: see the head of " + source);
        const std::string value = argv[++i];
        if (!take(name, value)) throw std::runtime_error("unknown option " + name);
    }
}

}  // namespace bench
