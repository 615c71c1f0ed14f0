// One file per instance: "{instance}" in an attribute value stands for the
// number of the instance that reads it, so that the instances of a job can
// each write a file of their own.
#pragma once

#include <map>
#include <string>

#include "job/job_definition.h"

namespace buhost {

// The job's attributes as instance `instance` (from 1) reads them.
std::map<std::string, AttributeValue> attributesOfInstance(
    const std::map<std::string, AttributeValue>& attributes, int instance);

// Several instances writing one "FileName" through the default disk module
// would overwrite each other's records: such a job is refused with a
// JobError that says how to give each instance its file. An Access Module
// decides for itself what one name means to it.
void refuseSharedOutputFile(const JobDefinition& job, int instances);

}  // namespace buhost
