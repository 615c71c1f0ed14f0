#include "client_directory.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <link.h>
#include <unistd.h>

#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <optional>
#include <vector>

#include "errno_text.h"
#include "hxvault_exception.h"
#include "module_file.h"

namespace Halvex_HxVault::PrivateStuff {

namespace {

constexpr char kMarkerName[] = "hxclientdir";
constexpr std::size_t kReadStep = 4096;
constexpr std::size_t kCwdStep = 4096;

// Any function of this module gives an address inside it.
void moduleAnchor() {}

std::string quoted(const std::string& text) {
    return "\"" + text + "\"";
}

std::optional<std::string> canonicalPath(const std::string& path) {
    const std::unique_ptr<char, decltype(&std::free)> canonical(realpath(path.c_str(), nullptr),
                                                                &std::free);
    if (canonical == nullptr) return std::nullopt;
    return std::string(canonical.get());
}

class FileDescriptor {
  public:
    explicit FileDescriptor(int fd) : fd_(fd) {}
    ~FileDescriptor() { close(fd_); }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    int get() const { return fd_; }

  private:
    int fd_;
};

// Once the directory is known the module must stay in memory, so that the
// directory can't outlive it: open it once more and never close it.
void keepModuleLoaded(const std::string& moduleFile) {
    static void* const handle = dlopen(moduleFile.c_str(), RTLD_LAZY);
    (void)handle;
}

std::string readWholeFile(int fd) {
    std::vector<char> buffer(kReadStep);
    std::size_t used = 0;
    for (;;) {
        if (used == buffer.size()) buffer.resize(buffer.size() + kReadStep);
        const ssize_t got = read(fd, buffer.data() + used, buffer.size() - used);
        if (got < 0) {
            if (errno == EINTR) continue;
            throw HxVaultException("An attempt to read the hxclientdir file failed (errno = " +
                                   errnoText(errno) + ").");
        }
        if (got == 0) return std::string(buffer.data(), used);
        used += static_cast<std::size_t>(got);
    }
}

struct LoadedObjectSearch {
    std::uintptr_t address;
    bool hit = false;
    const char* name = nullptr;
};

int findObjectHolding(dl_phdr_info* info, std::size_t, void* data) {
    auto* search = static_cast<LoadedObjectSearch*>(data);
    for (ElfW(Half) i = 0; i < info->dlpi_phnum; ++i) {
        const std::uintptr_t begin = info->dlpi_addr + info->dlpi_phdr[i].p_vaddr;
        if (search->address >= begin && search->address - begin < info->dlpi_phdr[i].p_memsz) {
            search->hit = true;
            search->name = info->dlpi_name;
            return 1;
        }
    }
    return 0;
}

}  // namespace

template <class SyncObj>
ClientDirectoryTmpl_t<SyncObj>::ClientDirectoryTmpl_t(const void* moduleAddress)
    : moduleAddress_(moduleAddress) {}

template <class SyncObj>
const void* ClientDirectoryTmpl_t<SyncObj>::ownModuleAddress() noexcept {
    return reinterpret_cast<const void*>(&moduleAnchor);
}

template <class SyncObj>
std::string ClientDirectoryTmpl_t<SyncObj>::getPathname() {
    SyncObjGuard_t<SyncObj> guard(lock_);
    return getPathnameSingleThread();
}

template <class SyncObj>
const std::string& ClientDirectoryTmpl_t<SyncObj>::getPathnameSingleThread() {
    if (!firstCall_) return directory_;
    directory_.clear();
    std::string failure;
    if (!searchMappings(failure)) searchLoadedObjects(failure);
    firstCall_ = false;
    return directory_;
}

// Looks for the module among the file mappings of the process. A module
// found there that gives no directory ends the pass with its failure.
template <class SyncObj>
bool ClientDirectoryTmpl_t<SyncObj>::searchMappings(std::string& failure) {
    std::ifstream maps("/proc/self/maps");
    const auto address = reinterpret_cast<std::uintptr_t>(moduleAddress_);
    std::string line;
    while (std::getline(maps, line)) {
        const std::size_t blank = line.rfind(' ');
        const std::string path = blank == std::string::npos ? line : line.substr(blank + 1);
        if (path.empty() || path[0] != '/') continue;
        std::uintptr_t start = 0;
        std::uintptr_t end = 0;
        char separator = 0;
        if (std::sscanf(line.c_str(), "%" SCNxPTR "%c%" SCNxPTR, &start, &separator, &end) != 3) {
            continue;
        }
        if (address < start || address >= end) continue;
        try {
            setDirFromModule(path);
            return true;
        } catch (const HxVaultException& e) {
            failure = e.what();
            return false;
        }
    }
    return false;
}

template <class SyncObj>
void ClientDirectoryTmpl_t<SyncObj>::searchLoadedObjects(const std::string& failure) {
    LoadedObjectSearch search{reinterpret_cast<std::uintptr_t>(moduleAddress_)};
    dl_iterate_phdr(findObjectHolding, &search);
    if (!search.hit) {
        throw HxVaultException(!failure.empty() ? failure
                                                : "Attempt to locate the current module using "
                                                  "dl_iterate_phdr() failed.");
    }
    if (search.name == nullptr || search.name[0] == '\0') {
        throw HxVaultException(!failure.empty() ? failure
                                                : "Attempt to locate the current module using "
                                                  "dl_iterate_phdr() yielded an empty pathname.");
    }
    setDirFromModule(search.name);
}

template <class SyncObj>
void ClientDirectoryTmpl_t<SyncObj>::setDirFromModule(const std::string& modulePath) {
    const std::string moduleFile = resolveModuleFile(modulePath);
    const std::string moduleDir = moduleFile.substr(0, moduleFile.rfind('/') + 1);

    const int fd = open((moduleDir + kMarkerName).c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        const int error = errno;
        if (error == ENOENT) {
            throw HxVaultException("The hxclientdir file is missing from " +
                                   quoted(getMassagedPath(moduleDir)) + ".");
        }
        throw HxVaultException("Cannot open the hxclientdir file (in " +
                               quoted(getMassagedPath(moduleDir)) +
                               ") (errno = " + errnoText(error) + ").");
    }
    FileDescriptor marker(fd);
    keepModuleLoaded(moduleFile);

    // Every byte is the path: a final newline is part of it.
    const std::string content = readWholeFile(marker.get());
    if (content.empty()) {
        throw HxVaultException("The hxclientdir file (in " + quoted(getMassagedPath(moduleDir)) +
                               ") is empty.");
    }
    const std::string directory = content[0] == '/' ? content : moduleDir + content;
    directory_ = canonicalPath(directory).value_or(directory);
}

template <class SyncObj>
std::string ClientDirectoryTmpl_t<SyncObj>::getMassagedPath(const std::string& path) {
    if (path.empty()) return path;
    if (auto canonical = canonicalPath(path)) return *canonical;
    std::string massaged = path;
    if (massaged.size() > 1 && massaged.back() == '/') massaged.pop_back();
    if (massaged[0] == '/') return massaged;
    const std::string cwd = getCurrentDir();
    return cwd == "/" ? cwd + massaged : cwd + "/" + massaged;
}

template <class SyncObj>
std::string ClientDirectoryTmpl_t<SyncObj>::getCurrentDir() {
    std::vector<char> buffer(kCwdStep);
    while (getcwd(buffer.data(), buffer.size()) == nullptr) {
        if (errno != ERANGE) {
            throw HxVaultException(
                "Cannot determine the pathname of the current working directory (errno = " +
                errnoText(errno) + ").");
        }
        buffer.resize(buffer.size() + kCwdStep);
    }
    return std::string(buffer.data());
}

template class ClientDirectoryTmpl_t<SyncObjRecursive_t>;

}  // namespace Halvex_HxVault::PrivateStuff
