// The operator shared object: loaded with dlopen, its methods taken from the
// record that PX_GetOperatorMethods hands out (not looked up one by one).
#pragma once

#include <string>

#include "px_boundary.h"

namespace buhost {

class OperatorModule {
  public:
    // Throws JobError naming the module and what is wrong with it.
    explicit OperatorModule(const std::string& path);
    const OperatorMethodRecord& methods() const { return *record_; }
    std::string version() const;

  private:
    void* handle_ = nullptr;  // stays loaded for the life of the process
    OperatorMethodRecord* record_ = nullptr;
};

// Why the loader refuses `path`, or finds no `entry` in it; empty when it
// does neither. An object that loads stays loaded only if it already was.
std::string loaderReason(const std::string& path, const char* entry);

}  // namespace buhost
