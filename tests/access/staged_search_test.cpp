// The search for an Access Module by bare name, through the staged operator
// in a copy of the client tree: the client's version directory first, then
// the current directory.
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <string>

#include "log_capture.h"
#include "pmdcomt.h"
#include "scratch_dir.h"
#include "staged_operator.h"

namespace {

namespace fs = std::filesystem;

#define OPERATOR_FUNCTION(op, name) (op).get<decltype(name)>(#name)

class StagedSearchTest : public ::testing::Test {
  protected:
    void SetUp() override {
        const std::string marker = "..";
        butest::layOutClientTree(root(), &marker, nullptr);
        const fs::path module = fs::path(BU_STAGE_DIR) / "lib64" / "axsmods" / "libtestaxsmod.so";
        fs::create_directories(root() / "17.20" / "lib64");
        fs::create_directories(root() / "cwd");
        fs::copy_file(module, root() / "17.20" / "lib64" / "libinstalled.so");
        fs::copy_file(module, root() / "cwd" / "libincwd.so");
        previous_ = fs::current_path();
    }
    void TearDown() override { fs::current_path(previous_); }

    fs::path root() const { return scratch_.path() / "client"; }
    static uint32_t attachBare(const butest::LoadedOperator& op, const char* name) {
        pmData names[2] = {{static_cast<uint32_t>(std::strlen(name)), const_cast<char*>(name)},
                           {0, nullptr}};
        pmHandle h = 0;
        return OPERATOR_FUNCTION(op, pmAttach)(names, 1, &h);
    }

    butest::ScratchDir scratch_;
    fs::path previous_;
};

TEST_F(StagedSearchTest, BareNameIsFoundInTheVersionDirectoryThenTheCurrentOne) {
    butest::LoadedOperator op(root() / "lib64" / "libbuoutop.so");
    LogCapture trace;
    OPERATOR_FUNCTION(op, trceSetFp)(trace.handle());
    InitBlock init{2, "test", PM_INTERFACE_VERSION};
    ASSERT_EQ(OPERATOR_FUNCTION(op, pmInit)(&init), 0u);
    fs::current_path(root() / "cwd");
    EXPECT_EQ(attachBare(op, "libinstalled"), 0u);
    const std::string installed = (root() / "17.20" / "lib64" / "libinstalled.so").string();
    EXPECT_TRUE(trace.contains("RelSelDir subpath=17.20/lib64"));
    EXPECT_TRUE(trace.contains("Try Install path=" + installed));
    EXPECT_FALSE(trace.contains("Try CWD path=./libinstalled.so"));
    trace.clear();
    EXPECT_EQ(attachBare(op, "libincwd"), 0u);
    EXPECT_TRUE(trace.contains("Try CWD path=./libincwd.so"));
    EXPECT_FALSE(trace.contains("Try original lib name="));
    trace.clear();
    EXPECT_EQ(attachBare(op, "libnowhere"), 34u);
    EXPECT_TRUE(trace.contains("Try original lib name=libnowhere.so"));
    EXPECT_EQ(OPERATOR_FUNCTION(op, pmShutDown)(2), 0u);
    OPERATOR_FUNCTION(op, trceSetFp)(nullptr);
}

}  // namespace
