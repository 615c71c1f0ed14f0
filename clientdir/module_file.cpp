#include "module_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <optional>
#include <vector>

#include "errno_text.h"
#include "hxvault_exception.h"

namespace Halvex_HxVault::PrivateStuff {

namespace {

constexpr std::size_t kLinkBufferStep = 4096;
// A chain of links longer than this is taken for a loop.
constexpr int kMaxLinksFollowed = 40;

std::string quoted(const std::string& text) {
    return "\"" + text + "\"";
}

// The target of a symbolic link, or the errno of readlink.
int readLinkTarget(const std::string& path, std::string& target) {
    std::vector<char> buffer(kLinkBufferStep);
    for (;;) {
        const ssize_t length = readlink(path.c_str(), buffer.data(), buffer.size());
        if (length < 0) return errno;
        if (static_cast<std::size_t>(length) < buffer.size()) {
            target.assign(buffer.data(), static_cast<std::size_t>(length));
            return 0;
        }
        buffer.resize(buffer.size() + kLinkBufferStep);
    }
}

bool isRegularFile(const std::string& path) {
    struct stat status;
    return stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

// Follows links from path to the final file. In a $PATH search a candidate
// that leads nowhere gives nothing, so that the next one is tried; outside
// one it raises.
std::optional<std::string> followLinks(std::string path, bool inPathSearch) {
    for (int followed = 0;; ++followed) {
        std::string target;
        const int error = readLinkTarget(path, target);
        if (error == 0) {
            if (target.empty()) {
                throw HxVaultException("The symbolic link at " + quoted(path) + " is empty.");
            }
            if (followed == kMaxLinksFollowed) {
                throw HxVaultException("Too many symbolic links were followed to reach " +
                                       quoted(path) + ".");
            }
            if (target[0] == '/') {
                path = target;
            } else {
                path = path.substr(0, path.rfind('/') + 1) + target;
            }
            inPathSearch = false;  // the name has been found
            continue;
        }
        if (error == EINVAL) {  // not a link: the file itself
            if (inPathSearch && !isRegularFile(path)) return std::nullopt;
            return path;
        }
        if (inPathSearch) return std::nullopt;
        if (error == ENOENT) {
            throw HxVaultException(quoted(path) + " does not name an existing file.");
        }
        throw HxVaultException("A failure accessing " + quoted(path) +
                               " occurred (errno = " + errnoText(error) + ").");
    }
}

std::string searchPath(const std::string& name) {
    if (const char* list = std::getenv("PATH")) {
        const std::string directories(list);
        std::size_t begin = 0;
        for (;;) {
            const std::size_t colon = directories.find(':', begin);
            const std::string directory = directories.substr(begin, colon - begin);
            if (auto found = followLinks(directory + "/" + name, true)) return *found;
            if (colon == std::string::npos) break;
            begin = colon + 1;
        }
    }
    throw HxVaultException("Failed to find " + quoted(name) + " in directories listed in $PATH.");
}

}  // namespace

std::string resolveModuleFile(const std::string& modulePath) {
    if (modulePath.find('/') == std::string::npos) return searchPath(modulePath);
    return *followLinks(modulePath, false);
}

}  // namespace Halvex_HxVault::PrivateStuff
