// Helpers of the host's tests: a scratch folder, the stage's paths, and
// running the staged buhost as a subprocess.
#pragma once

#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "test_files.h"

namespace hosttest {

using testsupport::hex;
using testsupport::lines;
using testsupport::readFile;
using testsupport::unhex;
using testsupport::writeFile;

class TempDir {
  public:
    TempDir() {
        std::string pattern =
            (std::filesystem::temp_directory_path() / "buhost-test-XXXXXX").string();
        std::vector<char> buf(pattern.begin(), pattern.end());
        buf.push_back('\0');
        if (::mkdtemp(buf.data()) == nullptr) std::abort();
        path_ = buf.data();
    }
    ~TempDir() {
        std::error_code ec;
        std::filesystem::remove_all(path_, ec);
    }
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;
    const std::string& path() const { return path_; }
    std::string operator/(const std::string& name) const { return path_ + "/" + name; }

  private:
    std::string path_;
};

inline std::string stageDir() {
    return BU_STAGE_DIR;
}
inline std::string testOperator() {
    return stageDir() + "/tests/lib64/libbutestop.so";
}

struct RunResult {
    int exitCode = -1;
    std::string out;
    std::string err;
};

// Runs the staged buhost with `args`, capturing both streams.
inline RunResult runBuhost(const std::vector<std::string>& args, const TempDir& scratch) {
    std::string cmd = "'" + stageDir() + "/bin/buhost'";
    for (const auto& a : args) cmd += " '" + a + "'";
    const std::string outPath = scratch / ".stdout";
    const std::string errPath = scratch / ".stderr";
    cmd += " >'" + outPath + "' 2>'" + errPath + "'";
    int status = std::system(cmd.c_str());
    RunResult r;
    r.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    r.out = readFile(outPath);
    r.err = readFile(errPath);
    return r;
}

}  // namespace hosttest
