// The search for the client directory, driven through the internal class:
// where the marker is looked for, how its content becomes the directory, and
// the exact failure texts.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>

#include "client_directory.h"
#include "errno_text.h"
#include "hxvault_exception.h"
#include "scratch_dir.h"

namespace {

namespace fs = std::filesystem;
using butest::ScratchDir;
using butest::writeFile;
using Halvex_HxVault::HxVaultException;
using Halvex_HxVault::PrivateStuff::ClientDirectory_t;
using Halvex_HxVault::PrivateStuff::errnoText;

// The failure text of a call, or "" when it succeeds.
std::string failureOf(const std::function<void()>& call) {
    try {
        call();
    } catch (const HxVaultException& e) {
        return e.what();
    }
    return "";
}

// A client tree <root>/client/lib64/module.so; PATH and the working
// directory are put back after each test.
class ClientDirTest : public ::testing::Test {
  protected:
    fs::path root() const { return scratch_.path(); }
    fs::path client() const { return root() / "client"; }
    fs::path lib64() const { return client() / "lib64"; }
    fs::path module() const { return lib64() / "module.so"; }

    void SetUp() override {
        writeFile(module(), "not really a module");
        if (const char* path = std::getenv("PATH")) savedPath_ = path;
        savedCwd_ = fs::current_path();
    }
    void TearDown() override {
        if (savedPath_) setenv("PATH", savedPath_->c_str(), 1);
        fs::current_path(savedCwd_);
    }
    void writeMarker(const std::string& content) { writeFile(lib64() / "hxclientdir", content); }

    static std::string directoryFrom(const fs::path& modulePath) {
        ClientDirectory_t directory(nullptr);
        directory.setDirFromModule(modulePath.string());
        return directory.keptDirectory();
    }

    ScratchDir scratch_;
    std::optional<std::string> savedPath_;
    fs::path savedCwd_;
};

// Every byte of the marker is the path: absolute, relative to the module's
// folder, longer than one read, with a final newline kept.
TEST_F(ClientDirTest, MarkerContentBecomesTheDirectory) {
    std::string deep = "..";
    while (deep.size() < 9000) deep += "/.";
    const std::pair<std::string, std::string> cases[] = {
        {root().string() + "/./client", client().string()},
        {"..", client().string()},
        {"../lib64/../", client().string()},
        {deep, client().string()},
        {"..\n", lib64().string() + "/..\n"},
    };
    for (const auto& [marker, directory] : cases) {
        writeMarker(marker);
        EXPECT_EQ(directoryFrom(module()), directory) << marker.substr(0, 20);
    }
}

// The marker beside the final target counts, not one beside a link; a bare
// name is looked for in $PATH, passing over what is not a regular file.
TEST_F(ClientDirTest, ModuleIsFollowedThroughLinksAndFoundInPath) {
    writeMarker("..");
    const fs::path links = root() / "links";
    writeFile(links / "hxclientdir", "/wrong");
    fs::create_symlink("../client/lib64/module.so", links / "relative.so");
    fs::create_symlink(module(), links / "absolute.so");
    fs::create_symlink("relative.so", links / "chained.so");
    for (const char* link : {"relative.so", "absolute.so", "chained.so"}) {
        EXPECT_EQ(directoryFrom(links / link), client().string()) << link;
    }
    fs::create_directories(root() / "decoy" / "module.so");
    setenv("PATH",
           (root().string() + "/none:" + root().string() + "/decoy:" + lib64().string()).c_str(),
           1);
    EXPECT_EQ(directoryFrom("module.so"), client().string());
    setenv("PATH", links.c_str(), 1);
    EXPECT_EQ(directoryFrom("chained.so"), client().string());
}

TEST_F(ClientDirTest, EachFailureHasItsText) {
    const std::string notInPath = "Failed to find \"module.so\" in directories listed in $PATH.";
    struct Case {
        const char* what;
        std::function<void()> arrange;
        fs::path module;
        std::string text;
    };
    const Case cases[] = {
        // Reached through "..": the message names the folder canonically.
        {"missing marker", [&] { fs::create_directories(client() / "other"); },
         client() / "other" / ".." / "lib64" / "module.so",
         "The hxclientdir file is missing from \"" + lib64().string() + "\"."},
        {"empty marker", [&] { writeMarker(""); }, module(),
         "The hxclientdir file (in \"" + lib64().string() + "\") is empty."},
        {"unreadable marker", [&] { fs::create_directories(lib64() / "hxclientdir"); }, module(),
         "An attempt to read the hxclientdir file failed (errno = " + errnoText(EISDIR) + ")."},
        {"unopenable marker", [&] { fs::create_symlink("hxclientdir", lib64() / "hxclientdir"); },
         module(),
         "Cannot open the hxclientdir file (in \"" + lib64().string() +
             "\") (errno = " + errnoText(ELOOP) + ")."},
        {"missing module", [] {}, lib64() / "gone.so",
         "\"" + (lib64() / "gone.so").string() + "\" does not name an existing file."},
        {"module behind a file", [] {}, module() / "below.so",
         "A failure accessing \"" + (module() / "below.so").string() +
             "\" occurred (errno = " + errnoText(ENOTDIR) + ")."},
        {"dangling link", [&] { fs::create_symlink("nowhere.so", lib64() / "dangling.so"); },
         lib64() / "dangling.so",
         "\"" + (lib64() / "nowhere.so").string() + "\" does not name an existing file."},
        {"not in PATH", [&] { setenv("PATH", (root() / "bin").c_str(), 1); }, "module.so",
         notInPath},
        {"no PATH", [] { unsetenv("PATH"); }, "module.so", notInPath},
    };
    for (const Case& c : cases) {
        c.arrange();
        EXPECT_EQ(failureOf([&] { directoryFrom(c.module); }), c.text) << c.what;
        fs::remove_all(lib64() / "hxclientdir");
    }
    fs::create_symlink("b.so", lib64() / "a.so");
    fs::create_symlink("a.so", lib64() / "b.so");
    EXPECT_THAT(failureOf([&] { directoryFrom(lib64() / "a.so"); }),
                ::testing::StartsWith("Too many symbolic links were followed"));
    int onTheStack = 0;
    ClientDirectory_t nowhere(&onTheStack);
    EXPECT_EQ(failureOf([&] { nowhere.getPathname(); }),
              "Attempt to locate the current module using dl_iterate_phdr() failed.");
}

// Folders in messages: canonical where they exist, else absolute without
// one final slash.
TEST_F(ClientDirTest, FoldersInMessagesAreMassaged) {
    const std::string missing = root().string() + "/missing/";
    const std::pair<std::string, std::string> cases[] = {
        {client().string() + "/lib64/../lib64/", lib64().string()},
        {missing, missing.substr(0, missing.size() - 1)},
        {missing + "/", missing},
        {"", ""},
    };
    for (const auto& [path, massaged] : cases) {
        EXPECT_EQ(ClientDirectory_t::getMassagedPath(path), massaged) << path;
    }
    fs::current_path(root());
    EXPECT_EQ(ClientDirectory_t::getMassagedPath("missing/"), root().string() + "/missing");
    fs::current_path("/");
    EXPECT_EQ(ClientDirectory_t::getMassagedPath("missing"), "/missing");
}

}  // namespace
