#include "services/handle_registry.h"

#include <unordered_map>

namespace buhost {
namespace {

// One thread enters an instance at a time, so the table needs no lock.
std::unordered_map<const void*, HandleEntry>& table() {
    static std::unordered_map<const void*, HandleEntry> handles;
    return handles;
}

// The handle found last and its entry: a row costs a call or two on the
// same schema handle, which then skips the hashing. Entries stay where they
// are until erased, whatever else is added.
struct LastFound {
    const void* handle = nullptr;
    const HandleEntry* entry = nullptr;
} lastFound;

}  // namespace

void registerHandle(const void* handle, HandleEntry entry) {
    table()[handle] = entry;
}

void unregisterHandle(const void* handle) {
    if (lastFound.handle == handle) lastFound = {};
    table().erase(handle);
}

const HandleEntry* findHandle(const void* handle, uint64_t kind) {
    if (handle == nullptr) return nullptr;
    if (handle != lastFound.handle) {
        auto it = table().find(handle);
        if (it == table().end()) return nullptr;
        lastFound = {handle, &it->second};
    }
    return lastFound.entry->kind == kind ? lastFound.entry : nullptr;
}

}  // namespace buhost
