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

// The handle found last and its entry: a row costs a call or two on the
// same schema handle, which then skips the hashing. Entries stay where they
// are until erased, whatever else is added.
struct LastFoundHandle {
    const void* handle = nullptr;
    const HandleEntry* entry = nullptr;
};
extern LastFoundHandle lastFoundHandle;

// The entry of a registered handle, remembered as the last found; null for
// a null or unknown one.
const HandleEntry* lookUpHandle(const void* handle);

// The entry of a live handle of `kind`, or null. Inline, so that a row's
// service call on the handle found last costs two compares.
inline const HandleEntry* findHandle(const void* handle, uint64_t kind) {
    const HandleEntry* e = handle != nullptr && handle == lastFoundHandle.handle
                               ? lastFoundHandle.entry
                               : lookUpHandle(handle);
    return e != nullptr && e->kind == kind ? e : nullptr;
}

}  // namespace buhost
