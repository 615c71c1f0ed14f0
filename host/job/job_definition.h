// A job as the host runs it: everything read from the job file, with paths
// already resolved.
#pragma once

#include <cstdint>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "job/answer_kinds.h"
#include "job/column_types.h"

namespace buhost {

// A bad job file, a missing file, a bad row: one line that says what is wrong.
class JobError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

struct ColumnDefinition {
    std::string name;
    ColumnTypeInfo type;
    uint32_t length = 0;  // schema length: the maximum for a variable column
    int16_t precision = 0;
    int16_t scale = 0;
    bool nullable = false;
    std::string inputFormat;  // date/time pictures, empty when none
    std::string outputFormat;
};

// One attribute value as the operator will read it.
struct AttributeValue {
    std::vector<uint8_t> bytes;  // a text carries a zero byte behind `length`
    int32_t length = 0;
    bool multiValued = false;
};

enum class SourceKind { Generate, Sqlite, RowsFile };

struct SourceDefinition {
    SourceKind kind = SourceKind::Generate;
    // generate
    uint64_t rowCount = 0;
    uint64_t seed = 1;
    double nullRate = 0.1;
    // sqlite
    std::string database;
    std::string query;
    // rows
    std::string rowsFile;
    // Each row handed over where it lies in the mapped file instead of in
    // the one row buffer: valid to the job's end, so a missing copy in the
    // operator goes unseen. For throughput, not for testing an operator.
    bool mappedRows = false;
};

// Faults the host causes on purpose, so that the refusals of an operator or
// an OUTMOD can be provoked from a job file.
struct FaultDefinition {
    bool initiateTwice = false;        // a second PX_Initiate right after the first
    std::string methodBeforeInitiate;  // called once before PX_Initiate; empty: none
    uint64_t row = 1;                  // the instance's row (from 1) the row faults change
    int32_t columnCountDelta = 0;      // added to the column count PX_GetRow reports
    uint32_t overlongColumn = 0;       // from 1; 0: none
    uint32_t overlongBytes = 1;        // how far that column goes past its schema length
    // attribute_answers = "fuzz": attribute reads are answered at random,
    // faithfully or as a careless host might (services/hostile_answers.h).
    bool hostileAttributes = false;
    uint64_t attributeSeed = 1;
    uint32_t attributeFaultPercent = 20;
    // [faults.answer]: attributes always answered in one hostile way.
    std::map<std::string, AnswerKind> fixedAnswers;

    bool changesRows() const { return columnCountDelta != 0 || overlongColumn != 0; }
};

struct JobDefinition {
    std::string jobFile;  // as given on the command line
    std::string name;
    std::string jobId;
    std::string operatorName = "buoutop";
    std::string charset = "ASCII";
    std::string userId;  // empty: the user running buhost
    int instances = 1;
    uint64_t checkpointRows = 0;
    std::string logDir;
    std::string checkpointDir;
    bool bufferMode = false;
    uint32_t bufferSize = 1024000;
    uint32_t bufferTrailerSize = 0;
    bool bufferIndicators = true;
    std::string operatorModule;
    std::map<std::string, AttributeValue> attributes;  // job attributes, as given
    // [system]: host-supplied attributes replaced or left out, for testing.
    std::map<std::string, AttributeValue> systemOverrides;
    std::vector<std::string> systemOmitted;
    FaultDefinition faults;
    std::vector<ColumnDefinition> schema;
    SourceDefinition source;
};

// The job's public log, one file shared by every instance.
inline std::string publicLogPath(const JobDefinition& job) {
    return job.logDir + "/" + job.name + "-public.log";
}

}  // namespace buhost
