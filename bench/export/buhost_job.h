// One export job of the benchmark, run through the staged buhost with the
// real operator, rows from the reference table's rows file.
#pragma once

#include <cstdint>
#include <string>

namespace bench {

struct JobSpec {
    std::string name;        // also the job file's name in the work folder
    std::string attributes;  // the [attributes] lines
    int instances = 1;
    // The rows handed over from the mapped rows file rather than copied
    // into buhost's row buffer; off for a stage whose buhost has no choice.
    bool mappedRows = true;
};

struct JobResult {
    double seconds = 0;     // the job's time as buhost measures it
    double cpuSeconds = 0;  // user and system time of buhost and its instances
    uint64_t rows = 0;
    uint64_t anonKB = 0;  // the first instance's anonymous resident memory at its end
};

// Writes the job file into `work` and runs `stage`/bin/buhost on it, its
// logs going to `work`/logs, which must exist. Throws
// std::runtime_error with buhost's own words when the job does not end with
// exit code 0.
JobResult runBuhostJob(const std::string& stage, const std::string& work, const JobSpec& spec,
                       const std::string& rowsFile);

}  // namespace bench
