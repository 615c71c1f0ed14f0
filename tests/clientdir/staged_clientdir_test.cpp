// The client directory as the staged operator finds it: each test copies the
// operator into a client tree of its own, loads the copy, and calls its
// exported HxClient_ functions.
#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "hxclient.h"
#include "staged_operator.h"

namespace {

namespace fs = std::filesystem;
using butest::LoadedOperator;

// The result of a flat call: the text, or the error's code and description.
struct FlatResult {
    std::string text;
    uint32_t code = 0;
    std::string description;
};

class StagedClientDir : public butest::StagedTreeTest {
  protected:
    static FlatResult result(const LoadedOperator& op, HxClientError* error, char* text) {
        FlatResult r;
        if (text != nullptr) r.text = text;
        r.code = OPERATOR_FUNCTION(op, HxClient_getErrorCode)(error);
        r.description = OPERATOR_FUNCTION(op, HxClient_getErrorDescription)(error);
        OPERATOR_FUNCTION(op, HxClient_freeError)(error);
        OPERATOR_FUNCTION(op, HxClient_freeString)(text);
        return r;
    }

    static FlatResult clientPath(const LoadedOperator& op) {
        char* text = nullptr;
        HxClientError* error = OPERATOR_FUNCTION(op, HxClient_getClientPath)(&text);
        return result(op, error, text);
    }

    static FlatResult libPath(const LoadedOperator& op, const char* name, const char* subPath) {
        char* text = nullptr;
        HxClientError* error = OPERATOR_FUNCTION(op, HxClient_getLibPath)(name, subPath, &text);
        return result(op, error, text);
    }
};

TEST_F(StagedClientDir, MovedTreeIsFoundFromTheModulesOwnLocation) {
    LoadedOperator op = loadTree();
    const FlatResult client = clientPath(op);
    EXPECT_EQ(client.code, 0u) << client.description;
    EXPECT_EQ(client.text, tree().string());

    EXPECT_EQ(libPath(op, "icuuchx", "17.20/lib64").text,
              tree().string() + "/17.20/lib64/libicuuchx.so");
    EXPECT_EQ(libPath(op, "pmtest", "").text, tree().string() + "//libpmtest.so");
    EXPECT_STREQ(OPERATOR_FUNCTION(op, HxClient_getRelSelDirVersion)(), "17.20.00.02");
    EXPECT_STREQ(OPERATOR_FUNCTION(op, HxClient_getRelSelDirShortVersion)(), "17.20");

    // Missing arguments are errors; null errors and texts are harmless.
    EXPECT_EQ(libPath(op, nullptr, "17.20/lib64").description, "No library name was given.");
    EXPECT_EQ(result(op, OPERATOR_FUNCTION(op, HxClient_getClientPath)(nullptr), nullptr).code, 1u);
    EXPECT_STREQ(OPERATOR_FUNCTION(op, HxClient_getErrorDescription)(nullptr), "");
    EXPECT_EQ(OPERATOR_FUNCTION(op, HxClient_getErrorCode)(nullptr), 0u);
}

// A module whose file was removed or replaced shows as "(deleted)" among the
// mappings; the loader's list of objects still knows it by the path it was
// opened by, and the marker is looked for there.
TEST_F(StagedClientDir, ModuleWhoseFileWasReplacedIsFoundAmongTheLoadedObjects) {
    LoadedOperator op = loadTree();
    const fs::path module = tree() / "lib64" / "libbuoutop.so";
    fs::remove(module);
    const FlatResult removed = clientPath(op);
    EXPECT_EQ(removed.code, 1u);
    EXPECT_EQ(removed.description, "\"" + module.string() + "\" does not name an existing file.");

    fs::copy_file(butest::stagedOperator(), module);
    EXPECT_EQ(clientPath(op).text, tree().string());
}

TEST_F(StagedClientDir, ThreadsSearchingAtOnceAllGetTheSameDirectory) {
    LoadedOperator op = loadTree();
    constexpr int kThreads = 8;
    std::atomic<int> ready{0};
    std::vector<FlatResult> results(kThreads);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            ++ready;
            while (ready.load() < kThreads) std::this_thread::yield();
            results[t] = libPath(op, "icuuchx", "17.20/lib64");
        });
    }
    for (auto& thread : threads) thread.join();
    for (const FlatResult& r : results) {
        EXPECT_EQ(r.code, 0u) << r.description;
        EXPECT_EQ(r.text, tree().string() + "/17.20/lib64/libicuuchx.so");
    }
}

}  // namespace
