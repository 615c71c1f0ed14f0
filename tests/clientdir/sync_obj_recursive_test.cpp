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

TEST(SyncObjRecursive, HolderTakesItAgainAndOthersWaitForTheLastRelease) {
    SyncObjRecursive_t lock;
    lock.lock();
    lock.lock();
    std::atomic<bool> otherGotIt{false};
    std::thread other([&] {
        SyncObjGuard_t<SyncObjRecursive_t> guard(lock);
        otherGotIt = true;
    });
    lock.unlock();
    // Still held once: the other thread can't be inside. It can only get in
    // after the release below, which join() then waits for.
    EXPECT_FALSE(otherGotIt.load());
    lock.unlock();
    other.join();
    EXPECT_TRUE(otherGotIt.load());
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

TEST(SyncObjRecursive, ExcludesOtherThreadsAtEveryDepth) {
    SyncObjRecursive_t lock;
    std::atomic<int> inside{0};
    std::atomic<int> overlaps{0};
    long counter = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < 2000; ++i) {
                SyncObjGuard_t<SyncObjRecursive_t> outer(lock);
                if (inside.fetch_add(1) != 0) ++overlaps;
                {
                    SyncObjGuard_t<SyncObjRecursive_t> inner(lock);
                    ++counter;
                }
                inside.fetch_sub(1);
            }
        });
    }
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(overlaps.load(), 0);
    EXPECT_EQ(counter, 8 * 2000);
}

}  // namespace
