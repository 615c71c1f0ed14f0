// The recursive lock: the holder may take it again, others wait until its
// count is back to zero, and only the holder may release it.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "hxvault_exception.h"
#include "sync_obj_recursive.h"

namespace {

using Halvex_HxVault::HxVaultException;
using Halvex_HxVault::PrivateStuff::SyncObjGuard_t;
using Halvex_HxVault::PrivateStuff::SyncObjRecursive_t;

// Each thread takes the lock twice and, with the inner hold released, is
// still alone inside until the outer one goes. The yields hand the other
// threads every chance to get in too early.
TEST(SyncObjRecursive, ExcludesOtherThreadsUntilTheLastRelease) {
    SyncObjRecursive_t lock;
    std::atomic<int> inside{0};
    std::atomic<int> overlaps{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < 500; ++i) {
                SyncObjGuard_t<SyncObjRecursive_t> outer(lock);
                { SyncObjGuard_t<SyncObjRecursive_t> inner(lock); }
                if (inside.fetch_add(1) != 0) ++overlaps;
                std::this_thread::yield();
                inside.fetch_sub(1);
            }
        });
    }
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(overlaps.load(), 0);
}

TEST(SyncObjRecursive, ReleaseByAThreadThatDoesNotHoldItRaises) {
    SyncObjRecursive_t lock;
    EXPECT_THROW(lock.unlock(), HxVaultException);
    lock.lock();
    std::thread other([&] { EXPECT_THROW(lock.unlock(), HxVaultException); });
    other.join();
    lock.unlock();
    EXPECT_THROW(lock.unlock(), HxVaultException);
}

}  // namespace
