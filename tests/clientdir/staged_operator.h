// The operator as built and staged, copied into scratch client trees so that
// each test has a module of its own (its own search, its own binding) and
// can lay out the tree around it as it likes.
#ifndef BU_TESTS_CLIENTDIR_STAGED_OPERATOR_H
#define BU_TESTS_CLIENTDIR_STAGED_OPERATOR_H

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>

#include "scratch_dir.h"

namespace butest {

std::filesystem::path stagedOperator();  // <stage>/lib64/libbuoutop.so
std::filesystem::path stagedShim();      // <stage>/17.20/lib64/libicuuchx.so

// A client tree under root: lib64/libbuoutop.so (a copy of the staged one),
// and, as asked, lib64/hxclientdir and 17.20/lib64/libicuuchx.so.
void layOutClientTree(const std::filesystem::path& root, const std::string* marker,
                      const std::filesystem::path* shim);

// A loaded copy of the operator. It stays loaded: the operator keeps itself
// in memory once it has found its directory.
class LoadedOperator {
  public:
    explicit LoadedOperator(const std::filesystem::path& file);

    template <class Function>
    Function* get(const char* name) const {
        void* address = dlsym(handle_, name);
        if (address == nullptr) throw std::runtime_error(std::string("no symbol ") + name);
        return reinterpret_cast<Function*>(address);
    }

    // An exported global of the operator.
    template <class Type>
    Type& global(const char* name) const {
        return *get<Type>(name);
    }

  private:
    void* handle_;
};

#define OPERATOR_FUNCTION(op, name) (op).get<decltype(name)>(#name)

// A scratch client tree at <scratch>/client for each test, its copy of the
// operator loaded.
class StagedTreeTest : public ::testing::Test {
  protected:
    std::filesystem::path tree() const { return scratch_.path() / "client"; }

    // With the marker ".." unless told otherwise, and the shim if given.
    LoadedOperator loadTree(const std::filesystem::path* shim = nullptr, bool withMarker = true) {
        const std::string marker = "..";
        layOutClientTree(tree(), withMarker ? &marker : nullptr, shim);
        return LoadedOperator(tree() / "lib64" / "libbuoutop.so");
    }

    ScratchDir scratch_;
};

// What a call prints on standard output.
std::string capturedStdout(const std::function<void()>& call);

// Whether a file is mapped into this process.
bool isMapped(const std::filesystem::path& file);

}  // namespace butest

#endif  // BU_TESTS_CLIENTDIR_STAGED_OPERATOR_H
