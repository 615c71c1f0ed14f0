// The system's text for an errno value, whole, however long it is.
#ifndef BU_CLIENTDIR_ERRNO_TEXT_H
#define BU_CLIENTDIR_ERRNO_TEXT_H

#include <string>

namespace Halvex_HxVault::PrivateStuff {

std::string errnoText(int errorNumber);

}  // namespace Halvex_HxVault::PrivateStuff

#endif  // BU_CLIENTDIR_ERRNO_TEXT_H
