// Runs a job: N instance processes forked after the job is loaded, each
// loading the operator itself; the phase-2 barrier in the parent; the exit
// code is the highest of the instances.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "job/job_definition.h"

namespace buhost {

struct RunOptions {
    int instances = 0;  // 0: as the job says
    bool restart = false;
    uint64_t crashAfterRows = 0;               // every instance
    std::map<int, uint64_t> crashAfterRowsOf;  // instance -> rows
    std::string traceLevel;
    bool showProgress = false;
    // The instances' own standard output (an OUTMOD's prints) goes to
    // standard error, so that buhost's standard output holds its report only.
    bool instanceOutputToStderr = false;
};

struct InstanceReport {
    int instance = 0;
    uint64_t rows = 0;
    uint64_t checkpoints = 0;
    int exitCode = 0;
    uint32_t maxRowSizeKB = 0;
    double seconds = 0;      // the instance's own pace; 0 when it did not finish
    uint64_t timedRows = 0;  // the rows and row bytes of those seconds
    uint64_t timedBytes = 0;
    uint64_t anonKB = 0;  // anonymous resident memory at the end of the rows
    std::string failure;  // empty when the instance ran clean
};

struct JobReport {
    std::string job;
    std::string logDir;
    std::string publicLog;         // path of the public log
    uint64_t publicLogOffset = 0;  // where this run's lines start: logs are appended to
    int exitCode = 0;
    uint64_t rows = 0;
    double seconds = 0;
    std::vector<InstanceReport> instances;
};

JobReport runJob(const JobDefinition& job, const RunOptions& options);

}  // namespace buhost
