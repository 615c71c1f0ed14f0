// bench_export - export throughput end to end: jobs of the reference table
// run through buhost with the real operator, each held against a baseline
// of the same run (a plain writer of the same bytes) or against another job
// (trace levels, two instances). Every figure is the median of the rounds;
// a ratio is the median of the per-round ratios, so that both sides of it
// see the same moment of a noisy machine. The first round also checks that
// each job wrote the bytes its baseline wrote.
//
//   bench_export [--rows N] [--rounds N] [--work DIR] [--stage DIR] [--only TEXT]
//                [--row-memory mapped|reused]
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "baseline_writers.h"
#include "bench_options.h"
#include "buhost_job.h"
#include "reference_table.h"

namespace {

using bench::LengthPrefix;
using bench::Quoting;

// What a job's output is compared with: the baseline that writes the same
// bytes; None for a job that writes no file.
enum class Baseline { None, Delimited, DelimitedQuoted, Binary, Formatted, Unformatted };

struct ExportCase {
    const char* name;        // as printed
    const char* job;         // the job's name: files in the work folder
    const char* attributes;  // besides "OUTMODname" and "FileName"
    int instances;
    Baseline output;
    const char* against;  // the case timed against; nullptr: the baseline
    double target;        // the bound of its ratio, 0 for none: at most for a time, at
                          // least for the speed-up of more instances
};

constexpr uint64_t kSeed = 20240601;  // the reference table's rows, the same in every run

#define BU_DELIMITED "Format = \"DELIMITED\"\nTextDelimiter = \"|\"\n"

// The cases of a run, in the order they are run and printed; a case timed
// against another comes right after it, so both meet the machine in the same
// mood. A case without `output` runs with the counting OUTMOD and no file.
constexpr ExportCase kCases[] = {
    {"no file, counting OUTMOD", "count", "", 1, Baseline::None, nullptr, 0},
    {"DELIMITED", "delimited", BU_DELIMITED, 1, Baseline::Delimited, nullptr, 1.5},
    {"DELIMITED, TraceLevel MILESTONES", "trace2", BU_DELIMITED "TraceLevel = \"MILESTONES\"\n", 1,
     Baseline::Delimited, "DELIMITED", 1.02},
    {"DELIMITED, TraceLevel IO_COUNTS", "trace3", BU_DELIMITED "TraceLevel = \"IO_COUNTS\"\n", 1,
     Baseline::Delimited, "DELIMITED", 1.02},
    {"DELIMITED, 2 instances", "two", BU_DELIMITED, 2, Baseline::Delimited, "DELIMITED", 1.8},
    {"DELIMITED, quoted where needed", "quoted", BU_DELIMITED "QuotedData = \"Optional\"\n", 1,
     Baseline::DelimitedQuoted, nullptr, 1.5},
    {"BINARY", "binary", "Format = \"BINARY\"\n", 1, Baseline::Binary, nullptr, 2.0},
    {"FORMATTED", "formatted", "Format = \"FORMATTED\"\n", 1, Baseline::Formatted, nullptr, 2.0},
    {"UNFORMATTED", "unformatted", "Format = \"UNFORMATTED\"\n", 1, Baseline::Unformatted, nullptr,
     2.0},
};

const ExportCase* caseNamed(const char* name) {
    for (const ExportCase& c : kCases)
        if (name != nullptr && std::strcmp(c.name, name) == 0) return &c;
    return nullptr;
}

const ExportCase* againstCase(const ExportCase& c) {
    return caseNamed(c.against);
}

// A case with more instances than the one it is held against measures a
// speed-up: rows per wall second against rows per wall second.
bool isSpeedUp(const ExportCase& c) {
    const ExportCase* other = againstCase(c);
    return other != nullptr && other->instances != c.instances;
}

const char* baselineName(Baseline b) {
    switch (b) {
        case Baseline::Delimited:
            return "baseline delimited";
        case Baseline::DelimitedQuoted:
            return "baseline delimited, quoted";
        case Baseline::Binary:
            return "baseline BINARY fwrite";
        case Baseline::Formatted:
            return "baseline FORMATTED fwrite";
        case Baseline::Unformatted:
            return "baseline UNFORMATTED fwrite";
        case Baseline::None:
            break;
    }
    return "";
}

uint64_t writeBaseline(Baseline b, const bench::ReferenceRows& rows, const std::string& path) {
    switch (b) {
        case Baseline::Delimited:
            return bench::writeDelimited(rows, '|', Quoting::None, path);
        case Baseline::DelimitedQuoted:
            return bench::writeDelimited(rows, '|', Quoting::Optional, path);
        case Baseline::Binary:
            return bench::writeLengthPrefixed(rows, LengthPrefix::Binary, path);
        case Baseline::Formatted:
            return bench::writeLengthPrefixed(rows, LengthPrefix::Formatted, path);
        case Baseline::Unformatted:
            return bench::writeLengthPrefixed(rows, LengthPrefix::Unformatted, path);
        case Baseline::None:
            break;
    }
    return 0;
}

struct Options {
    uint64_t rows = 1000000;
    int rounds = 5;
    std::string work;
    std::string stage = BU_STAGE_DIR;
    std::string only;  // run the cases whose name holds this text, with what they need
    bool mappedRows = true;
};

Options parseOptions(int argc, char** argv) {
    Options o;
    o.work = std::string(BU_BINARY_DIR) + "/bench-export";
    bench::readOptions(
        argc, argv, "bench_export.cpp", [&o](const std::string& name, const std::string& value) {
            if (name == "--rows") {
                o.rows = std::strtoull(value.c_str(), nullptr, 10);
            } else if (name == "--rounds") {
                o.rounds = std::atoi(value.c_str());
            } else if (name == "--work") {
                o.work = value;
            } else if (name == "--stage") {
                o.stage = value;
            } else if (name == "--only") {
                o.only = value;
            } else if (name == "--row-memory") {
                if (value != "mapped" && value != "reused")
                    throw std::runtime_error("--row-memory takes mapped or reused, not " + value);
                o.mappedRows = value == "mapped";
            } else {
                return false;
            }
            return true;
        });
    if (o.rows == 0 || o.rounds < 1)
        throw std::runtime_error("--rows and --rounds must be above 0");
    return o;
}

double median(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    const size_t n = v.size();
    return n % 2 ? v[n / 2] : (v[n / 2 - 1] + v[n / 2]) / 2;
}

// One measurement: wall time, and the CPU time that the work itself used,
// which other programs on a busy machine disturb far less.
struct Sample {
    double wall = 0;
    double cpu = 0;
};

double processCpuSeconds() {
    timespec t{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
    return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_nsec) / 1e9;
}

Sample measure(const std::function<void()>& work) {
    const auto start = std::chrono::steady_clock::now();
    const double cpuStart = processCpuSeconds();
    work();
    return {std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(),
            processCpuSeconds() - cpuStart};
}

std::string instanceFile(const std::string& work, const ExportCase& c, int instance) {
    return work + "/" + c.job + "-" + std::to_string(instance) + ".out";
}

uint64_t fileSize(const std::string& path) {
    struct stat st {};
    return ::stat(path.c_str(), &st) == 0 ? static_cast<uint64_t>(st.st_size) : 0;
}

std::string contents(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

// The job's bytes against its baseline's: one file must match byte for byte,
// several (one per instance) must add up to the same size. Empty when they
// agree, else what differs.
std::string compareOutput(const std::string& work, const ExportCase& c,
                          const std::string& baselineFile) {
    if (c.instances == 1) {
        const std::string mine = contents(instanceFile(work, c, 1));
        const std::string theirs = contents(baselineFile);
        if (mine == theirs) return "";
        const size_t at = static_cast<size_t>(
            std::mismatch(mine.begin(), mine.end(), theirs.begin(), theirs.end()).first -
            mine.begin());
        // The record that differs, from its start in both files.
        const size_t from = at == 0 ? 0 : mine.rfind('\n', at - 1) + 1;
        auto show = [&](const std::string& s) { return s.substr(from, s.find('\n', from) - from); };
        return "differs at byte " + std::to_string(at) + " (" + std::to_string(mine.size()) +
               " bytes against " + std::to_string(theirs.size()) +
               "):\n      job:      " + show(mine) + "\n      baseline: " + show(theirs);
    }
    uint64_t total = 0;
    for (int k = 1; k <= c.instances; ++k) total += fileSize(instanceFile(work, c, k));
    if (total == fileSize(baselineFile)) return "";
    return "the instances wrote " + std::to_string(total) + " bytes, the baseline " +
           std::to_string(fileSize(baselineFile));
}

struct Timings {
    std::vector<Sample> samples;
    uint64_t outputBytes = 0;
    std::string outputCheck;  // what differs from the baseline, if anything
};

bench::JobSpec jobSpec(const Options& o, const ExportCase& c) {
    bench::JobSpec spec;
    spec.name = c.job;
    spec.instances = c.instances;
    spec.mappedRows = o.mappedRows;
    if (c.output == Baseline::None) {
        spec.attributes = "OUTMODname = \"lib64/outmods/libcountrecs.so\"\n";
    } else {
        spec.attributes = "OUTMODname = \"lib64/outmods/libpassthru.so\"\nFileName = \"" + o.work +
                          "/" + c.job + "-{instance}.out\"\n";
    }
    spec.attributes += c.attributes;
    return spec;
}

std::vector<const ExportCase*> selectedCases(const Options& o) {
    std::vector<const ExportCase*> chosen;
    auto add = [&](const ExportCase* c) {
        if (std::find(chosen.begin(), chosen.end(), c) == chosen.end()) chosen.push_back(c);
    };
    for (const ExportCase& c : kCases) {
        if (!o.only.empty() && std::string(c.name).find(o.only) == std::string::npos) continue;
        if (const ExportCase* other = againstCase(c)) add(other);
        add(&c);
    }
    std::stable_sort(chosen.begin(), chosen.end(), [](const ExportCase* a, const ExportCase* b) {
        return a - kCases < b - kCases;
    });
    return chosen;
}

void printMachine() {
    std::string model = "unknown";
    std::ifstream cpu("/proc/cpuinfo");
    for (std::string line; std::getline(cpu, line);) {
        if (line.rfind("model name", 0) == 0) {
            model = line.substr(line.find(':') + 2);
            break;
        }
    }
    double load[3] = {0, 0, 0};
    getloadavg(load, 3);
    std::printf("machine: %s, %ld cores online, load average %.1f\n", model.c_str(),
                sysconf(_SC_NPROCESSORS_ONLN), load[0]);
}

// Rows/s and MB/s are per CPU second for one instance (the work on one
// core) and per wall second for several (what they achieve together).
void printLine(const char* name, const Timings& t, int instances, uint64_t rows,
               const std::string& against, double ratio, const char* verdict) {
    std::vector<double> wall, cpu;
    for (const Sample& s : t.samples) {
        wall.push_back(s.wall);
        cpu.push_back(s.cpu);
    }
    const double seconds = instances > 1 ? median(wall) : median(cpu);
    char mbps[32] = "-";
    if (t.outputBytes > 0)
        std::snprintf(mbps, sizeof mbps, "%.1f",
                      static_cast<double>(t.outputBytes) / 1e6 / seconds);
    std::printf("  %-34s %7.3f %7.3f %10.0f%s %7s", name, median(cpu), median(wall),
                static_cast<double>(rows) / seconds, instances > 1 ? "*" : " ", mbps);
    if (!against.empty()) std::printf("  %-27s %5.2f  %s", against.c_str(), ratio, verdict);
    std::printf("\n");
}

std::string writeRowsFile(const std::string& path, const bench::ReferenceRows& rows) {
    std::ofstream out(path, std::ios::binary);
    out.write(reinterpret_cast<const char*>(rows.bytes.data()),
              static_cast<std::streamsize>(rows.bytes.size()));
    if (!out) throw std::runtime_error("cannot write " + path);
    return path;
}

struct Results {
    std::map<Baseline, Timings> baselines;
    std::map<const ExportCase*, Timings> jobs;
    std::map<const ExportCase*, std::vector<double>> ratios;  // one per round
};

// One round: each case's job, each baseline just before the first job held
// against it, so both see the machine as it is at that moment; in the
// first round, the check of each job's bytes.
void runRound(const Options& o, const std::vector<const ExportCase*>& cases,
              const bench::ReferenceRows& rows, const std::string& rowsFile, int round,
              Results& res) {
    auto baselineFile = [&](Baseline b) {
        return o.work + "/baseline-" + std::to_string(static_cast<int>(b)) + ".out";
    };
    for (const ExportCase* c : cases) {
        if (c->output != Baseline::None) {
            Timings& base = res.baselines[c->output];
            if (base.samples.size() == static_cast<size_t>(round)) {
                base.samples.push_back(measure([&] {
                    base.outputBytes = writeBaseline(c->output, rows, baselineFile(c->output));
                }));
            }
        }
        Timings& t = res.jobs[c];
        const bench::JobResult r = bench::runBuhostJob(o.stage, o.work, jobSpec(o, *c), rowsFile);
        if (r.rows != rows.count)
            throw std::runtime_error(std::string(c->name) + ": the job took " +
                                     std::to_string(r.rows) + " rows");
        t.samples.push_back({r.seconds, r.cpuSeconds});
        if (c->against != nullptr || c->output != Baseline::None) {
            // CPU time against CPU time, for the same work on one core.
            const Sample& theirs = c->against ? res.jobs[againstCase(*c)].samples.back()
                                              : res.baselines[c->output].samples.back();
            res.ratios[c].push_back(isSpeedUp(*c) ? theirs.wall / r.seconds
                                                  : r.cpuSeconds / theirs.cpu);
        }
        if (c->output == Baseline::None) continue;
        t.outputBytes = 0;
        for (int k = 1; k <= c->instances; ++k)
            t.outputBytes += fileSize(instanceFile(o.work, *c, k));
        if (round == 0) t.outputCheck = compareOutput(o.work, *c, baselineFile(c->output));
        for (int k = 1; k <= c->instances; ++k) std::remove(instanceFile(o.work, *c, k).c_str());
    }
    for (const auto& [b, t] : res.baselines) std::remove(baselineFile(b).c_str());
}

// The table of figures; returns how many jobs wrote other bytes than their
// baseline.
int printResults(const std::vector<const ExportCase*>& cases, uint64_t rows, Results& res) {
    std::printf("  %-34s %7s %7s %11s %7s  %-27s %5s\n", "", "cpu s", "wall s", "rows/s", "MB/s",
                "against", "ratio");
    for (const auto& [b, t] : res.baselines) printLine(baselineName(b), t, 1, rows, "", 0, "");
    int failures = 0;
    for (const ExportCase* c : cases) {
        const Timings& t = res.jobs[c];
        const std::vector<double>& ratios = res.ratios[c];
        const double ratio = ratios.empty() ? 0 : median(ratios);
        char verdict[64] = "";
        if (c->target > 0 && !ratios.empty()) {
            const bool ok = isSpeedUp(*c) ? ratio >= c->target : ratio <= c->target;
            std::snprintf(verdict, sizeof verdict, "%s %s %.2f", ok ? "within" : "MISSES",
                          isSpeedUp(*c) ? ">=" : "<=", c->target);
        }
        const std::string against = ratios.empty() ? ""
                                    : c->against   ? c->against
                                                   : baselineName(c->output);
        printLine(c->name, t, c->instances, rows, against, ratio, verdict);
        if (!t.outputCheck.empty()) {
            std::printf("    output %s\n", t.outputCheck.c_str());
            ++failures;
        }
    }
    std::printf(
        "\nrows/s and MB/s (of output) per CPU second, * per wall second.\n"
        "ratio: CPU time of the job over that of its baseline, or of the case named;\n"
        "for more instances, rows per wall second over those of one instance.\n");
    return failures;
}

// The operator's memory must not grow with the rows: the DELIMITED job's
// instance holds as much anonymous memory after a tenth of the rows as
// after all of them (its mapped rows file aside).
void printMemory(const Options& o, const std::string& rowsFile) {
    const std::string tenthFile = o.work + "/reference-tenth.rows";
    const uint64_t tenth = std::max<uint64_t>(o.rows / 10, 1);
    writeRowsFile(tenthFile, bench::makeReferenceRows(tenth, kSeed));
    const ExportCase& delimited = *caseNamed("DELIMITED");
    const bench::JobResult few =
        bench::runBuhostJob(o.stage, o.work, jobSpec(o, delimited), tenthFile);
    const bench::JobResult all =
        bench::runBuhostJob(o.stage, o.work, jobSpec(o, delimited), rowsFile);
    std::remove(instanceFile(o.work, delimited, 1).c_str());
    std::remove(tenthFile.c_str());
    const double growth =
        few.anonKB > 0 ? static_cast<double>(all.anonKB) / static_cast<double>(few.anonKB) : 0;
    std::printf(
        "memory of the DELIMITED instance (RssAnon at the end of its rows): %llu KiB after "
        "%llu rows, %llu KiB after %llu rows: %.2f, %s\n",
        static_cast<unsigned long long>(few.anonKB), static_cast<unsigned long long>(few.rows),
        static_cast<unsigned long long>(all.anonKB), static_cast<unsigned long long>(all.rows),
        growth, growth > 0 && growth <= 1.1 ? "flat" : "GROWS WITH THE ROWS");
}

int run(const Options& o) {
    // The logs of one run only: each instance's private log has a name of its own.
    std::filesystem::remove_all(o.work + "/logs");
    std::filesystem::create_directories(o.work + "/logs");
    const std::vector<const ExportCase*> cases = selectedCases(o);
    std::printf("bench_export: %llu rows of the reference table, %d rounds, medians\n",
                static_cast<unsigned long long>(o.rows), o.rounds);
    printMachine();
    const bench::ReferenceRows rows = bench::makeReferenceRows(o.rows, kSeed);
    const std::string rowsFile = writeRowsFile(o.work + "/reference.rows", rows);
    std::printf("rows file: %s, %.1f MB\n\n", rowsFile.c_str(),
                static_cast<double>(rows.bytes.size()) / 1e6);
    Results res;
    for (int round = 0; round < o.rounds; ++round) {
        std::fprintf(stderr, "round %d of %d\n", round + 1, o.rounds);
        runRound(o, cases, rows, rowsFile, round, res);
    }
    const int failures = printResults(cases, rows.count, res);
    if (o.only.empty() || std::string("DELIMITED").find(o.only) != std::string::npos)
        printMemory(o, rowsFile);
    if (failures > 0) {
        std::printf(
            "%d job(s) wrote other bytes than their baseline: their ratios compare "
            "different work\n",
            failures);
        return 1;
    }
    std::printf("every job wrote the same bytes as its baseline\n");
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return run(parseOptions(argc, argv));
    } catch (const std::exception& e) {
        std::fprintf(stderr, "bench_export: %s\n", e.what());
        return 2;
    }
}
