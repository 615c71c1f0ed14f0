#include "services/handle_registry.h"

#include <unordered_map>

namespace buhost {
namespace {

// One thread enters an instance at a time, so the table needs no lock.
std::unordered_map<const void*, HandleEntry>& table() {
    static std::unordered_map<const void*, HandleEntry> handles;
    return handles;
}

}  // namespace

void registerHandle(const void* handle, HandleEntry entry) {
    table()[handle] = entry;
}

void unregisterHandle(const void* handle) {
    table().erase(handle);
}

const HandleEntry* findHandle(const void* handle, uint64_t kind) {
    if (handle == nullptr) return nullptr;
    auto it = table().find(handle);
    if (it == table().end() || it->second.kind != kind) return nullptr;
    return &it->second;
}

}  // namespace buhost
