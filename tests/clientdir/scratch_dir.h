// A scratch directory for one test, removed with everything in it.
#ifndef BU_TESTS_CLIENTDIR_SCRATCH_DIR_H
#define BU_TESTS_CLIENTDIR_SCRATCH_DIR_H

#include <filesystem>
#include <string>

namespace butest {

class ScratchDir {
  public:
    ScratchDir();
    ~ScratchDir();
    ScratchDir(const ScratchDir&) = delete;
    ScratchDir& operator=(const ScratchDir&) = delete;

    // The directory, canonical (the tests compare canonical paths).
    const std::filesystem::path& path() const { return path_; }

  private:
    std::filesystem::path path_;
};

// Writes bytes to a file, creating its directories.
void writeFile(const std::filesystem::path& file, const std::string& bytes);

}  // namespace butest

#endif  // BU_TESTS_CLIENTDIR_SCRATCH_DIR_H
