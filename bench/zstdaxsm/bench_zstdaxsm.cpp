// bench_zstdaxsm - an export of delimited rows to a file through the access
// layer, three ways, measured in the same run: plain through the default disk
// module; compressed on the way through the zstd Access Module; plain, then
// compressed afterwards by the zstd command at the same level. Each reports
// rows/s; the run ends with each way's time as a ratio to the plain export.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "pmdcomt.h"

namespace {

constexpr int64_t kRows = 400000;
constexpr int kLevel = 3;

std::string scratch(const char* name) {
    return "/tmp/bench_zstdaxsm_" + std::to_string(getpid()) + "_" + name;
}

// Delimited rows as an export makes them, 30 to 70 bytes, written as BINARY
// records (a 2-byte length, then the row).
const std::vector<std::string>& rows() {
    static const std::vector<std::string> all = [] {
        std::vector<std::string> out;
        for (int64_t i = 0; i < kRows; ++i) {
            char row[128];
            int n = std::snprintf(
                row, sizeof row, "%lld|customer %lld|%lld.%02lld|", static_cast<long long>(i),
                static_cast<long long>(i * 7919 % 1000), static_cast<long long>(i * 31 % 100000),
                static_cast<long long>(i % 100));
            out.push_back(std::string(row, static_cast<size_t>(n)) + std::string(i % 40, 'x'));
        }
        return out;
    }();
    return all;
}

// One export of every row to `file`, through the default module (empty
// name) or the named one; false when the layer refuses.
bool exportRows(const std::string& module, const std::string& init, const std::string& file) {
    InitBlock block{1, "bench", PM_INTERFACE_VERSION};
    char* initCopy = init.empty() ? nullptr : strdup(init.c_str());
    pmData names[2] = {{static_cast<uint32_t>(module.size()), const_cast<char*>(module.data())},
                       {static_cast<uint32_t>(init.size()), initCopy}};
    pmHandle h = 0;
    pmFp fp = 0;
    bool ok =
        pmInit(&block) == 0 && pmAttach(names, 1, &h) == 0 &&
        pmOpen(pmOpenWrite, 0, pmFmtBinary, nullptr, 0, 0, file.c_str(), h, nullptr, &fp) == 0;
    for (size_t i = 0; ok && i < rows().size(); ++i) {
        pmRecord r{static_cast<uint32_t>(rows()[i].size()), const_cast<char*>(rows()[i].data()), 0,
                   0};
        ok = pmWrite(fp, &r) == 0;
    }
    ok = ok && pmClose(fp) == 0;
    pmShutDown(2);
    return ok;
}

void finish(benchmark::State& state, const std::string& file) {
    state.SetItemsProcessed(state.iterations() * kRows);
    std::remove(file.c_str());
}

void BM_Plain(benchmark::State& state) {
    const std::string file = scratch("plain.txt");
    for (auto _ : state) {
        if (!exportRows("", "", file)) state.SkipWithError("plain export failed");
    }
    finish(state, file);
}

void BM_ThroughModule(benchmark::State& state) {
    const std::string file = scratch("module.zst");
    const std::string init = "level=" + std::to_string(kLevel);
    for (auto _ : state) {
        if (!exportRows(BU_ZSTD_MODULE, init, file)) state.SkipWithError("module export failed");
    }
    finish(state, file);
}

void BM_PlainThenCommand(benchmark::State& state) {
    const std::string file = scratch("after.txt");
    const std::string command =
        "zstd -q -f -" + std::to_string(kLevel) + " '" + file + "' -o '" + file + ".zst'";
    for (auto _ : state) {
        if (!exportRows("", "", file) || std::system(command.c_str()) != 0) {
            state.SkipWithError("plain export or zstd command failed");
        }
    }
    std::remove((file + ".zst").c_str());
    finish(state, file);
}

BENCHMARK(BM_Plain)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_ThroughModule)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_PlainThenCommand)->Unit(benchmark::kMillisecond)->UseRealTime();

// Prints, at the end, each way's wall time per export against the plain one.
class RatioReporter : public benchmark::ConsoleReporter {
  public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.run_type == Run::RT_Iteration && run.iterations > 0 && !run.error_occurred) {
                seconds_[run.benchmark_name()] =
                    run.GetAdjustedRealTime() / benchmark::GetTimeUnitMultiplier(run.time_unit);
            }
        }
        ConsoleReporter::ReportRuns(runs);
    }
    void Finalize() override {
        ConsoleReporter::Finalize();
        double plain = seconds_["BM_Plain/real_time"];
        if (plain <= 0) return;
        std::printf("\nExport of %lld rows, level %d (rows/s, time against the plain export):\n",
                    static_cast<long long>(kRows), kLevel);
        for (const auto& [name, s] : seconds_) {
            std::printf("  %-32s %10.0f rows/s  ratio %.2f\n", name.c_str(), kRows / s, s / plain);
        }
    }

  private:
    std::map<std::string, double> seconds_;
};

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
