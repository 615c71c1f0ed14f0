// bench_access - pmWrite throughput through the default disk module for
// BINARY, FORMATTED and UNFORMATTED records of several sizes, against a
// plain buffered fwrite of the same bytes (prefix, data, terminator) in the
// same run. Both write to /dev/null, so what is measured is the cost of the
// layer on the way to the system, not the disk. The run ends with the
// pmWrite time per record of each case as a ratio to its fwrite baseline.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>
#include <utility>

#include "layer_hooks.h"
#include "pmdcomt.h"

namespace {

constexpr const char* kSink = "/dev/null";

// The bytes one record takes on disk in each format.
std::string onDisk(int format, const std::string& data) {
    std::string prefix;
    if (format != pmFmtUnformatted) {
        prefix = {static_cast<char>(data.size() & 0xFF), static_cast<char>(data.size() >> 8)};
    }
    return prefix + data + (format == pmFmtFormatted ? "\n" : "");
}

std::string recordOf(int64_t size) {
    return std::string(static_cast<size_t>(size), 'r');
}

void BM_Fwrite(benchmark::State& state) {
    const int format = static_cast<int>(state.range(0));
    const std::string bytes = onDisk(format, recordOf(state.range(1)));
    FILE* sink = std::fopen(kSink, "wb");
    // The same block size as the access layer's, so both make as many calls.
    std::setvbuf(sink, nullptr, _IOFBF, 65536);
    for (auto _ : state) benchmark::DoNotOptimize(std::fwrite(bytes.data(), 1, bytes.size(), sink));
    std::fclose(sink);
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(bytes.size()));
    state.SetItemsProcessed(state.iterations());
}

void BM_PmWrite(benchmark::State& state) {
    const int format = static_cast<int>(state.range(0));
    std::string data = recordOf(state.range(1));
    InitBlock init{1, "bench", PM_INTERFACE_VERSION};
    pmData names[2] = {{0, nullptr}, {0, nullptr}};
    pmHandle module = 0;
    pmFp fp = 0;
    if (pmInit(&init) != 0 || pmAttach(names, 1, &module) != 0 ||
        pmOpen(pmOpenWrite, 0, static_cast<uint32_t>(format), nullptr, 65536, 0, kSink, module,
               nullptr, &fp) != 0) {
        state.SkipWithError("the access layer could not open the sink");
        return;
    }
    pmRecord record{static_cast<uint32_t>(data.size()), data.data(), 0, 0};
    for (auto _ : state) {
        if (pmWrite(fp, &record) != 0) {
            state.SkipWithError("pmWrite failed");
            break;
        }
    }
    pmShutDown(2);
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(onDisk(format, data).size()));
    state.SetItemsProcessed(state.iterations());
}

void Cases(benchmark::internal::Benchmark* b) {
    for (int format : {pmFmtBinary, pmFmtFormatted, pmFmtUnformatted}) {
        for (int size : {16, 200, 4000}) b->Args({format, size});
    }
}
BENCHMARK(BM_Fwrite)->Apply(Cases);
BENCHMARK(BM_PmWrite)->Apply(Cases);

const char* formatName(const std::string& args) {
    if (args.rfind("2/", 0) == 0) return "BINARY";
    if (args.rfind("3/", 0) == 0) return "FORMATTED";
    return "UNFORMATTED";
}

// Keeps the CPU time per record of every case and prints, at the end, each
// pmWrite case beside the fwrite of the same bytes.
class PairedReporter : public benchmark::ConsoleReporter {
  public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            failed_ = failed_ || run.error_occurred;
            if (run.run_type != Run::RT_Iteration || run.iterations == 0 || run.error_occurred)
                continue;
            const std::string name = run.benchmark_name();
            const size_t slash = name.find('/');
            const double ns =
                run.GetAdjustedCPUTime() * 1e9 / benchmark::GetTimeUnitMultiplier(run.time_unit);
            auto& pair = byCase_[name.substr(slash + 1)];
            (name.rfind("BM_PmWrite", 0) == 0 ? pair.second : pair.first) = ns;
        }
        ConsoleReporter::ReportRuns(runs);
    }

    void Finalize() override {
        ConsoleReporter::Finalize();
        std::printf("\npmWrite against fwrite of the same bytes (CPU ns per record):\n");
        for (const auto& [args, pair] : byCase_) {
            if (pair.first <= 0 || pair.second <= 0) continue;
            const std::string size = args.substr(args.find('/') + 1);
            std::printf("  %-12s %5s bytes  fwrite %8.1f  pmWrite %8.1f  ratio %.2f\n",
                        formatName(args), size.c_str(), pair.first, pair.second,
                        pair.second / pair.first);
        }
    }

    bool failed() const { return failed_; }

  private:
    std::map<std::string, std::pair<double, double>> byCase_;
    bool failed_ = false;
};

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    rf::installLayerHooks();  // pmOpen finds a format's record functions here
    PairedReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return reporter.failed() ? 1 : 0;  // a case that could not run fails `make bench`
}
