// The flat interface: its arguments, several threads searching at once, and
// memory running out. Its functions are linked into this test, so "the
// module" is this executable, and the marker beside it (written by the
// build) names the directory above.
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <new>
#include <string>
#include <thread>
#include <vector>

#include "hxclient.h"

namespace {

// Allocations counted while armed; those from failFrom on fail.
std::atomic<bool> armed{false};
std::atomic<long> allocations{0};
std::atomic<long> failFrom{0};
std::atomic<bool> failOnlyOne{false};  // only the allocation failFrom fails

void* allocate(std::size_t size) {
    if (armed.load()) {
        const long n = allocations.fetch_add(1);
        if (failOnlyOne.load() ? n == failFrom.load() : n >= failFrom.load()) return nullptr;
    }
    return std::malloc(size == 0 ? 1 : size);
}

void* allocateOrThrow(std::size_t size) {
    if (void* p = allocate(size)) return p;
    throw std::bad_alloc();
}

}  // namespace

void* operator new(std::size_t size) {
    return allocateOrThrow(size);
}
void* operator new[](std::size_t size) {
    return allocateOrThrow(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return allocate(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return allocate(size);
}
void operator delete(void* p) noexcept {
    std::free(p);
}
void operator delete[](void* p) noexcept {
    std::free(p);
}
void operator delete(void* p, std::size_t) noexcept {
    std::free(p);
}
void operator delete[](void* p, std::size_t) noexcept {
    std::free(p);
}
void operator delete(void* p, const std::nothrow_t&) noexcept {
    std::free(p);
}
void operator delete[](void* p, const std::nothrow_t&) noexcept {
    std::free(p);
}

namespace {

constexpr long kEnoughFailures = 10000;

std::string expectedClientDir() {
    return std::filesystem::canonical("/proc/self/exe").parent_path().parent_path().string();
}

// The call's error with allocations failing from the Nth on, or only the
// Nth.
template <class Call>
HxClientError* failingFrom(long n, bool onlyOne, Call&& call) {
    allocations = 0;
    failFrom = n;
    failOnlyOne = onlyOne;
    armed = true;
    HxClientError* error = call();
    armed = false;
    return error;
}

// Runs the call with allocations failing from the Nth on, for growing N;
// returns how many runs failed before one succeeded.
template <class Call>
long failuresBeforeSuccess(Call&& call) {
    for (long n = 0; n < kEnoughFailures; ++n) {
        HxClientError* error = failingFrom(n, false, call);
        if (error == nullptr) return n;
        EXPECT_EQ(HxClient_getErrorCode(error), HXCLIENT_ERROR_OUT_OF_MEMORY) << "at " << n;
        EXPECT_STREQ(HxClient_getErrorDescription(error), "An out of memory condition exists.");
        HxClient_freeError(error);  // must do nothing
        HxClient_freeError(error);
    }
    ADD_FAILURE() << "the call never succeeded";
    return kEnoughFailures;
}

// The first search made by several threads at once: each gets the directory.
// Then an empty sub-path, the versions, and missing arguments.
TEST(FlatInterface, ConcurrentSearchArgumentsAndVersions) {
    std::atomic<int> ready{0};
    std::vector<std::string> found(8);
    std::vector<std::thread> threads;
    for (std::string& text : found) {
        threads.emplace_back([&] {
            ++ready;
            while (ready.load() < static_cast<int>(found.size())) std::this_thread::yield();
            char* lib = nullptr;
            HxClientError* error = HxClient_getLibPath("pmtest", "", &lib);
            text = error == nullptr ? lib : HxClient_getErrorDescription(error);
            HxClient_freeError(error);
            HxClient_freeString(lib);
        });
    }
    for (auto& thread : threads) thread.join();
    for (const std::string& text : found) EXPECT_EQ(text, expectedClientDir() + "//libpmtest.so");
    EXPECT_STREQ(HxClient_getRelSelDirVersion(), "17.20.00.02");
    EXPECT_STREQ(HxClient_getRelSelDirShortVersion(), "17.20");
    HxClientError* error = HxClient_getClientPath(nullptr);
    EXPECT_EQ(HxClient_getErrorCode(error), HXCLIENT_ERROR_FAILED);
    HxClient_freeError(error);
    EXPECT_STREQ(HxClient_getErrorDescription(nullptr), "");
    EXPECT_EQ(HxClient_getErrorCode(nullptr), 0u);
}

TEST(OutOfMemory, FailingAllocationsGiveTheStaticErrorUntilTheSearchSucceeds) {
    char* path = nullptr;
    const long failures = failuresBeforeSuccess([&] { return HxClient_getClientPath(&path); });
    EXPECT_GT(failures, 0);
    ASSERT_NE(path, nullptr);
    EXPECT_EQ(path, expectedClientDir());
    HxClient_freeString(path);

    // Kept now: building the library path needs far fewer allocations.
    char* lib = nullptr;
    EXPECT_LT(failuresBeforeSuccess([&] { return HxClient_getLibPath("x", "17.20/lib64", &lib); }),
              failures);
    ASSERT_NE(lib, nullptr);
    EXPECT_EQ(lib, expectedClientDir() + "/17.20/lib64/libx.so");
    HxClient_freeString(lib);
}

TEST(OutOfMemory, ErrorObjectThatCannotBeMadeIsTheStaticOne) {
    // A bad argument fails anyway. While memory is short its error can't be
    // made and the static one comes back; with enough, the real one.
    char* lib = nullptr;
    std::string codes;
    for (long n = 0; n < 40; ++n) {
        HxClientError* error =
            failingFrom(n, false, [&] { return HxClient_getLibPath(nullptr, "sub", &lib); });
        ASSERT_NE(error, nullptr);
        codes += std::to_string(HxClient_getErrorCode(error));
        if (HxClient_getErrorCode(error) == HXCLIENT_ERROR_FAILED) {
            EXPECT_STREQ(HxClient_getErrorDescription(error), "No library name was given.");
        }
        HxClient_freeError(error);
    }
    EXPECT_EQ(lib, nullptr);
    // Static errors first, then real ones only.
    const std::size_t firstReal = codes.find('1');
    ASSERT_NE(firstReal, std::string::npos) << codes;
    EXPECT_GT(firstReal, 0u) << codes;
    EXPECT_EQ(codes.find_first_not_of('2'), firstReal) << codes;
    EXPECT_EQ(codes.find('2', firstReal), std::string::npos) << codes;
}

TEST(OutOfMemory, OneFailedAllocationIsDescribedByItsException) {
    // The directory is kept: only building the library path allocates. Its
    // first allocation fails, the error object can still be made, and it
    // carries the exception's own text.
    char* path = nullptr;
    ASSERT_EQ(HxClient_getClientPath(&path), nullptr);
    HxClient_freeString(path);

    char* lib = nullptr;
    HxClientError* error =
        failingFrom(0, true, [&] { return HxClient_getLibPath("x", "17.20/lib64", &lib); });
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(HxClient_getErrorCode(error), HXCLIENT_ERROR_FAILED);
    EXPECT_STREQ(HxClient_getErrorDescription(error), std::bad_alloc().what());
    EXPECT_EQ(lib, nullptr);
    HxClient_freeError(error);
}

}  // namespace
