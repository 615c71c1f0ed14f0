// What `buhost check` verifies beyond the job file itself: that `run` could
// write its logs and checkpoints, and find the OUTMOD the operator loads.
#pragma once

#include <string>
#include <vector>

#include "job/job_definition.h"

namespace buhost {

// Throws JobError naming a folder `run` writes to that cannot be written.
void checkFoldersWritable(const JobDefinition& job);

// What stands in the way of loading the OUTMOD as instance 1 would (the
// name as the host hands it over, found by path or by the loader's search);
// empty when nothing does.
std::vector<std::string> outmodWarnings(const JobDefinition& job);

}  // namespace buhost
