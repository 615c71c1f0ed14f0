// The search for an Access Module by bare name, through the staged operator
// in a copy of the client tree: the client's version directory first, then
// the current directory.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

#include "log_capture.h"
#include "pmdcomt.h"

namespace {

namespace fs = std::filesystem;

struct Operator {
    void* library = nullptr;
    decltype(&::pmInit) init = nullptr;
    decltype(&::pmAttach) attach = nullptr;
    decltype(&::pmShutDown) shutDown = nullptr;
    decltype(&::trceSetFp) setTrace = nullptr;

    explicit Operator(const fs::path& so) {
        library = dlopen(so.c_str(), RTLD_NOW | RTLD_LOCAL);
        if (library == nullptr) return;
        init = reinterpret_cast<decltype(init)>(dlsym(library, "pmInit"));
        attach = reinterpret_cast<decltype(attach)>(dlsym(library, "pmAttach"));
        shutDown = reinterpret_cast<decltype(shutDown)>(dlsym(library, "pmShutDown"));
        setTrace = reinterpret_cast<decltype(setTrace)>(dlsym(library, "trceSetFp"));
    }
};

class StagedSearchTest : public ::testing::Test {
  protected:
    void SetUp() override {
        const char* stage = std::getenv("BU_STAGE_DIR");
        stage_ = stage ? stage : BU_STAGE_DIR;
        root_ = fs::temp_directory_path() / ("bu_staged_search_" + std::to_string(getpid()));
        fs::remove_all(root_);
        fs::create_directories(root_ / "lib64");
        fs::create_directories(root_ / "17.20" / "lib64");
        fs::create_directories(root_ / "cwd");
        fs::copy_file(stage_ / "lib64" / "libbuoutop.so", root_ / "lib64" / "libbuoutop.so");
        std::ofstream(root_ / "lib64" / "hxclientdir") << "..";
        const fs::path module = stage_ / "lib64" / "axsmods" / "libtestaxsmod.so";
        fs::copy_file(module, root_ / "17.20" / "lib64" / "libinstalled.so");
        fs::copy_file(module, root_ / "cwd" / "libincwd.so");
        previous_ = fs::current_path();
    }
    void TearDown() override {
        fs::current_path(previous_);
        fs::remove_all(root_);
    }
    uint32_t attachBare(Operator& op, const char* name) {
        pmData names[2] = {{static_cast<uint32_t>(std::strlen(name)), const_cast<char*>(name)},
                           {0, nullptr}};
        pmHandle h = 0;
        return op.attach(names, 1, &h);
    }

    fs::path stage_, root_, previous_;
};

TEST_F(StagedSearchTest, BareNameIsFoundInTheVersionDirectoryThenTheCurrentOne) {
    Operator op(root_ / "lib64" / "libbuoutop.so");
    ASSERT_NE(op.library, nullptr) << dlerror();
    ASSERT_TRUE(op.init && op.attach && op.shutDown && op.setTrace);
    LogCapture trace;
    op.setTrace(trace.handle());
    InitBlock init{2, "test", PM_INTERFACE_VERSION};
    ASSERT_EQ(op.init(&init), 0u);
    fs::current_path(root_ / "cwd");
    EXPECT_EQ(attachBare(op, "libinstalled"), 0u);
    const std::string installed = (root_ / "17.20" / "lib64" / "libinstalled.so").string();
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
    EXPECT_EQ(op.shutDown(2), 0u);
    op.setTrace(nullptr);
}

}  // namespace
