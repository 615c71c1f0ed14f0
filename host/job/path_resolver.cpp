#include "job/path_resolver.h"

#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <filesystem>
#include <string>

namespace buhost {
namespace {

std::string join(const std::string& dir, const std::string& rel) {
    if (dir.empty() || dir == ".") return rel;
    return dir + "/" + rel;
}

}  // namespace

std::string folderOf(const std::string& path) {
    auto slash = path.find_last_of('/');
    if (slash == std::string::npos) return ".";
    if (slash == 0) return "/";
    return path.substr(0, slash);
}

bool pathExists(const std::string& path) {
    struct stat st {};
    return ::stat(path.c_str(), &st) == 0;
}

bool isDirectory(const std::string& path) {
    struct stat st {};
    return ::stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

std::string PathResolver::resolveExisting(const std::string& path) const {
    if (path.empty() || path.front() == '/') return path;
    std::string inJobFolder = join(jobFolder_, path);
    if (pathExists(inJobFolder)) return inJobFolder;
    if (!stageDir_.empty()) {
        std::string inStage = join(stageDir_, path);
        if (pathExists(inStage)) return inStage;
    }
    return inJobFolder;
}

std::string PathResolver::findAbsolute(const std::string& path) const {
    if (path.empty()) return {};
    std::string found = resolveExisting(path);
    if (!pathExists(found)) return {};
    std::error_code ec;
    std::filesystem::path absolute = std::filesystem::absolute(found, ec);
    return ec ? std::string() : absolute.lexically_normal().string();
}

std::string stageOfExecutable() {
    char buf[PATH_MAX];
    ssize_t n = ::readlink("/proc/self/exe", buf, sizeof buf - 1);
    if (n <= 0) return {};
    buf[n] = '\0';
    return folderOf(folderOf(std::string(buf)));
}

}  // namespace buhost
