#include "shared/global_variables.h"

#include <pthread.h>
#include <sys/mman.h>

#include <cerrno>
#include <cstring>
#include <new>

#include "px_boundary.h"

namespace buhost {

struct GlobalVariables::Region {
    struct Entry {
        char name[kMaxNameLength + 1];
        int32_t elemSize;
        int32_t elemCount;
        uint32_t offset;
        uint32_t inUse;
    };
    pthread_mutex_t mutex;
    Entry entries[kMaxVariables];
    uint32_t arenaUsed;
    alignas(8) uint8_t arena[kArenaBytes];

    Entry* find(const char* name) {
        for (auto& e : entries)
            if (e.inUse && std::strcmp(e.name, name) == 0) return &e;
        return nullptr;
    }
};

namespace {

// Holds the region's mutex; a holder that died (SIGKILL) leaves it usable.
class RegionLock {
  public:
    explicit RegionLock(pthread_mutex_t* m) : m_(m) {
        if (pthread_mutex_lock(m_) == EOWNERDEAD) pthread_mutex_consistent(m_);
    }
    ~RegionLock() { pthread_mutex_unlock(m_); }
    RegionLock(const RegionLock&) = delete;
    RegionLock& operator=(const RegionLock&) = delete;

  private:
    pthread_mutex_t* m_;
};

bool goodName(const char* name) {
    return name[0] != '\0' && std::strlen(name) <= GlobalVariables::kMaxNameLength;
}

}  // namespace

GlobalVariables::GlobalVariables() {
    void* p =
        mmap(nullptr, sizeof(Region), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (p == MAP_FAILED) throw std::bad_alloc();
    // The mapping comes zeroed, so only the bookkeeping is set: a region
    // made with Region{} writes every page of the arena, faulting it in and
    // clearing it again, for variables a job seldom has.
    region_ = new (p) Region;
    region_->arenaUsed = 0;
    for (auto& e : region_->entries) e.inUse = 0;
    pthread_mutexattr_t attr;
    pthread_mutexattr_init(&attr);
    pthread_mutexattr_setpshared(&attr, PTHREAD_PROCESS_SHARED);
    pthread_mutexattr_setrobust(&attr, PTHREAD_MUTEX_ROBUST);
    pthread_mutex_init(&region_->mutex, &attr);
    pthread_mutexattr_destroy(&attr);
}

GlobalVariables::~GlobalVariables() {
    munmap(region_, sizeof(Region));
}

int32_t GlobalVariables::create(const char* name, int32_t elemSize, int32_t elemCount) {
    if (name == nullptr) return PXSTC_NullPointer;
    if (!goodName(name)) return PXSTC_InvalidName;
    if (elemSize <= 0 || elemCount < 0) return PXSTC_InvalidArgument;
    uint64_t bytes = static_cast<uint64_t>(elemSize) * static_cast<uint64_t>(elemCount);
    RegionLock lock(&region_->mutex);
    if (region_->find(name) != nullptr) return PXSTC_Duplicate;
    uint64_t aligned = (bytes + 7) & ~uint64_t{7};
    if (region_->arenaUsed + aligned > kArenaBytes) return PXSTC_Full;
    for (auto& e : region_->entries) {
        if (e.inUse) continue;
        std::strcpy(e.name, name);
        e.elemSize = elemSize;
        e.elemCount = elemCount;
        e.offset = region_->arenaUsed;
        e.inUse = 1;
        std::memset(region_->arena + e.offset, 0, bytes);
        region_->arenaUsed += static_cast<uint32_t>(aligned);
        return PXSTC_Success;
    }
    return PXSTC_Full;
}

int32_t GlobalVariables::remove(const char* name) {
    if (name == nullptr) return PXSTC_NullPointer;
    RegionLock lock(&region_->mutex);
    Region::Entry* e = region_->find(name);
    if (e == nullptr) return PXSTC_NotFound;
    e->inUse = 0;  // its bytes stay reserved: another process may still read them
    return PXSTC_Success;
}

int32_t GlobalVariables::read(const char* name, int32_t index, void** value, int32_t* length) {
    if (name == nullptr || value == nullptr || length == nullptr) return PXSTC_NullPointer;
    RegionLock lock(&region_->mutex);
    Region::Entry* e = region_->find(name);
    if (e == nullptr) return PXSTC_NotFound;
    if (index < 1 || index > e->elemCount) return PXSTC_InvalidArgument;
    *value = region_->arena + e->offset + static_cast<uint64_t>(index - 1) * e->elemSize;
    *length = e->elemSize;
    return PXSTC_Success;
}

int32_t GlobalVariables::write(const char* name, const void* value, int32_t length, int32_t index) {
    if (name == nullptr || (value == nullptr && length > 0)) return PXSTC_NullPointer;
    RegionLock lock(&region_->mutex);
    Region::Entry* e = region_->find(name);
    if (e == nullptr) return PXSTC_NotFound;
    if (index < 1 || index > e->elemCount || length < 0) return PXSTC_InvalidArgument;
    if (length > e->elemSize) return PXSTC_Size;
    uint8_t* at = region_->arena + e->offset + static_cast<uint64_t>(index - 1) * e->elemSize;
    if (length > 0) std::memcpy(at, value, static_cast<size_t>(length));
    std::memset(at + length, 0, static_cast<size_t>(e->elemSize - length));
    return PXSTC_Success;
}

}  // namespace buhost
