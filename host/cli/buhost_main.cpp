// buhost: run or check a job file against an operator shared object.
#include <unistd.h>

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "job/job_file.h"
#include "job/path_resolver.h"
#include "job/run_readiness.h"
#include "rows/row_source.h"
#include "run/job_runner.h"
#include "run/operator_module.h"
#include "run/report_output.h"

namespace {

constexpr int kExitUsage = 2;
constexpr int kExitFailed = 12;

const char kUsage[] =
    "usage: buhost run JOB.toml [--instances N] [--restart] [--crash-after-rows [K:]N]\n"
    "                           [--trace LEVEL] [--quiet] [--json] [--show-log]\n"
    "       buhost check JOB.toml\n";

struct Usage {
    std::string message;
};

uint64_t parseCount(const std::string& text, const char* what) {
    char* end = nullptr;
    errno = 0;
    unsigned long long v = std::strtoull(text.c_str(), &end, 10);
    if (text.empty() || text[0] == '-' || *end != '\0' || errno != 0 || v == 0)
        throw Usage{std::string(what) + " needs a positive number, not '" + text + "'"};
    return v;
}

// The operator's trace levels, by name in any case: a name it doesn't know
// would stop every instance at its start.
std::string traceLevel(const std::string& given) {
    static constexpr const char* kLevels[] = {"NONE", "MILESTONES", "IO_COUNTS", "IO_BUFFERS",
                                              "ALL"};
    std::string upper = given;
    for (char& c : upper) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    for (const char* level : kLevels) {
        if (upper == level) return upper;
    }
    throw Usage{"--trace must be NONE, MILESTONES, IO_COUNTS, IO_BUFFERS or ALL, not '" + given +
                "'"};
}

struct Command {
    std::string verb;
    std::string jobFile;
    buhost::RunOptions run;
    bool quiet = false;
    bool json = false;
    bool showLog = false;
};

Command parseArgs(int argc, char** argv) {
    if (argc < 3) throw Usage{""};
    Command cmd;
    cmd.verb = argv[1];
    if (cmd.verb != "run" && cmd.verb != "check") throw Usage{"unknown command '" + cmd.verb + "'"};
    cmd.jobFile = argv[2];
    for (int i = 3; i < argc; ++i) {
        std::string opt = argv[i];
        auto value = [&]() -> std::string {
            if (i + 1 >= argc) throw Usage{opt + " needs a value"};
            return argv[++i];
        };
        if (cmd.verb == "check") throw Usage{"check takes no option '" + opt + "'"};
        if (opt == "--instances") {
            uint64_t n = parseCount(value(), "--instances");
            if (n > 64) throw Usage{"--instances is limited to 64"};
            cmd.run.instances = static_cast<int>(n);
        } else if (opt == "--restart") {
            cmd.run.restart = true;
        } else if (opt == "--crash-after-rows") {
            std::string v = value();
            auto colon = v.find(':');
            if (colon == std::string::npos) {
                cmd.run.crashAfterRows = parseCount(v, "--crash-after-rows");
            } else {
                uint64_t k = parseCount(v.substr(0, colon), "--crash-after-rows instance");
                cmd.run.crashAfterRowsOf[static_cast<int>(k)] =
                    parseCount(v.substr(colon + 1), "--crash-after-rows");
            }
        } else if (opt == "--trace") {
            cmd.run.traceLevel = traceLevel(value());
        } else if (opt == "--quiet") {
            cmd.quiet = true;
        } else if (opt == "--json") {
            cmd.json = true;
        } else if (opt == "--show-log") {
            cmd.showLog = true;
        } else {
            throw Usage{"unknown option '" + opt + "'"};
        }
    }
    return cmd;
}

int check(const Command& cmd, const buhost::JobDefinition& job) {
    buhost::checkRowSource(job);
    buhost::OperatorModule module(job.operatorModule);
    buhost::checkFoldersWritable(job);
    for (const std::string& warning : buhost::outmodWarnings(job))
        std::fprintf(stderr, "buhost: %s: warning: %s\n", cmd.jobFile.c_str(), warning.c_str());
    std::printf("job '%s' is valid: %zu columns, %d instance(s), operator %s (%s)\n",
                job.name.c_str(), job.schema.size(), job.instances, job.operatorModule.c_str(),
                module.version().c_str());
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 2 && (std::strcmp(argv[1], "--help") == 0 || std::strcmp(argv[1], "-h") == 0)) {
        std::fputs(kUsage, stdout);
        return 0;
    }
    Command cmd;
    try {
        cmd = parseArgs(argc, argv);
    } catch (const Usage& u) {
        if (!u.message.empty()) std::fprintf(stderr, "buhost: %s\n", u.message.c_str());
        std::fputs(kUsage, stderr);
        return kExitUsage;
    }
    try {
        buhost::JobDefinition job = buhost::loadJobFile(cmd.jobFile, buhost::stageOfExecutable());
        if (cmd.verb == "check") return check(cmd, job);
        buhost::checkRowSource(job);
        cmd.run.showProgress = !cmd.quiet && !cmd.json && ::isatty(STDERR_FILENO);
        cmd.run.instanceOutputToStderr = cmd.json;
        buhost::JobReport report = buhost::runJob(job, cmd.run);
        // Each failure is told once: in the report, or, when there is none,
        // on standard error.
        if (cmd.json) {
            buhost::printReportJson(stdout, report);
        } else if (!cmd.quiet) {
            buhost::printReport(stdout, report);
        } else {
            for (const auto& r : report.instances) {
                if (!r.failure.empty())
                    std::fprintf(stderr, "buhost: instance %d: %s\n", r.instance,
                                 r.failure.c_str());
            }
        }
        // The log follows the summary; beside JSON it goes to standard error.
        if (cmd.showLog && !buhost::printPublicLog(cmd.json ? stderr : stdout, report))
            std::fprintf(stderr, "buhost: no public log at %s\n", report.publicLog.c_str());
        return report.exitCode;
    } catch (const buhost::JobError& e) {
        std::fprintf(stderr, "buhost: %s: %s\n", cmd.jobFile.c_str(), e.what());
        return kExitFailed;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "buhost: %s\n", e.what());
        return kExitFailed;
    }
}
