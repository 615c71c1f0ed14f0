// bench_zstdaxsm - a compressed export end to end: the export benchmark's
// reference table as a DELIMITED job through the staged buhost, three ways
// in every round: plain through the default disk module; compressed on the
// way through the zstd Access Module; plain, then compressed afterwards by
// the zstd command at the same level. Times are CPU seconds (of buhost, its
// instances and the command), which a shared machine disturbs far less than
// wall time; each ratio is the median of the rounds' ratios to the plain job.
// The first round checks that the module's file decompresses to the plain
// job's bytes and that the command's file is as valid.
//
//   bench_zstdaxsm [--rows N] [--rounds N] [--level N] [--work DIR] [--stage DIR]
#include <sys/resource.h>
#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench_options.h"
#include "buhost_job.h"
#include "reference_table.h"

namespace {

struct Options {
    uint64_t rows = 1000000;
    int rounds = 3;
    int level = 3;
    std::string work = std::string(BU_BINARY_DIR) + "/bench-zstdaxsm";
    std::string stage = BU_STAGE_DIR;
};

Options parseOptions(int argc, char** argv) {
    Options o;
    bench::readOptions(argc, argv, "bench_zstdaxsm.cpp",
                       [&o](const std::string& name, const std::string& value) {
                           if (name == "--rows") {
                               o.rows = std::strtoull(value.c_str(), nullptr, 10);
                           } else if (name == "--rounds") {
                               o.rounds = std::atoi(value.c_str());
                           } else if (name == "--level") {
                               o.level = std::atoi(value.c_str());
                           } else if (name == "--work") {
                               o.work = value;
                           } else if (name == "--stage") {
                               o.stage = value;
                           } else {
                               return false;
                           }
                           return true;
                       });
    if (o.rows == 0 || o.rounds < 1 || o.level < 1 || o.level > 19)
        throw std::runtime_error("--rows and --rounds must be above 0, --level from 1 to 19");
    return o;
}

double median(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    const size_t n = v.size();
    return n % 2 ? v[n / 2] : (v[n / 2 - 1] + v[n / 2]) / 2;
}

uint64_t fileSize(const std::string& path) {
    struct stat st {};
    return ::stat(path.c_str(), &st) == 0 ? static_cast<uint64_t>(st.st_size) : 0;
}

double childCpuSeconds() {
    rusage usage{};
    getrusage(RUSAGE_CHILDREN, &usage);
    double s = 0;
    for (const timeval& t : {usage.ru_utime, usage.ru_stime})
        s += static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_usec) / 1e6;
    return s;
}

// Runs a shell command that must succeed; its CPU time and wall time.
struct Sample {
    double cpu = 0;
    double wall = 0;
};

Sample runCommand(const std::string& command) {
    const double cpuStart = childCpuSeconds();
    const auto start = std::chrono::steady_clock::now();
    if (std::system(command.c_str()) != 0) throw std::runtime_error("failed: " + command);
    return {childCpuSeconds() - cpuStart,
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count()};
}

struct Way {
    const char* name;
    std::vector<Sample> samples;
    std::vector<double> ratios;  // CPU time over the plain job's, per round
    uint64_t fileBytes = 0;
};

class Run {
  public:
    explicit Run(const Options& o) : o_(o) {}

    void prepare() {
        std::filesystem::remove_all(o_.work + "/logs");
        std::filesystem::create_directories(o_.work + "/logs");
        const bench::ReferenceRows rows = bench::makeReferenceRows(o_.rows, 20240601);
        rowsFile_ = o_.work + "/reference.rows";
        std::ofstream out(rowsFile_, std::ios::binary);
        out.write(reinterpret_cast<const char*>(rows.bytes.data()),
                  static_cast<std::streamsize>(rows.bytes.size()));
        if (!out) throw std::runtime_error("cannot write " + rowsFile_);
    }

    void round(bool check) {
        const Sample plain = job("plain", "");
        const Sample module = job("module",
                                  "AccessModuleName = \"lib64/axsmods/libzstdaxsm.so\"\n"
                                  "AccessModuleInitStr = \"level=" +
                                      std::to_string(o_.level) + "\"\n");
        const Sample command = runCommand("zstd -q -f -" + std::to_string(o_.level) + " '" +
                                          file("plain") + "' -o '" + file("plain") + ".zst'");
        record(plain_, plain, plain.cpu, file("plain"));
        record(module_, module, plain.cpu, file("module"));
        record(after_, {plain.cpu + command.cpu, plain.wall + command.wall}, plain.cpu,
               file("plain") + ".zst");
        if (!check) return;
        for (const std::string& zst : {file("module"), file("plain") + ".zst"})
            runCommand("zstd -d -q -c '" + zst + "' | cmp -s - '" + file("plain") + "'");
    }

    void print() const {
        std::printf("\n  %-44s %7s %7s %10s %9s %6s\n", "way (medians)", "CPU s", "wall s",
                    "rows/CPU s", "file MB", "ratio");
        for (const Way* w : {&plain_, &module_, &after_}) {
            std::vector<double> cpu, wall;
            for (const Sample& s : w->samples) {
                cpu.push_back(s.cpu);
                wall.push_back(s.wall);
            }
            std::printf("  %-44s %7.3f %7.3f %10.0f %9.1f %6.2f\n", w->name, median(cpu),
                        median(wall), static_cast<double>(o_.rows) / median(cpu),
                        static_cast<double>(w->fileBytes) / 1e6, median(w->ratios));
        }
        std::printf(
            "\nratio: CPU time (buhost, its instance, the zstd command) over the plain job's,\n"
            "median of the rounds' ratios; every compressed file decompresses to the plain "
            "one\n");
    }

  private:
    std::string file(const std::string& job) const { return o_.work + "/" + job + "-1.out"; }

    Sample job(const std::string& name, const std::string& attributes) {
        bench::JobSpec spec;
        spec.name = name;
        spec.attributes = "OUTMODname = \"lib64/outmods/libpassthru.so\"\nFileName = \"" + o_.work +
                          "/" + name + "-{instance}.out\"\n" +
                          "Format = \"DELIMITED\"\nTextDelimiter = \"|\"\n" + attributes;
        const bench::JobResult r = bench::runBuhostJob(o_.stage, o_.work, spec, rowsFile_);
        return {r.cpuSeconds, r.seconds};
    }

    static void record(Way& way, const Sample& s, double plainCpu, const std::string& path) {
        way.samples.push_back(s);
        way.ratios.push_back(s.cpu / plainCpu);
        way.fileBytes = fileSize(path);
    }

    const Options& o_;
    std::string rowsFile_;
    Way plain_{"DELIMITED, plain", {}, {}, 0};
    Way module_{"DELIMITED through the zstd module", {}, {}, 0};
    Way after_{"DELIMITED plain, then the zstd command", {}, {}, 0};
};

}  // namespace

int main(int argc, char** argv) {
    try {
        const Options o = parseOptions(argc, argv);
        std::printf("bench_zstdaxsm: %llu rows of the reference table, level %d, %d rounds\n",
                    static_cast<unsigned long long>(o.rows), o.level, o.rounds);
        Run run(o);
        run.prepare();
        for (int round = 0; round < o.rounds; ++round) {
            std::fprintf(stderr, "round %d of %d\n", round + 1, o.rounds);
            run.round(round == 0);
        }
        run.print();
        return 0;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "bench_zstdaxsm: %s\n", e.what());
        return 2;
    }
}
