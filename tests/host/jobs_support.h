// Job files for the tests that run buhost against the test operator.
#pragma once

#include <filesystem>
#include <string>

#include "host_test_support.h"

namespace hosttest {

struct JobText {
    std::string job;         // extra lines of [job]
    std::string attributes;  // lines of [attributes]
    std::string schema;      // [[schema]] tables
    std::string source = "kind = \"generate\"\nrows = 20\nnull_rate = 0.2\n";
};

// Writes job.toml into `dir` (with a log folder) and returns its path. The
// test operator writes its lines to <dir>/out.<instance>.
inline std::string writeJob(const TempDir& dir, const JobText& t) {
    std::filesystem::create_directories(dir / "logs");
    std::string schema = t.schema.empty()
                             ? "[[schema]]\nname = \"id\"\ntype = \"INTEGER\"\n"
                               "[[schema]]\nname = \"v\"\ntype = \"VARCHAR\"\nlength = 12\n"
                               "nullable = true\n"
                             : t.schema;
    std::string text = "[job]\nname = \"t\"\nlog_dir = \"logs\"\n" + t.job +
                       "\n[operator]\nmodule = \"" + testOperator() +
                       "\"\n[attributes]\nFileName = \"" + (dir / "out.{instance}") + "\"\n" +
                       t.attributes + "\n" + schema + "\n[source]\n" + t.source;
    writeFile(dir / "job.toml", text);
    return dir / "job.toml";
}

}  // namespace hosttest
