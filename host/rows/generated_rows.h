// Deterministic rows for any schema, from a seed and a count.
#pragma once

#include <string>
#include <vector>

#include "rows/row_source.h"

namespace buhost {

class GeneratedRows : public RowSource {
  public:
    GeneratedRows(const JobDefinition& job, const RowForm& form, int instanceIndex,
                  int instanceCount);
    bool next(RowBuffer& row) override;
    void skip(uint64_t count, RowBuffer& scratch) override;

    // The value of column `col` of stream row `rowIndex`; text lands in `text`.
    CellValue valueFor(uint64_t rowIndex, size_t col, std::string& text) const;

  private:
    const JobDefinition& job_;
    const RowForm& form_;
    uint64_t nextIndex_;
    uint64_t stride_;
    std::vector<std::string> texts_;
    std::vector<CellValue> values_;
};

}  // namespace buhost
