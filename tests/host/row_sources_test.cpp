// Row sources: generated rows are reproducible; SQLite values are converted to the
// schema's types; a rows file is dealt to the instances in turn, and one cut
// short is named at the row it breaks off in.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include "rows/row_source.h"
#include "test_columns.h"
#include "test_files.h"

namespace buhost {
namespace {

JobDefinition generatedJob(uint64_t rows, double nullRate) {
    JobDefinition job;
    job.name = "gen";
    job.schema = {
        testColumn("id", "INTEGER", 4, false),        testColumn("name", "VARCHAR", 30, true),
        testColumn("amt", "DECIMAL", 8, true, 12, 2), testColumn("n", "NUMBER", 20, true),
        testColumn("when", "INTDATE", 4, false),      testColumn("c", "CHAR", 5, true),
        testColumn("f", "FLOAT", 8, false),           testColumn("blob", "BLOB", 300, true),
        testColumn("small", "SMALLINT", 2, false)};
    job.source.kind = SourceKind::Generate;
    job.source.rowCount = rows;
    job.source.seed = 42;
    job.source.nullRate = nullRate;
    return job;
}

std::vector<std::string> drain(RowSource& source, const RowForm& form) {
    RowBuffer row;
    form.prepare(row);
    std::vector<std::string> rows;
    while (source.next(row))
        rows.emplace_back(reinterpret_cast<const char*>(row.data.data()), row.length);
    return rows;
}

// Jobs and golden files elsewhere rely on the generator's bytes: any change
// to what a seed gives must be deliberate, and this hash says when it is.
TEST(GeneratedRows, ASeedGivesTheSameBytesAsEver) {
    JobDefinition job = generatedJob(3000, 0.2);
    job.schema.push_back(testColumn("wide", "DECIMAL", 0, true, 36, 10));
    job.schema.push_back(testColumn("frac", "DECIMAL", 0, false, 5, 4));
    job.schema.push_back(testColumn("n3", "NUMBER", 3, true));
    job.schema.push_back(testColumn("big", "BIGINT", 0, false));
    job.schema.push_back(testColumn("tiny", "BYTEINT", 0, true));
    RowForm form(job.schema);
    uint64_t hash = 0xcbf29ce484222325ull;
    auto add = [&hash](const void* p, size_t n) {
        for (size_t i = 0; i < n; ++i)
            hash = (hash ^ static_cast<const uint8_t*>(p)[i]) * 0x100000001b3ull;
    };
    auto source = openRowSource(job, form, 0, 1);
    RowBuffer row;
    form.prepare(row);
    while (source->next(row)) {
        add(row.data.data(), row.length);
        add(row.offsets.data(), row.offsets.size() * sizeof row.offsets[0]);
        add(row.lengths.data(), row.lengths.size() * sizeof row.lengths[0]);
    }
    EXPECT_EQ(hash, 10486039336822950165ull);
    // Instances taking every nth row are the jobs' test.
    JobDefinition other = generatedJob(50, 0.2);
    RowForm otherForm(other.schema);
    const auto first = drain(*openRowSource(other, otherForm, 0, 1), otherForm);
    other.source.seed = 43;
    EXPECT_NE(drain(*openRowSource(other, otherForm, 0, 1), otherForm), first);
}

TEST(GeneratedRows, SkipResumesWhereTheRowsWouldHaveBeen) {
    JobDefinition job = generatedJob(20, 0.3);
    RowForm form(job.schema);
    auto all = drain(*openRowSource(job, form, 1, 2), form);
    auto resumed = openRowSource(job, form, 1, 2);
    RowBuffer scratch;
    form.prepare(scratch);
    resumed->skip(4, scratch);
    auto rest = drain(*resumed, form);
    ASSERT_EQ(rest.size(), all.size() - 4);
    EXPECT_TRUE(std::equal(rest.begin(), rest.end(), all.begin() + 4));
}

// At a rate of 1 every nullable column is NULL and no other; at 0 none is.
// Every value fits even the narrowest columns.
TEST(GeneratedRows, NullsOnlyWhereAllowedAndEveryValueFits) {
    for (double rate : {1.0, 0.0}) {
        JobDefinition job = generatedJob(200, rate);
        job.schema.insert(
            job.schema.end(),
            {testColumn("n3", "NUMBER", 3), testColumn("n2", "NUMBER", 2),
             testColumn("d", "DECIMAL", 0, false, 1, 1), testColumn("b", "BYTEINT", 0),
             testColumn("v", "VARCHAR", 1, true), testColumn("c1", "CHAR", 1)});
        RowForm form(job.schema);
        auto source = openRowSource(job, form, 0, 1);
        RowBuffer row;
        form.prepare(row);
        uint64_t rows = 0;
        while (source->next(row)) {
            ++rows;
            for (size_t c = 0; c < job.schema.size(); ++c)
                ASSERT_EQ(row.indicators[c], rate == 1.0 && job.schema[c].nullable ? 1 : 0) << c;
        }
        EXPECT_EQ(rows, 200u);
    }
}

class SqliteSourceTest : public ::testing::Test {
  protected:
    testsupport::TempDir dir;
    JobDefinition job;
    void SetUp() override {
        job.name = "sql";
        job.source.kind = SourceKind::Sqlite;
        job.source.database = dir / "t.db";
        job.source.query = "SELECT id, name, amount FROM t ORDER BY id";
        job.schema = {testColumn("id", "INTEGER", 4, false),
                      testColumn("name", "VARCHAR", 10, true),
                      testColumn("amount", "DECIMAL", 4, true, 7, 2)};
        sqlite3* db = nullptr;
        ASSERT_EQ(sqlite3_open(job.source.database.c_str(), &db), SQLITE_OK);
        ASSERT_EQ(sqlite3_exec(db,
                               "CREATE TABLE t(id INTEGER, name TEXT, amount);"
                               "INSERT INTO t VALUES (1, 'one', 1.5), (2, NULL, '-2.25'),"
                               " (3, 'three', 3), (4, 'four', NULL);",
                               nullptr, nullptr, nullptr),
                  SQLITE_OK);
        sqlite3_close(db);
    }
};

// Instance 2 of 2 takes rows 2 and 4: a NULL text, a decimal from text
// ("-2.25", -225 at scale 2) and a NULL decimal.
TEST_F(SqliteSourceTest, ValuesAreConvertedToTheSchemasTypes) {
    RowForm form(job.schema);
    EXPECT_EQ(drain(*openRowSource(job, form, 1, 2), form),
              (std::vector<std::string>{testsupport::unhex("40 02000000 0000 1fffffff"),
                                        testsupport::unhex("20 04000000 0400 666f7572 00000000")}));
}

TEST_F(SqliteSourceTest, AQueryThatDisagreesWithTheSchemaIsRefused) {
    job.source.query = "SELECT id, name AS label, amount FROM t";
    try {
        checkRowSource(job);
        FAIL() << "a renamed column passed";
    } catch (const JobError& e) {
        EXPECT_NE(std::string(e.what()).find("label"), std::string::npos) << e.what();
    }
    job.source.query = "SELECT nothing FROM nowhere";
    EXPECT_THROW(checkRowSource(job), JobError);
}

// Rows of one VARCHAR(5) column from a file in a scratch folder.
class RowsFileSource : public ::testing::Test {
  protected:
    testsupport::TempDir dir;
    JobDefinition job;
    void SetUp() override {
        job.schema = {testColumn("v", "VARCHAR", 5, true)};
        job.source.kind = SourceKind::RowsFile;
        job.source.rowsFile = dir / "r.rows";
    }
};

// The file is mapped: a length that runs past its end must be an error that
// names the row, never a read beyond the mapping.
TEST_F(RowsFileSource, AFileCutShortIsNamedAtItsRow) {
    const std::string good("\x03\0\0\0\x80\x00\x00", 7);
    const struct {
        std::string tail;
        const char* error;  // empty: the rows end cleanly
    } cases[] = {
        {"", ""},
        {std::string("\x03\0", 2), "truncated length at row 2"},
        {std::string("\x05\0\0\0\x00\x02\x00a", 8), "truncated row 2"},
        {std::string("\x09\0\0\0", 4), "row 2 of 9 bytes exceeds"},
    };
    RowForm form(job.schema);
    RowBuffer row;
    form.prepare(row);
    for (const auto& c : cases) {
        testsupport::writeFile(job.source.rowsFile, good + c.tail);
        auto source = openRowSource(job, form, 0, 1);
        ASSERT_TRUE(source->next(row)) << c.error;
        try {
            EXPECT_FALSE(source->next(row));
            EXPECT_STREQ(c.error, "");
        } catch (const JobError& e) {
            EXPECT_NE(std::string(e.what()).find(c.error), std::string::npos) << e.what();
            EXPECT_STRNE(c.error, "");
        }
    }
    testsupport::writeFile(job.source.rowsFile, "");
    EXPECT_FALSE(openRowSource(job, form, 0, 1)->next(row));
}

// Instance k of n takes rows k, k + n, k + 2n and so on of the file.
TEST_F(RowsFileSource, RowsAreDealtToTheInstancesInTurn) {
    std::string file;
    for (char v = '0'; v <= '6'; ++v) file += std::string("\x04\0\0\0\x00\x01\x00", 7) + v;
    testsupport::writeFile(job.source.rowsFile, file);
    RowForm form(job.schema);
    RowBuffer row;
    form.prepare(row);
    const char* const expected[] = {"036", "14", "25"};
    for (int instance = 0; instance < 3; ++instance) {
        auto source = openRowSource(job, form, instance, 3);
        std::string taken;
        while (source->next(row)) taken += static_cast<char>(row.data[row.offsets[0]]);
        EXPECT_EQ(taken, expected[instance]) << "instance " << instance;
    }
}

}  // namespace
}  // namespace buhost
