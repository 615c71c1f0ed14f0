// Drives one operator instance through its methods, as the infrastructure
// does: initiate, event 36, restart, execute with checkpoints, terminate
// phase 1, (barrier), terminate phase 2.
#pragma once

#include <functional>

#include "job/job_definition.h"
#include "run/instance_slot.h"
#include "services/host_instance.h"

namespace buhost {

// Runs the instance and fills `slot`; `betweenPhases` returns when every
// instance has finished phase 1. Returns the instance's exit code.
int driveInstance(const JobDefinition& job, const InstanceOptions& options,
                  GlobalVariables& globals, InstanceSlot& slot,
                  const std::function<void()>& betweenPhases);

}  // namespace buhost
