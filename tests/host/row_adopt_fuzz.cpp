// Fuzz target: arbitrary bytes as a row of a rows file, against a schema of
// every prefix width. A row is either refused with a JobError or taken with
// a descriptor that stays inside it.
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "rows/row_form.h"
#include "test_columns.h"

namespace {

const std::vector<buhost::ColumnDefinition>& schema() {
    static const std::vector<buhost::ColumnDefinition> columns{
        buhost::testColumn("i", "INTEGER", 0),        buhost::testColumn("v", "VARCHAR", 5, true),
        buhost::testColumn("n", "NUMBER", 10),        buhost::testColumn("lob", "CLOB", 20),
        buhost::testColumn("c", "CHAR", 2),           buhost::testColumn("b1", "BYTEINT", 0, true),
        buhost::testColumn("b2", "BYTEINT", 0, true), buhost::testColumn("b3", "BYTEINT", 0, true),
        buhost::testColumn("b4", "BYTEINT", 0, true)};
    return columns;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const buhost::RowForm form(schema());
    static buhost::RowBuffer row = [] {
        buhost::RowBuffer r;
        form.prepare(r);
        return r;
    }();
    try {
        form.adopt(data, static_cast<uint32_t>(size), row);
    } catch (const buhost::JobError&) {
        return 0;
    }
    uint32_t end = form.indicatorBytes();
    for (size_t i = 0; i < form.columnCount(); ++i) {
        if (row.offsets[i] < end || row.offsets[i] + row.lengths[i] > row.length) std::abort();
        if (row.lengths[i] > schema()[i].length) std::abort();
        end = row.offsets[i] + row.lengths[i];
    }
    if (end != row.length || row.length != size) std::abort();
    return 0;
}
