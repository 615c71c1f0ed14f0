// The real file of a module, from the path the loader knows it by: a bare
// name is looked for in $PATH, and symbolic links are followed.
#ifndef BU_CLIENTDIR_MODULE_FILE_H
#define BU_CLIENTDIR_MODULE_FILE_H

#include <string>

namespace Halvex_HxVault::PrivateStuff {

// Raises HxVaultException when the file can't be found.
std::string resolveModuleFile(const std::string& modulePath);

}  // namespace Halvex_HxVault::PrivateStuff

#endif  // BU_CLIENTDIR_MODULE_FILE_H
