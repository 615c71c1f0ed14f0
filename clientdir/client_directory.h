// Finding the client directory from the location of the module that holds
// this code: the module is found among the process's mappings (or, failing
// that, among the loaded objects), symbolic links are followed to the real
// file, and the marker file `hxclientdir` beside it names the directory.
#ifndef BU_CLIENTDIR_CLIENT_DIRECTORY_H
#define BU_CLIENTDIR_CLIENT_DIRECTORY_H

#include <string>

#include "sync_obj_recursive.h"

namespace Halvex_HxVault::PrivateStuff {

// The search and the directory it keeps. A search that succeeds is not run
// again; one that fails runs again on the next call.
template <class SyncObj>
class ClientDirectoryTmpl_t {
  public:
    // Searches for the module that contains moduleAddress (by default, the
    // one this code was linked into).
    explicit ClientDirectoryTmpl_t(const void* moduleAddress = ownModuleAddress());

    // The client directory, searched for under the lock.
    std::string getPathname();

    // The same, for a caller that already holds the lock (or needs none).
    const std::string& getPathnameSingleThread();

    // Sets the client directory from the path of the module's file.
    void setDirFromModule(const std::string& modulePath);

    // The directory as it stands, without a search.
    const std::string& keptDirectory() const noexcept { return directory_; }

    // A path as messages show it: canonical where it can be, else absolute.
    static std::string getMassagedPath(const std::string& path);

    static std::string getCurrentDir();

    static const void* ownModuleAddress() noexcept;

  private:
    bool searchMappings(std::string& failure);
    void searchLoadedObjects(const std::string& failure);

    SyncObj lock_;
    const void* moduleAddress_;
    bool firstCall_ = true;
    std::string directory_;
};

using ClientDirectory_t = ClientDirectoryTmpl_t<SyncObjRecursive_t>;

}  // namespace Halvex_HxVault::PrivateStuff

#endif  // BU_CLIENTDIR_CLIENT_DIRECTORY_H
