// Replay driver for fuzz targets in builds without libFuzzer: runs every
// file of the given corpus folders (or files), then a fixed run of
// pseudo-random inputs (20000, or as many as -random_runs=N says), so kept
// inputs stay regression tests under the sanitizers of the normal suite.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string_view>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

void replay_file(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::vector<char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
}

}  // namespace

int main(int argc, char** argv) {
    constexpr std::string_view kRunsFlag = "-random_runs=";
    size_t files = 0;
    int random_runs = 20000;
    for (int i = 1; i < argc; ++i) {
        if (std::string_view(argv[i]).starts_with(kRunsFlag)) {
            random_runs = std::atoi(argv[i] + kRunsFlag.size());
            continue;
        }
        std::filesystem::path arg(argv[i]);
        if (std::filesystem::is_directory(arg)) {
            for (const auto& entry : std::filesystem::recursive_directory_iterator(arg)) {
                if (entry.is_regular_file()) {
                    replay_file(entry.path());
                    ++files;
                }
            }
        } else if (std::filesystem::exists(arg)) {
            replay_file(arg);
            ++files;
        }
    }
    std::mt19937_64 rng(20261122);
    std::vector<uint8_t> buf;
    for (int run = 0; run < random_runs; ++run) {
        buf.resize(rng() % 96);
        for (auto& b : buf) b = static_cast<uint8_t>(rng());
        LLVMFuzzerTestOneInput(buf.data(), buf.size());
    }
    std::printf("replayed %zu corpus files and %d random inputs\n", files, random_runs);
    return 0;
}
