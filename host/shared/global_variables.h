// Global variables shared by all instance processes of a job: one region of
// shared memory made before the instances start, guarded by a process-shared
// mutex. Element indices count from 1.
#pragma once

#include <cstdint>

namespace buhost {

class GlobalVariables {
  public:
    GlobalVariables();  // maps the region; call before fork
    ~GlobalVariables();
    GlobalVariables(const GlobalVariables&) = delete;
    GlobalVariables& operator=(const GlobalVariables&) = delete;

    // Each returns a status of the boundary.
    int32_t create(const char* name, int32_t elemSize, int32_t elemCount);
    int32_t remove(const char* name);
    int32_t read(const char* name, int32_t index, void** value, int32_t* length);
    int32_t write(const char* name, const void* value, int32_t length, int32_t index);

    static constexpr int kMaxVariables = 64;
    static constexpr int kMaxNameLength = 63;
    static constexpr uint32_t kArenaBytes = 1u << 20;

  private:
    struct Region;
    Region* region_;
};

}  // namespace buhost
