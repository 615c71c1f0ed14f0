// A recursive lock made of two plain pthread mutexes and a per-thread use
// count: the thread that holds the main mutex may take the lock again, and
// lets the mutex go when its count falls back to zero. Mutex failures raise
// HxVaultException with the system's text.
#ifndef BU_CLIENTDIR_SYNC_OBJ_RECURSIVE_H
#define BU_CLIENTDIR_SYNC_OBJ_RECURSIVE_H

#include <pthread.h>

namespace Halvex_HxVault::PrivateStuff {

// Which thread holds the lock, and how many times it has taken it.
class UseCountInternal_t {
  public:
    bool isHeldBy(pthread_t thread) const noexcept {
        return count_ > 0 && pthread_equal(owner_, thread) != 0;
    }
    void take(pthread_t thread) noexcept {
        owner_ = thread;
        count_ = 1;
    }
    void enterAgain() noexcept { ++count_; }
    // Returns the count left after one release.
    unsigned leave() noexcept { return --count_; }

  private:
    pthread_t owner_{};
    unsigned count_ = 0;
};

class SyncObjRecursive_t {
  public:
    SyncObjRecursive_t();
    ~SyncObjRecursive_t();
    SyncObjRecursive_t(const SyncObjRecursive_t&) = delete;
    SyncObjRecursive_t& operator=(const SyncObjRecursive_t&) = delete;

    void lock();
    // Raises when the calling thread doesn't hold the lock.
    void unlock();

  private:
    pthread_mutex_t held_;        // owned by the holder while its use count is above zero
    pthread_mutex_t countGuard_;  // guards useCount_
    UseCountInternal_t useCount_;
};

// Holds a lock for a scope.
template <class Lock>
class SyncObjGuard_t {
  public:
    explicit SyncObjGuard_t(Lock& lock) : lock_(lock) { lock_.lock(); }
    ~SyncObjGuard_t() {
        try {
            lock_.unlock();
        } catch (...) {
            // A release that fails while leaving a scope has nowhere to go.
        }
    }
    SyncObjGuard_t(const SyncObjGuard_t&) = delete;
    SyncObjGuard_t& operator=(const SyncObjGuard_t&) = delete;

  private:
    Lock& lock_;
};

}  // namespace Halvex_HxVault::PrivateStuff

#endif  // BU_CLIENTDIR_SYNC_OBJ_RECURSIVE_H
