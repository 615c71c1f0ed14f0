// Fault injection in the job file ([system] and [faults]), the row a fault
// lengthens, and the OUTMOD name the host resolves.
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>

#include "job_file_fixture.h"
#include "rows/row_form.h"
#include "services/hostile_answers.h"
#include "test_columns.h"

namespace buhost {
namespace {

class FaultSettingsTest : public JobFileFixture {
  protected:
    std::string job(const std::string& attributes, const std::string& tables) const {
        return "[job]\nname = \"t\"\nlog_dir = \"logs\"\n"
               "[operator]\nmodule = \"tests/lib64/libbutestop.so\"\n"
               "[attributes]\n" +
               attributes +
               "\n[[schema]]\nname = \"id\"\ntype = \"INTEGER\"\n"
               "[[schema]]\nname = \"v\"\ntype = \"VARCHAR\"\nlength = 12\n"
               "[[schema]]\nname = \"n\"\ntype = \"NUMBER\"\nlength = 254\nnullable = true\n"
               "[source]\nkind = \"generate\"\nrows = 5\n" +
               tables;
    }
};

TEST_F(FaultSettingsTest, SystemOverridesKeepTheirOwnWidthAndOmissionsAreListed) {
    JobDefinition j = load(job("",
                               "[system]\nSYSTEM_OperatorType = 1\nSYSTEM_LATENCYON = \"YES\"\n"
                               "omit = [\"SYSTEM_JobID\", \"SYSTEM_CHECKPOINT\"]\n"));
    ASSERT_EQ(j.systemOverrides.size(), 2u);
    const AttributeValue& type = j.systemOverrides.at("SYSTEM_OperatorType");
    ASSERT_EQ(type.length, 4);
    int32_t n = 0;
    std::memcpy(&n, type.bytes.data(), 4);
    EXPECT_EQ(n, 1);
    EXPECT_EQ(j.systemOverrides.at("SYSTEM_LATENCYON").length, 3);
    EXPECT_EQ(j.systemOmitted, (std::vector<std::string>{"SYSTEM_JobID", "SYSTEM_CHECKPOINT"}));
}

TEST_F(FaultSettingsTest, EachBadFaultKeyNamesWhatIsWrong) {
    struct Case {
        std::string tables, expected;
    };
    const Case cases[] = {
        {"[system]\nSYSTEM_Bogus = 1\n", "unknown key 'system.SYSTEM_Bogus'"},
        {"[system]\nTraceLevel = \"ALL\"\n", "unknown key 'system.TraceLevel'"},
        {"[system]\nomit = [\"SYSTEM_Nope\"]\n", "unknown key 'system.omit.SYSTEM_Nope'"},
        {"[system]\nomit = \"SYSTEM_JobID\"\n", "'system.omit' must be a list"},
        {"[system]\nSYSTEM_JobID = \"x\"\nomit = [\"SYSTEM_JobID\"]\n", "both set and omitted"},
        {"[system]\nSYSTEM_JobID = 1.5\n", "'system.SYSTEM_JobID' must be"},
        {"[faults]\ninitiate_twise = true\n", "unknown key 'faults.initiate_twise'"},
        {"[faults]\ninitiate_twice = 1\n", "'faults.initiate_twice' must be true or false"},
        {"[faults]\nmethod_before_initiate = \"PX_Initiate\"\n",
         "'faults.method_before_initiate' must be"},
        {"[faults]\nrow = 0\n", "'faults.row' must be from 1"},
        {"[faults]\ncolumn_count_delta = -4\n", "'faults.column_count_delta' must be from -3"},
        {"[faults]\noverlong_column = 4\n", "must name a column from 1 to 3"},
        {"[faults]\noverlong_column = 3\noverlong_bytes = 2\n",
         "makes column 'n' longer than its 1-byte length can say"},
        {"[faults]\noverlong_bytes = 0\n", "'faults.overlong_bytes' must be from 1"},
        {"[faults]\nattribute_answers = \"random\"\n",
         "'faults.attribute_answers' must be \"faithful\" or \"fuzz\""},
        {"[faults]\nattribute_fault_percent = 0\n", "'faults.attribute_fault_percent' must be"},
        {"[faults.answer]\nTraceLevel = \"null\"\n", "'faults.answer.TraceLevel' must be one of"},
    };
    for (const auto& c : cases) {
        std::string error = errorOf(job("", c.tables));
        EXPECT_NE(error.find(c.expected), std::string::npos) << c.tables << " gave: " << error;
        EXPECT_EQ(error.find('\n'), std::string::npos) << "one line: " << error;
    }
    // One byte more still fits NUMBER's 1-byte length.
    EXPECT_EQ(errorOf(job("", "[faults]\noverlong_column = 3\n")), "");
    std::string buffered = job("", "[faults]\ncolumn_count_delta = 1\n");
    buffered.insert(buffered.find("log_dir"), "buffer_mode = true\n");
    EXPECT_NE(errorOf(buffered).find("need buffer_mode = false"), std::string::npos);
}

// Each hostile answer in the form the job file's documentation promises,
// for an attribute the host has ("abc") and for one it doesn't.
TEST(HostileAnswers, EachKindHasItsForm) {
    AttributeValue abc;
    abc.bytes = {'a', 'b', 'c', 0};
    abc.length = 3;
    struct Case {
        const char* kind;
        const AttributeValue* found;
        int32_t status;
        bool nullValue;
        int32_t length;
    };
    const Case cases[] = {
        {"faithful", &abc, 0, false, 3},         {"faithful", nullptr, 5, false, -99},
        {"null_value", &abc, 0, true, 3},        {"null_value", nullptr, 0, true, 1},
        {"negative_length", &abc, 0, false, -1}, {"huge_length", &abc, 0, false, INT32_MAX},
        {"not_found", &abc, 5, false, -99},      {"conflict", &abc, 13, false, -99},
        {"one_byte_short", &abc, 0, false, 2},   {"one_byte_short", nullptr, 0, false, -1},
    };
    for (const auto& c : cases) {
        AttributeAnswers answers;
        AnswerKind kind{};
        ASSERT_TRUE(answerKindNamed(c.kind, &kind)) << c.kind;
        answers.fix("A", kind);
        void* value = &abc;
        int32_t length = -99;
        EXPECT_EQ(answers.answer("A", c.found, &value, &length), c.status) << c.kind;
        EXPECT_EQ(length, c.length) << c.kind;
        if (c.status == 0) {
            EXPECT_EQ(value == nullptr, c.nullValue) << c.kind;
        }
        if (std::string(c.kind) == "one_byte_short" && c.found != nullptr) {
            // A copy of its own, ended where the shortened value ends.
            EXPECT_NE(value, abc.bytes.data());
            EXPECT_STREQ(static_cast<const char*>(value), "ab");
        }
    }
    EXPECT_FALSE(answerKindNamed("null", nullptr));
}

// The text the operator will read as "OUTMODname".
std::string outmodName(const JobDefinition& j) {
    const AttributeValue& v = j.attributes.at("OUTMODname");
    return std::string(v.bytes.begin(), v.bytes.begin() + v.length);
}

TEST_F(FaultSettingsTest, OutmodNameResolvesBesideTheJobThenInTheStage) {
    std::filesystem::create_directories(dir / "mods");
    hosttest::writeFile(dir / "mods/libmine.so", "");
    JobDefinition beside = load(job("OUTMODname = \"mods/libmine.so\"", ""));
    EXPECT_EQ(outmodName(beside), dir / "mods/libmine.so");
    EXPECT_EQ(outmodName(beside).front(), '/');

    JobDefinition staged = load(job("OUTMODname = \"tests/lib64/libbutestop.so\"", ""));
    EXPECT_EQ(outmodName(staged),
              std::filesystem::path(hosttest::testOperator()).lexically_normal().string());

    for (const char* asGiven : {"libnowhere.so", "mods/../mods/none.so", "/abs/libx.so"}) {
        JobDefinition j = load(job(std::string("OUTMODname = \"") + asGiven + "\"", ""));
        EXPECT_EQ(outmodName(j), asGiven);
        EXPECT_EQ(j.attributes.at("OUTMODname").bytes.back(), 0);
    }
}

// A column is lengthened past its schema's length with X bytes; a variable
// one says so in its prefix, and the columns behind it move along whole.
TEST(LengthenColumn, TheColumnGrowsAndWhatFollowsMoves) {
    const struct {
        ColumnDefinition first, second;
        CellValue values[2];
        size_t column;
        uint32_t beyond;
        const char *layout, *bytes;
    } cases[] = {
        // clang-format off
        {testColumn("v", "VARCHAR", 6), testColumn("i", "INTEGER", 0),
         {CellValue::ofText("ab"), CellValue::ofInt(-7)}, 0, 2, "3+8 11+4 of 15",
         "00" "0800" "6162585858585858" "f9ffffff"},
        {testColumn("i", "INTEGER", 0), testColumn("c", "CHAR", 5),
         {CellValue::ofInt(1), CellValue::ofText("abcde")}, 1, 3, "1+4 5+8 of 13",
         "00" "01000000" "6162636465585858"},
        // clang-format on
    };
    for (const auto& c : cases) {
        std::vector<ColumnDefinition> schema = {c.first, c.second};
        RowForm form(schema);
        RowBuffer row;
        form.prepare(row);
        row.data.resize(row.data.size() + 3);
        form.build(c.values, row);
        form.lengthenColumn(c.column, c.beyond, row);
        EXPECT_EQ(layoutOf(row), c.layout);
        EXPECT_EQ(rowHex(row), c.bytes);
    }
}

}  // namespace
}  // namespace buhost
