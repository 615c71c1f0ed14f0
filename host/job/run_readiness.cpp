#include "job/run_readiness.h"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <sstream>

#include "job/instance_files.h"
#include "job/path_resolver.h"

namespace buhost {
namespace {

// A file made and removed again: the one sure test, whoever runs it and
// whatever the file system.
void requireWritable(const std::string& folder, const char* what) {
    std::string pattern = folder + "/.buhost-check-XXXXXX";
    const int fd = ::mkstemp(pattern.data());
    if (fd < 0)
        throw JobError(std::string(what) + " " + folder +
                       " is not writable: " + std::strerror(errno));
    ::close(fd);
    ::unlink(pattern.c_str());
}

// The folders the loader searches for a name without '/', in its order,
// short of its cache.
std::vector<std::string> loaderFolders() {
    std::vector<std::string> folders;
    if (const char* env = std::getenv("LD_LIBRARY_PATH")) {
        std::stringstream list(env);
        for (std::string folder; std::getline(list, folder, ':');) {
            if (!folder.empty()) folders.push_back(folder);
        }
    }
    for (const char* system : {"/lib/x86_64-linux-gnu", "/usr/lib/x86_64-linux-gnu", "/lib64",
                               "/usr/lib64", "/lib", "/usr/lib", "/usr/local/lib"})
        folders.push_back(system);
    return folders;
}

bool foundByLoader(const std::string& name) {
    for (const auto& folder : loaderFolders()) {
        if (pathExists(folder + "/" + name)) return true;
    }
    return false;
}

}  // namespace

void checkFoldersWritable(const JobDefinition& job) {
    requireWritable(job.logDir, "log directory");
    if (job.checkpointDir != job.logDir) requireWritable(job.checkpointDir, "checkpoint directory");
}

std::vector<std::string> outmodWarnings(const JobDefinition& job) {
    const auto attributes = attributesOfInstance(job.attributes, 1);
    auto it = attributes.find("OUTMODname");
    if (it == attributes.end())
        return {"no \"OUTMODname\" attribute: each instance will stop at its start (19201)"};
    const AttributeValue& value = it->second;
    if (value.multiValued)
        return {"\"OUTMODname\" has several values: each instance will stop at its start"};
    const std::string name(value.bytes.begin(), value.bytes.begin() + value.length);
    const bool byPath = name.find('/') != std::string::npos;
    if (byPath ? isDirectory(name) || !pathExists(name) : !foundByLoader(name))
        return {"OUTMOD '" + name + "' not found " +
                (byPath ? std::string("(nor beside the job file, nor in the stage)")
                        : std::string("on the loader's path")) +
                ": each instance will stop at its start (19501)"};
    return {};
}

}  // namespace buhost
