// Every handle the host hands out is registered here, so that a service can
// tell a live handle from a null, stale or foreign pointer before it reads a
// single byte through it.
#pragma once

#include <cstdint>

namespace buhost {

class HostInstance;

struct HandleEntry {
    uint64_t kind;
    HostInstance* owner;
    uint64_t detail;  // column index, log number
};

void registerHandle(const void* handle, HandleEntry entry);
void unregisterHandle(const void* handle);
// The entry of a live handle of `kind`, or null.
const HandleEntry* findHandle(const void* handle, uint64_t kind);

}  // namespace buhost
