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

LastFoundHandle lastFoundHandle;

void registerHandle(const void* handle, HandleEntry entry) {
    table()[handle] = entry;
}

void unregisterHandle(const void* handle) {
    if (lastFoundHandle.handle == handle) lastFoundHandle = {};
    table().erase(handle);
}

const HandleEntry* lookUpHandle(const void* handle) {
    if (handle == nullptr) return nullptr;
    auto it = table().find(handle);
    if (it == table().end()) return nullptr;
    lastFoundHandle = {handle, &it->second};
    return &it->second;
}

}  // namespace buhost
