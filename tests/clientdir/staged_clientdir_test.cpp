// The client directory as the staged operator finds it when its file is
// gone: the test copies the operator into a client tree of its own, loads
// the copy, and calls its exported HxClient_ functions.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "hxclient.h"
#include "staged_operator.h"

namespace {

namespace fs = std::filesystem;
using butest::LoadedOperator;
using StagedClientDir = butest::StagedTreeTest;

// The client path, or the error's code and description.
std::string clientPath(const LoadedOperator& op) {
    char* text = nullptr;
    HxClientError* error = OPERATOR_FUNCTION(op, HxClient_getClientPath)(&text);
    std::string shown = text != nullptr ? text : "";
    if (error != nullptr) {
        shown = std::to_string(OPERATOR_FUNCTION(op, HxClient_getErrorCode)(error)) + ": " +
                OPERATOR_FUNCTION(op, HxClient_getErrorDescription)(error);
    }
    OPERATOR_FUNCTION(op, HxClient_freeError)(error);
    OPERATOR_FUNCTION(op, HxClient_freeString)(text);
    return shown;
}

// A module whose file was removed or replaced shows as "(deleted)" among the
// mappings; the loader's list of objects still knows it by the path it was
// opened by, and the marker is looked for there.
TEST_F(StagedClientDir, ModuleWhoseFileWasReplacedIsFoundAmongTheLoadedObjects) {
    LoadedOperator op = loadTree();
    const fs::path module = tree() / "lib64" / "libbuoutop.so";
    fs::remove(module);
    EXPECT_EQ(clientPath(op), "1: \"" + module.string() + "\" does not name an existing file.");
    fs::copy_file(butest::stagedOperator(), module);
    EXPECT_EQ(clientPath(op), tree().string());
}

}  // namespace
