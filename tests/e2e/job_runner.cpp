#include "job_runner.h"

#include <sys/wait.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace fs = std::filesystem;

namespace bu::e2e {

using testsupport::lines;
using testsupport::readFile;

std::string runCommand(const std::string& command, int* status) {
    std::string out;
    FILE* pipe = popen((command + " 2>&1").c_str(), "r");
    if (pipe == nullptr) return out;
    char chunk[4096];
    size_t n;
    while ((n = fread(chunk, 1, sizeof chunk, pipe)) > 0) out.append(chunk, n);
    int rc = pclose(pipe);
    *status = WIFEXITED(rc) ? WEXITSTATUS(rc) : -1;
    return out;
}

std::string stagePath(const std::string& relative) {
    return std::string(BU_STAGE_DIR) + "/" + relative;
}

std::string staged(const std::string& relative) {
    return "\"" + stagePath(relative) + "\"";
}

std::string goldenBytes(const std::string& folder, const std::string& name) {
    std::ifstream in(std::string(BU_SOURCE_DIR) + "/tests/golden/" + folder + "/" + name + ".hex");
    if (!in.good()) return "(no golden file " + folder + "/" + name + ")";
    std::string text;
    for (std::string line; std::getline(in, line);) text += line.substr(0, line.find('#'));
    return testsupport::unhex(text);
}

std::string charAndIntegerSchema() {
    return "[[schema]]\nname = \"code\"\ntype = \"CHAR\"\nlength = 5\n"
           "[[schema]]\nname = \"n\"\ntype = \"INTEGER\"\n";
}

std::vector<std::string> JobResult::messages(int number) const {
    char tag[16];
    std::snprintf(tag, sizeof tag, "QLN%05d", number);
    std::vector<std::string> found;
    for (const auto& line : lines(publicLog)) {
        if (line.find(tag) != std::string::npos) found.push_back(line);
    }
    return found;
}

std::vector<std::string> JobResult::greetings() const {
    std::vector<std::string> found;
    for (const auto& line : lines(publicLog)) {
        if (line.find("BulkUnload OUTMOD Adapter, version") != std::string::npos) {
            found.push_back(line);
        }
    }
    return found;
}

std::string JobResult::file(const std::string& name) const {
    return readFile(fs::path(dir) / name);
}

std::string JobResult::allPrivate() const {
    std::string all;
    for (const auto& [name, text] : privateLogs) all += text;
    return all;
}

namespace {

fs::path folderOf(const Job& job) {
    return fs::path(BU_BINARY_DIR) / "e2e-jobs" / job.name;
}

JobResult runIn(const Job& job, const std::string& options) {
    const fs::path dir = folderOf(job);
    JobResult result;
    result.dir = dir.string();
    std::string command = "cd '" + dir.string() + "' && BU_JOURNAL_DIR='" +
                          (dir / "journal").string() + "' BU_JOURNAL_MODE='" + job.journalMode +
                          "' '" + stagePath("bin/buhost") + "' run job.toml --json " + options;
    result.output = runCommand(command, &result.exitCode);
    for (const auto& entry : fs::directory_iterator(dir / "logs")) {
        std::string name = entry.path().filename().string();
        if (name.find("-public") != std::string::npos) {
            result.publicLog += readFile(entry.path());
        } else {
            result.privateLogs[name] = readFile(entry.path());
        }
    }
    for (const auto& entry : fs::directory_iterator(dir / "journal")) {
        result.journals.push_back(lines(readFile(entry.path())));
    }
    return result;
}

}  // namespace

JobResult runJob(const Job& job, const std::string& options) {
    const fs::path dir = folderOf(job);
    fs::remove_all(dir);
    fs::create_directories(dir / "logs");
    fs::create_directories(dir / "journal");
    for (const auto& [name, bytes] : job.inputs)
        std::ofstream(dir / name, std::ios::binary) << bytes;
    {
        std::ofstream toml(dir / "job.toml");
        toml << "[job]\nname = \"" << job.name << "\"\ninstances = " << job.instances
             << "\nlog_dir = \"logs\"\n"
             << job.jobLines << "\n[operator]\nmodule = \""
             << stagePath(job.module.empty() ? "lib64/libbuoutop.so" : job.module)
             << "\"\n\n[attributes]\n"
             << job.attributes << "\n"
             << job.schema << "\n[source]\n"
             << job.source << "\n"
             << job.tables << "\n";
    }
    return runIn(job, options);
}

JobResult rerunJob(const Job& job, const std::string& options) {
    return runIn(job, options);
}

}  // namespace bu::e2e
