#include "sync_obj_recursive.h"

#include <string>

#include "errno_text.h"
#include "hxvault_exception.h"

namespace Halvex_HxVault::PrivateStuff {

namespace {

void check(int result, const char* call) {
    if (result != 0) {
        throw HxVaultException(std::string(call) + " failed (errno = " + errnoText(result) + ").");
    }
}

}  // namespace

SyncObjRecursive_t::SyncObjRecursive_t() {
    check(pthread_mutex_init(&held_, nullptr), "pthread_mutex_init");
    const int result = pthread_mutex_init(&countGuard_, nullptr);
    if (result != 0) {
        pthread_mutex_destroy(&held_);
        check(result, "pthread_mutex_init");
    }
}

SyncObjRecursive_t::~SyncObjRecursive_t() {
    pthread_mutex_destroy(&countGuard_);
    pthread_mutex_destroy(&held_);
}

void SyncObjRecursive_t::lock() {
    const pthread_t self = pthread_self();
    check(pthread_mutex_lock(&countGuard_), "pthread_mutex_lock");
    if (useCount_.isHeldBy(self)) {
        useCount_.enterAgain();
        check(pthread_mutex_unlock(&countGuard_), "pthread_mutex_unlock");
        return;
    }
    check(pthread_mutex_unlock(&countGuard_), "pthread_mutex_unlock");

    check(pthread_mutex_lock(&held_), "pthread_mutex_lock");
    const int result = pthread_mutex_lock(&countGuard_);
    if (result != 0) {
        pthread_mutex_unlock(&held_);
        check(result, "pthread_mutex_lock");
    }
    useCount_.take(self);
    check(pthread_mutex_unlock(&countGuard_), "pthread_mutex_unlock");
}

void SyncObjRecursive_t::unlock() {
    check(pthread_mutex_lock(&countGuard_), "pthread_mutex_lock");
    if (!useCount_.isHeldBy(pthread_self())) {
        check(pthread_mutex_unlock(&countGuard_), "pthread_mutex_unlock");
        throw HxVaultException("The lock was released by a thread that does not hold it.");
    }
    const bool lastUse = useCount_.leave() == 0;
    check(pthread_mutex_unlock(&countGuard_), "pthread_mutex_unlock");
    if (lastUse) check(pthread_mutex_unlock(&held_), "pthread_mutex_unlock");
}

}  // namespace Halvex_HxVault::PrivateStuff
