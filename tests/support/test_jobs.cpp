#include "test_jobs.h"

#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace fs = std::filesystem;

namespace testsupport {

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
    return unhex(text);
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
        if (contains(line, tag)) found.push_back(line);
    }
    return found;
}

std::vector<std::string> JobResult::greetings() const {
    std::vector<std::string> found;
    for (const auto& line : lines(publicLog)) {
        if (contains(line, "BulkUnload OUTMOD Adapter, version")) found.push_back(line);
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

JobResult runBuhost(const std::string& arguments, const std::string& dir,
                    const std::string& environment) {
    JobResult r;
    r.dir = dir;
    const std::string out = dir + "/.stdout", err = dir + "/.stderr";
    const int status =
        std::system(("cd '" + dir + "' && " + environment + " '" + stagePath("bin/buhost") + "' " +
                     arguments + " >'" + out + "' 2>'" + err + "'")
                        .c_str());
    r.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    r.out = readFile(out);
    r.err = readFile(err);
    r.output = r.out + r.err;
    return r;
}

namespace {

fs::path folderOf(const Job& job) {
    return fs::path(BU_BINARY_DIR) / "test-jobs" / job.name;
}

}  // namespace

JobResult rerunJob(const Job& job, const std::string& options) {
    const fs::path dir = folderOf(job);
    const std::string journal = (dir / "journal").string();
    JobResult r =
        runBuhost("run job.toml " + options, dir.string(),
                  "BU_JOURNAL_DIR='" + journal + "' BU_JOURNAL_MODE='" + job.journalMode + "'");
    for (const auto& entry : fs::directory_iterator(dir / "logs")) {
        std::string name = entry.path().filename().string();
        if (contains(name, "-public")) {
            r.publicLog += readFile(entry.path());
        } else {
            r.privateLogs[name] = readFile(entry.path());
        }
    }
    for (const auto& entry : fs::directory_iterator(journal))
        r.journals.push_back(lines(readFile(entry.path())));
    return r;
}

std::string writeJob(const Job& job) {
    const fs::path dir = folderOf(job);
    fs::remove_all(dir);
    fs::create_directories(dir / "logs");
    fs::create_directories(dir / "journal");
    for (const auto& [name, bytes] : job.inputs) writeFile(dir / name, bytes);
    writeFile(dir / "job.toml",
              "[job]\nname = \"" + job.name + "\"\ninstances = " + std::to_string(job.instances) +
                  "\nlog_dir = \"logs\"\n" + job.jobLines + "\n[operator]\nmodule = \"" +
                  stagePath(job.module.empty() ? "lib64/libbuoutop.so" : job.module) +
                  "\"\n\n[attributes]\n" + job.attributes + "\n" + job.schema + "\n[source]\n" +
                  job.source + "\n" + job.tables + "\n");
    return dir.string();
}

JobResult runJob(const Job& job, const std::string& options) {
    writeJob(job);
    return rerunJob(job, options);
}

}  // namespace testsupport
