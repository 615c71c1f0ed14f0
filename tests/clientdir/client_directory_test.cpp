// The search for the client directory, driven through the internal class:
// where the marker is looked for, how its content becomes the directory, and
// the exact failure texts.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
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
template <class Call>
std::string failureOf(Call&& call) {
    try {
        call();
    } catch (const HxVaultException& e) {
        return e.what();
    }
    return "";
}

class MarkerTest : public ::testing::Test {
  protected:
    // A client tree: <root>/client/lib64/module.so with its marker.
    fs::path client() const { return scratch_.path() / "client"; }
    fs::path lib64() const { return client() / "lib64"; }
    fs::path module() const { return lib64() / "module.so"; }

    void SetUp() override { writeFile(module(), "not really a module"); }
    void writeMarker(const std::string& content) { writeFile(lib64() / "hxclientdir", content); }

    std::string directoryFrom(const fs::path& modulePath) {
        ClientDirectory_t directory(nullptr);
        directory.setDirFromModule(modulePath.string());
        return directory.keptDirectory();
    }

    ScratchDir scratch_;
};

TEST_F(MarkerTest, AbsoluteMarkerIsTheDirectory) {
    writeMarker(scratch_.path().string() + "/./client");
    EXPECT_EQ(directoryFrom(module()), client().string());
}

TEST_F(MarkerTest, LongMarkerIsReadWhole) {
    // Longer than one read buffer: the directory is read to its last byte.
    std::string deep = "..";
    while (deep.size() < 9000) deep += "/.";
    writeMarker(deep);
    EXPECT_EQ(directoryFrom(module()), client().string());
}

TEST_F(MarkerTest, MissingMarkerNamesTheCanonicalDirectory) {
    // The module is reached through a path with ".." in it: the message shows
    // where the marker was looked for, canonically.
    fs::create_directories(client() / "other");
    EXPECT_EQ(failureOf([&] { directoryFrom(client() / "other" / ".." / "lib64" / "module.so"); }),
              "The hxclientdir file is missing from \"" + lib64().string() + "\".");
}

TEST_F(MarkerTest, MarkerThatCannotBeReadFails) {
    fs::create_directories(lib64() / "hxclientdir");
    EXPECT_EQ(
        failureOf([&] { directoryFrom(module()); }),
        "An attempt to read the hxclientdir file failed (errno = " + errnoText(EISDIR) + ").");
}

TEST_F(MarkerTest, MarkerThatCannotBeOpenedFails) {
    fs::create_symlink("hxclientdir", lib64() / "hxclientdir");
    EXPECT_EQ(failureOf([&] { directoryFrom(module()); }),
              "Cannot open the hxclientdir file (in \"" + lib64().string() +
                  "\") (errno = " + errnoText(ELOOP) + ").");
}

TEST_F(MarkerTest, MissingModuleFails) {
    EXPECT_EQ(failureOf([&] { directoryFrom(lib64() / "gone.so"); }),
              "\"" + (lib64() / "gone.so").string() + "\" does not name an existing file.");
}

TEST_F(MarkerTest, ModuleBehindAFileFails) {
    const fs::path bad = module() / "below.so";
    EXPECT_EQ(failureOf([&] { directoryFrom(bad); }),
              "A failure accessing \"" + bad.string() +
                  "\" occurred (errno = " + errnoText(ENOTDIR) + ").");
}

class LinkTest : public MarkerTest {};

TEST_F(LinkTest, MarkerIsLookedForBesideTheFinalTarget) {
    writeMarker("..");
    // A marker beside the link would give another directory: it must be ignored.
    fs::create_directories(scratch_.path() / "links");
    writeFile(scratch_.path() / "links" / "hxclientdir", "/wrong");
    fs::create_symlink("../client/lib64/module.so", scratch_.path() / "links" / "relative.so");
    fs::create_symlink(module(), scratch_.path() / "links" / "absolute.so");
    fs::create_symlink("relative.so", scratch_.path() / "links" / "chained.so");

    for (const char* link : {"relative.so", "absolute.so", "chained.so"}) {
        EXPECT_EQ(directoryFrom(scratch_.path() / "links" / link), client().string()) << link;
    }
}

TEST_F(LinkTest, DanglingLinkNamesItsTarget) {
    fs::create_symlink("nowhere.so", lib64() / "dangling.so");
    EXPECT_EQ(failureOf([&] { directoryFrom(lib64() / "dangling.so"); }),
              "\"" + (lib64() / "nowhere.so").string() + "\" does not name an existing file.");
}

