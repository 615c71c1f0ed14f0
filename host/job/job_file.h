// Reading a TOML job file into a JobDefinition. Every fault is a JobError whose
// text names the key and what was expected.
#pragma once

#include <string>

#include "job/job_definition.h"

namespace buhost {

// Loads and checks `path`; relative paths inside resolve against the job
// file's folder, then `stageDir`. Files the job needs must exist.
JobDefinition loadJobFile(const std::string& path, const std::string& stageDir);

}  // namespace buhost
