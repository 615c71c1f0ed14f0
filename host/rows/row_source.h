// Where rows come from. Instances share one stream: instance k of N (k from
// 0) takes rows k, k + N, k + 2N, ..., so every row goes to exactly one.
#pragma once

#include <cstdint>
#include <memory>

#include "job/job_definition.h"
#include "rows/row_form.h"

namespace buhost {

class RowSource {
  public:
    virtual ~RowSource() = default;
    // Puts this instance's next row into `row`; false at the end of the stream.
    virtual bool next(RowBuffer& row) = 0;
    // Passes over this instance's next `count` rows (a restart resumes here).
    virtual void skip(uint64_t count, RowBuffer& scratch) {
        for (uint64_t i = 0; i < count && next(scratch); ++i) {
        }
    }
    // The process ends with this source: what it holds of the process's
    // memory may be left to that end to release.
    virtual void leaveToProcessEnd() {}
};

std::unique_ptr<RowSource> openRowSource(const JobDefinition& job, const RowForm& form,
                                         int instanceIndex, int instanceCount);

// Checks a source without reading rows (the database opens, the query
// prepares and its columns agree with the schema). Throws JobError.
void checkRowSource(const JobDefinition& job);

}  // namespace buhost