TEST_F(LinkTest, LoopOfLinksFailsInsteadOfRunningForever) {
    fs::create_symlink("b.so", lib64() / "a.so");
    fs::create_symlink("a.so", lib64() / "b.so");
    EXPECT_THAT(failureOf([&] { directoryFrom(lib64() / "a.so"); }),
                ::testing::StartsWith("Too many symbolic links were followed"));
}

// A module known by a bare name is looked for in $PATH.
class PathSearchTest : public MarkerTest {
  protected:
    void SetUp() override {
        MarkerTest::SetUp();
        if (const char* path = std::getenv("PATH")) savedPath_ = path;
    }
    void TearDown() override {
        if (savedPath_) {
            setenv("PATH", savedPath_->c_str(), 1);
        } else {
            unsetenv("PATH");
        }
    }
    std::optional<std::string> savedPath_;
};

TEST_F(PathSearchTest, FirstRegularFileInPathWins) {
    writeMarker("..");
    // Passed over: a missing directory, and a directory of the module's name.
    fs::create_directories(scratch_.path() / "decoy" / "module.so");
    setenv("PATH",
           (scratch_.path().string() + "/none:" + scratch_.path().string() +
            "/decoy:" + lib64().string())
               .c_str(),
           1);
    EXPECT_EQ(directoryFrom("module.so"), client().string());
}

TEST_F(PathSearchTest, LinkFoundInPathIsFollowed) {
    writeMarker("..");
    fs::create_directories(scratch_.path() / "bin");
    fs::create_symlink(module(), scratch_.path() / "bin" / "linked.so");
    setenv("PATH", (scratch_.path() / "bin").c_str(), 1);
    EXPECT_EQ(directoryFrom("linked.so"), client().string());
}

TEST_F(PathSearchTest, NameNotInPathFails) {
    setenv("PATH", (scratch_.path() / "bin").c_str(), 1);
    const std::string expected = "Failed to find \"module.so\" in directories listed in $PATH.";
    EXPECT_EQ(failureOf([&] { directoryFrom("module.so"); }), expected);
    unsetenv("PATH");
    EXPECT_EQ(failureOf([&] { directoryFrom("module.so"); }), expected);
}

class MassagedPathTest : public ::testing::Test {
  protected:
    void SetUp() override { savedCwd_ = fs::current_path(); }
    void TearDown() override { fs::current_path(savedCwd_); }
    fs::path savedCwd_;
    ScratchDir scratch_;
};

TEST_F(MassagedPathTest, CanonicalWhereThePathExists) {
    fs::create_directories(scratch_.path() / "a");
    EXPECT_EQ(ClientDirectory_t::getMassagedPath(scratch_.path().string() + "/a/../a/"),
              (scratch_.path() / "a").string());
}

TEST_F(MassagedPathTest, MissingPathLosesOneFinalSlashAndBecomesAbsolute) {
    const std::string absolute = scratch_.path().string() + "/missing/";
    EXPECT_EQ(ClientDirectory_t::getMassagedPath(absolute),
              absolute.substr(0, absolute.size() - 1));
    EXPECT_EQ(ClientDirectory_t::getMassagedPath(absolute + "/"), absolute);

    fs::current_path(scratch_.path());
    EXPECT_EQ(ClientDirectory_t::getMassagedPath("missing/"),
              scratch_.path().string() + "/missing");
    fs::current_path("/");
    EXPECT_EQ(ClientDirectory_t::getMassagedPath("missing"), "/missing");
}

TEST_F(MassagedPathTest, EmptyStaysEmpty) {
    EXPECT_EQ(ClientDirectory_t::getMassagedPath(""), "");
}

TEST(ErrnoText, GivesTheSystemsText) {
    EXPECT_EQ(errnoText(ENOENT), "No such file or directory");
    EXPECT_EQ(errnoText(123456), "Unknown error 123456");
}

TEST(ModuleSearch, AddressInNoModuleFails) {
    int onTheStack = 0;
    ClientDirectory_t directory(&onTheStack);
    EXPECT_EQ(failureOf([&] { directory.getPathname(); }),
              "Attempt to locate the current module using dl_iterate_phdr() failed.");
}

}  // namespace
