// A 64-bit mixing function (splitmix64's finaliser): deterministic "random"
// numbers from a seed and a counter, the same on every machine.
#pragma once

#include <cstdint>

namespace buhost {

inline uint64_t mix64(uint64_t x) {
    x += 0x9e3779b97f4a7c15ull;
    x = (x ^ (x >> 30)) * 0xbf58476d1ce4e5b9ull;
    x = (x ^ (x >> 27)) * 0x94d049bb133111ebull;
    return x ^ (x >> 31);
}

}  // namespace buhost
