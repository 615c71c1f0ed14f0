#include "buhost_job.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include <cerrno>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "reference_table.h"

extern char** environ;

namespace bench {
namespace {

std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

void writeJobFile(const std::string& path, const std::string& work, const JobSpec& spec,
                  const std::string& rowsFile) {
    std::ofstream job(path);
    job << "[job]\nname = \"" << spec.name << "\"\ninstances = " << spec.instances
        << "\ncheckpoint_rows = 0\nlog_dir = \"" << work << "/logs\"\n\n"
        << "[operator]\nmodule = \"lib64/libbuoutop.so\"\n\n"
        << "[attributes]\n"
        << spec.attributes << "\n"
        << kReferenceSchema << "\n[source]\nkind = \"rows\"\nfile = \"" << rowsFile << "\"\n";
    if (spec.mappedRows) job << "row_memory = \"mapped\"\n";
    if (!job) throw std::runtime_error("cannot write " + path);
}

// Runs buhost with standard output and error into files; returns its exit
// status and adds the CPU time of it and its instances to `cpuSeconds`.
int spawn(const std::string& buhost, const std::string& jobFile, const std::string& out,
          const std::string& err, double& cpuSeconds) {
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_addopen(&files, 1, out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    posix_spawn_file_actions_addopen(&files, 2, err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    std::string args[] = {buhost, "run", jobFile, "--json"};
    char* argv[] = {args[0].data(), args[1].data(), args[2].data(), args[3].data(), nullptr};
    pid_t pid = 0;
    const int rc = posix_spawn(&pid, buhost.c_str(), &files, nullptr, argv, environ);
    posix_spawn_file_actions_destroy(&files);
    if (rc != 0) throw std::runtime_error("cannot start " + buhost);
    int status = 0;
    struct rusage usage {};
    while (wait4(pid, &status, 0, &usage) < 0 && errno == EINTR) {
    }
    for (const timeval& t : {usage.ru_utime, usage.ru_stime})
        cpuSeconds += static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_usec) / 1e6;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

// A number of the job's own summary: the first occurrence of the key comes
// before the instances' list.
double jsonNumber(const std::string& json, const char* key) {
    const std::string quoted = std::string("\"") + key + "\":";
    const size_t at = json.find(quoted);
    if (at == std::string::npos) throw std::runtime_error(std::string("no ") + key + " in " + json);
    return std::strtod(json.c_str() + at + quoted.size(), nullptr);
}

}  // namespace

JobResult runBuhostJob(const std::string& stage, const std::string& work, const JobSpec& spec,
                       const std::string& rowsFile) {
    const std::string base = work + "/" + spec.name;
    writeJobFile(base + ".toml", work, spec, rowsFile);
    JobResult result;
    const int status = spawn(stage + "/bin/buhost", base + ".toml", base + ".json", base + ".err",
                             result.cpuSeconds);
    const std::string json = readFile(base + ".json");
    if (status != 0)
        throw std::runtime_error("job " + spec.name + " ended with " + std::to_string(status) +
                                 ": " + readFile(base + ".err") + json);
    result.seconds = jsonNumber(json, "seconds");
    result.rows = static_cast<uint64_t>(jsonNumber(json, "rows"));
    result.anonKB = static_cast<uint64_t>(jsonNumber(json, "rss_anon_kb"));
    return result;
}

}  // namespace bench
