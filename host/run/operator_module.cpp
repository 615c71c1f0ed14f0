#include "run/operator_module.h"

#include <dlfcn.h>

#include "job/job_definition.h"

namespace buhost {

OperatorModule::OperatorModule(const std::string& path) {
    handle_ = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle_ == nullptr) {
        const char* why = dlerror();
        throw JobError("cannot load operator " + path + ": " + (why ? why : "unknown error"));
    }
    auto get =
        reinterpret_cast<PX_GetOperatorMethods_t>(dlsym(handle_, PX_GET_OPERATOR_METHODS_SYMBOL));
    if (get == nullptr)
        throw JobError("operator " + path + " has no " + PX_GET_OPERATOR_METHODS_SYMBOL);
    int32_t rc = get(&record_);
    if (rc != 0 || record_ == nullptr)
        throw JobError("operator " + path + ": " + PX_GET_OPERATOR_METHODS_SYMBOL + " returned " +
                       std::to_string(rc) + " and no method record");
    const OperatorMethodRecord& m = *record_;
    if (m.count != 1 || !m.PX_Initiate || !m.PX_Execute || !m.PX_Terminate || !m.PX_Checkpoint ||
        !m.PX_Restart || !m.PX_Event)
        throw JobError("operator " + path + ": the method record is incomplete");
}

std::string loaderReason(const std::string& path, const char* entry) {
    void* handle = dlopen(path.c_str(), RTLD_LAZY);
    if (handle == nullptr) {
        const char* why = dlerror();
        return why != nullptr ? why : "unknown error";
    }
    std::string why;
    if (dlsym(handle, entry) == nullptr) {
        const char* text = dlerror();
        why = text != nullptr ? text : std::string("no ") + entry;
    }
    dlclose(handle);
    return why;
}

std::string OperatorModule::version() const {
    return record_->version != nullptr ? record_->version : "";
}

}  // namespace buhost
