// The exception of the client-directory code. It never leaves the flat
// interface, which turns it into an error object.
#ifndef BU_CLIENTDIR_HXVAULT_EXCEPTION_H
#define BU_CLIENTDIR_HXVAULT_EXCEPTION_H

#include <exception>
#include <string>
#include <utility>

namespace Halvex_HxVault {

class HxVaultException : public std::exception {
  public:
    explicit HxVaultException(std::string message) : message_(std::move(message)) {}
    const char* what() const noexcept override { return message_.c_str(); }

  private:
    std::string message_;
};

}  // namespace Halvex_HxVault

#endif  // BU_CLIENTDIR_HXVAULT_EXCEPTION_H
