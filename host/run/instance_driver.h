// Drives one operator instance through its methods, as the infrastructure
// does: initiate, event 36, restart, execute with checkpoints, terminate
// phase 1, (barrier), terminate phase 2.
#pragma once

#include <functional>
#include <string>

#include "job/job_definition.h"
#include "run/instance_slot.h"
#include "services/host_instance.h"

namespace buhost {

// Takes an operator, already loaded, through the lifecycle of one instance
// and fills `slot`'s counters; `betweenPhases` returns when every instance
// has finished phase 1. Returns the first method that failed, as a line, or
// an empty text.
std::string runLifecycle(const JobDefinition& job, const OperatorMethodRecord& methods,
                         HostInstance& inst, InstanceSlot& slot,
                         const std::function<void()>& betweenPhases);

// Runs the instance in this process, loading the operator, and fills `slot`.
// Returns the instance's exit code.
int driveInstance(const JobDefinition& job, const InstanceOptions& options,
                  GlobalVariables& globals, InstanceSlot& slot,
                  const std::function<void()>& betweenPhases);

}  // namespace buhost
