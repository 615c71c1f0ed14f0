#include "scratch_dir.h"

#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <vector>

namespace butest {

ScratchDir::ScratchDir() {
    std::string pattern = (std::filesystem::temp_directory_path() / "buclientdir-XXXXXX").string();
    std::vector<char> name(pattern.begin(), pattern.end());
    name.push_back('\0');
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
    path_ = std::filesystem::canonical(name.data());
}

ScratchDir::~ScratchDir() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

void writeFile(const std::filesystem::path& file, const std::string& bytes) {
    std::filesystem::create_directories(file.parent_path());
    std::ofstream out(file, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!out) throw std::runtime_error("cannot write " + file.string());
}

}  // namespace butest
