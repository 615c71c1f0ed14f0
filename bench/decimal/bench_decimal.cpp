// bench_decimal - decimal text per value on the row path of delimited
// output: NUMBER columns through NU_ExportMantissaToString, and DECIMAL(38)
// columns through the 20-byte number record they are copied into. The
// baseline, measured in the same run, is a plain __int128-to-text loop;
// the run ends with each measurement as a ratio to it.
#include <benchmark/benchmark.h>

#include <array>
#include <cstdio>
#include <cstring>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "ld_nu.h"

namespace {

constexpr size_t kValues = 4096;

// DECIMAL(38) values of every magnitude, both signs.
const std::vector<__int128>& decimal_values() {
    static const std::vector<__int128> values = [] {
        std::mt19937_64 rng(38);
        const __int128 ten38 = static_cast<__int128>(10000000000000000000ull) *
                               static_cast<__int128>(10000000000000000000ull);
        std::vector<__int128> out(kValues);
        for (auto& v : out) {
            __int128 x = (static_cast<__int128>(rng()) << 64 | rng()) % ten38;
            x >>= rng() % 127;  // spread over the digit counts
            v = rng() % 2 ? -x : x;
        }
        return out;
    }();
    return values;
}

// The 16 bytes of a DECIMAL column, as the row holds them.
void decimal_column(__int128 v, unsigned char* out) {
    for (int i = 0; i < 16; ++i) {
        out[i] = static_cast<unsigned char>(static_cast<unsigned __int128>(v) >> (8 * i));
    }
}

// NUMBER columns: 1 to 17 mantissa bytes, exponent fields around 0.
const std::vector<std::vector<unsigned char>>& number_columns() {
    static const std::vector<std::vector<unsigned char>> columns = [] {
        std::mt19937_64 rng(63);
        std::vector<std::vector<unsigned char>> out;
        for (__int128 v : decimal_values()) {
            std::vector<unsigned char> c(NU_COLUMN_MAX_BYTES, 0);
            const int bytes = 1 + static_cast<int>(rng() % 16);
            c[0] = static_cast<unsigned char>(bytes + 2);
            const int16_t field = static_cast<int16_t>(static_cast<int>(rng() % 21) - 10);
            std::memcpy(&c[1], &field, 2);
            unsigned char full[16];
            decimal_column(v, full);
            std::memcpy(&c[3], full, static_cast<size_t>(bytes));
            out.push_back(c);
        }
        return out;
    }();
    return columns;
}

// The baseline: digits by repeated division of an unsigned __int128.
size_t int128_to_text(__int128 v, char* text) {
    char tmp[48];
    size_t n = 0;
    unsigned __int128 m = v < 0 ? -static_cast<unsigned __int128>(v) : v;
    do {
        tmp[n++] = static_cast<char>('0' + static_cast<int>(m % 10));
        m /= 10;
    } while (m != 0);
    size_t pos = 0;
    if (v < 0) text[pos++] = '-';
    while (n > 0) text[pos++] = tmp[--n];
    text[pos] = '\0';
    return pos;
}

void BM_Int128ToText(benchmark::State& state) {
    const auto& values = decimal_values();
    char text[100];
    size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(int128_to_text(values[i++ % kValues], text));
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()));
}
BENCHMARK(BM_Int128ToText);

// Runs NU_ExportMantissaToString over the records one per iteration, the
// way column text does: one work value, initialised once.
template <typename RecordOf>
void mantissa_loop(benchmark::State& state, RecordOf record_of) {
    BN_BigNumber context{};
    NU_Initialize(&context, -128, -128);
    char text[100];
    int exponent = 0;
    size_t i = 0;
    for (auto _ : state) {
        const unsigned char* record = record_of(i++ % kValues);
        benchmark::DoNotOptimize(NU_ExportMantissaToString(&context, record, text, 100, &exponent));
        benchmark::ClobberMemory();
    }
    NU_Destroy(&context);
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()));
}

void BM_NumberMantissaToString(benchmark::State& state) {
    const auto& columns = number_columns();
    mantissa_loop(state, [&](size_t k) { return columns[k].data(); });
}
BENCHMARK(BM_NumberMantissaToString);

void BM_Decimal38ToText(benchmark::State& state) {
    std::vector<std::array<unsigned char, 16>> columns(kValues);
    for (size_t k = 0; k < kValues; ++k) decimal_column(decimal_values()[k], columns[k].data());
    // The record a DECIMAL(38) column is copied into, per value: byte
    // count 18, exponent field 0, the 16 bytes behind.
    unsigned char record[NU_COLUMN_MAX_BYTES] = {18, 0, 0};
    mantissa_loop(state, [&](size_t k) {
        std::memcpy(record + NU_COLUMN_MANTISSA_OFFSET, columns[k].data(), 16);
        return static_cast<const unsigned char*>(record);
    });
}
BENCHMARK(BM_Decimal38ToText);

// Console output as usual, plus each result's CPU time per value relative
// to the baseline of the same run (CPU time: the machines are shared).
class RatioReporter : public benchmark::ConsoleReporter {
  public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.iterations > 0 && run.run_type == Run::RT_Iteration) {
                ns_per_value_[run.benchmark_name()] =
                    run.GetAdjustedCPUTime() * 1e9 /
                    benchmark::GetTimeUnitMultiplier(run.time_unit);
            }
        }
        ConsoleReporter::ReportRuns(runs);
    }

    void Finalize() override {
        ConsoleReporter::Finalize();
        const auto base = ns_per_value_.find("BM_Int128ToText");
        if (base == ns_per_value_.end() || base->second <= 0) return;
        std::printf("\nCPU time per value, against BM_Int128ToText (%.1f ns):\n", base->second);
        for (const auto& [name, ns] : ns_per_value_) {
            if (name == base->first) continue;
            std::printf("  %-28s %8.1f ns  ratio %.2f\n", name.c_str(), ns, ns / base->second);
        }
    }

  private:
    std::map<std::string, double> ns_per_value_;
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
