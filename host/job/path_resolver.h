// Relative paths of a job file resolve against the job file's folder first,
// then against the stage (the folder above buhost's bin/).
#pragma once

#include <string>
#include <utility>

namespace buhost {

class PathResolver {
  public:
    PathResolver(std::string jobFolder, std::string stageDir)
        : jobFolder_(std::move(jobFolder)), stageDir_(std::move(stageDir)) {}

    // An existing path: the first candidate that exists, else the one in the
    // job's folder (so the error names where it was looked for first).
    std::string resolveExisting(const std::string& path) const;

    // The absolute path of the first candidate that exists, or "" when none
    // does (an absolute `path` is found only as it stands).
    std::string findAbsolute(const std::string& path) const;

    const std::string& jobFolder() const { return jobFolder_; }
    const std::string& stageDir() const { return stageDir_; }

  private:
    std::string jobFolder_;
    std::string stageDir_;
};

// The stage of this executable: the parent of the folder holding it.
std::string stageOfExecutable();

// The folder part of a path ("." for a bare name).
std::string folderOf(const std::string& path);

bool pathExists(const std::string& path);
bool isDirectory(const std::string& path);

}  // namespace buhost
