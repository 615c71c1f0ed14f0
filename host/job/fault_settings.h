// The job file's fault injection: [system] replaces or leaves out attributes
// the host supplies, [faults] makes the host misuse the boundary on purpose.
// Both exist to provoke the refusals of an operator or OUTMOD under test.
#pragma once

#include <toml++/toml.h>

#include <array>
#include <string_view>

#include "job/job_definition.h"

namespace buhost {

// The "SYSTEM_*" attributes the host supplies; [system] may name these only.
inline constexpr std::array<std::string_view, 15> kHostSystemAttributes = {
    "SYSTEM_InstanceNumber", "SYSTEM_MaxInstances",  "SYSTEM_OperatorType", "SYSTEM_LATENCYON",
    "SYSTEM_OperatorName",   "SYSTEM_RestartMode",   "SYSTEM_JobID",        "SYSTEM_MaxOperators",
    "SYSTEM_OperatorNumber", "SYSTEM_JobStepNumber", "SYSTEM_LOGDIRECTORY", "SYSTEM_CharSetId",
    "SYSTEM_BUFFERMODE",     "SYSTEM_CHECKPOINT",    "SYSTEM_ExecutePassed"};

// Methods the host can call before PX_Initiate (PX_Terminate in phase 2).
inline constexpr std::array<std::string_view, 5> kMethodsBeforeInitiate = {
    "PX_Execute", "PX_Checkpoint", "PX_Restart", "PX_Event", "PX_Terminate"};

// Reads [system] and [faults] of `root` into `job`, whose schema and job
// table are already read. Throws JobError naming the key.
void readFaultSettings(const toml::table& root, JobDefinition& job);

}  // namespace buhost
