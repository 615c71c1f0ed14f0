// The end of a run on standard output: a line per instance and one for the
// job, or the same as one JSON object.
#pragma once

#include <cstdio>
#include <string>

#include "run/job_runner.h"

namespace buhost {

void printReport(std::FILE* out, const JobReport& report);
void printReportJson(std::FILE* out, const JobReport& report);
// Copies the lines this run added to the public log to `out`; false when it
// cannot be read.
bool printPublicLog(std::FILE* out, const JobReport& report);
std::string jsonEscape(const std::string& text);

}  // namespace buhost
