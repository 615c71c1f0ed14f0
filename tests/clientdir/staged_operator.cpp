#include "staged_operator.h"

#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <sstream>

#include "scratch_dir.h"

namespace butest {

namespace fs = std::filesystem;

fs::path stagedOperator() {
    return fs::path(BU_STAGE_DIR) / "lib64" / "libbuoutop.so";
}

fs::path stagedShim() {
    return fs::path(BU_STAGE_DIR) / "17.20" / "lib64" / "libicuuchx.so";
}

void layOutClientTree(const fs::path& root, const std::string* marker, const fs::path* shim) {
    fs::create_directories(root / "lib64");
    fs::copy_file(stagedOperator(), root / "lib64" / "libbuoutop.so");
    if (marker != nullptr) writeFile(root / "lib64" / "hxclientdir", *marker);
    if (shim != nullptr) {
        fs::create_directories(root / "17.20" / "lib64");
        fs::copy_file(*shim, root / "17.20" / "lib64" / "libicuuchx.so");
    }
}

LoadedOperator::LoadedOperator(const fs::path& file)
    : handle_(dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL)) {
    if (handle_ == nullptr) throw std::runtime_error(std::string("dlopen: ") + dlerror());
}

std::string capturedStdout(const std::function<void()>& call) {
    std::fflush(stdout);
    std::FILE* sink = std::tmpfile();
    const int saved = dup(STDOUT_FILENO);
    dup2(fileno(sink), STDOUT_FILENO);
    call();
    std::fflush(stdout);
    dup2(saved, STDOUT_FILENO);
    close(saved);
    std::rewind(sink);
    std::string text;
    char chunk[512];
    std::size_t got;
    while ((got = std::fread(chunk, 1, sizeof chunk, sink)) > 0) text.append(chunk, got);
    std::fclose(sink);
    return text;
}

bool isMapped(const fs::path& file) {
    std::ifstream maps("/proc/self/maps");
    std::string line;
    const std::string wanted = " " + file.string();
    while (std::getline(maps, line)) {
        if (line.size() >= wanted.size() &&
            line.compare(line.size() - wanted.size(), wanted.size(), wanted) == 0) {
            return true;
        }
    }
    return false;
}

}  // namespace butest
