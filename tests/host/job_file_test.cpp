// Job files: what a good one turns into, the names the operator will open,
// one clear error naming the key for each kind of bad input, and the faults
// a job may set ([system], [faults] and the hostile answers they choose).
#include <gtest/gtest.h>

#include <filesystem>

#include "job/attribute_values.h"
#include "job/instance_files.h"
#include "job_file_fixture.h"
#include "services/hostile_answers.h"

namespace buhost {
namespace {

using testsupport::hex;

const std::string kTestOperator = BU_STAGE_DIR "/tests/lib64/libbutestop.so";

class JobFileTest : public JobFileFixture {
  protected:
    static std::string base() {
        return "[job]\nname = \"t\"\nlog_dir = \"logs\"\n"
               "[operator]\nmodule = \"tests/lib64/libbutestop.so\"\n"
               "[attributes]\nText = \"abc\"\nNumber = 7\nFlag = true\nMulti = [\"a\", \"b\"]\n"
               "[[schema]]\nname = \"id\"\ntype = \"INTEGER\"\n"
               "[[schema]]\nname = \"v\"\ntype = 7\nlength = 12\nnullable = true\n"
               "[[schema]]\nname = \"d\"\ntype = \"decimal\"\nprecision = 12\nscale = 2\n"
               "[[schema]]\nname = \"n\"\ntype = \"NUMBER\"\nlength = 254\nnullable = true\n"
               "[source]\nkind = \"generate\"\nrows = 5\n";
    }
    // The base job with `line` put in front of its attribute "Text".
    static std::string withAttribute(const std::string& line) {
        std::string text = base();
        return text.replace(text.find("Text = "), 0, line + "\n");
    }
};

// A value's bytes, with the zero byte behind its length.
std::string bytesOf(const AttributeValue& v) {
    return std::string(v.bytes.begin(), v.bytes.end()).substr(0, static_cast<size_t>(v.length) + 1);
}

TEST_F(JobFileTest, AGoodJobResolvesPathsAndEncodesAttributes) {
    JobDefinition job = load(base() +
                             "[system]\nSYSTEM_OperatorType = 1\nSYSTEM_LATENCYON = \"YES\"\n"
                             "omit = [\"SYSTEM_JobID\", \"SYSTEM_CHECKPOINT\"]\n");
    EXPECT_EQ(job.logDir, dir / "logs");
    EXPECT_EQ(job.checkpointDir, job.logDir);
    EXPECT_EQ(job.operatorModule, kTestOperator);  // found in the stage
    ASSERT_EQ(job.schema.size(), 4u);
    EXPECT_EQ(job.schema[1].type.name, "VARCHAR");
    EXPECT_EQ(job.schema[2].length, 8u);  // DECIMAL(12) takes 8 bytes
    auto attribute = [&](const char* name) { return hex(bytesOf(job.attributes.at(name))); };
    EXPECT_EQ(attribute("Text"), "61626300");
    EXPECT_EQ(attribute("Number"), "0700000000");
    EXPECT_EQ(attribute("Flag"), "5900");
    EXPECT_TRUE(job.attributes.at("Multi").multiValued);
    EXPECT_FALSE(job.attributes.at("Text").multiValued);
    // Overrides of the host's attributes keep their own width.
    EXPECT_EQ(hex(bytesOf(job.systemOverrides.at("SYSTEM_OperatorType"))), "0100000000");
    EXPECT_EQ(hex(bytesOf(job.systemOverrides.at("SYSTEM_LATENCYON"))), "59455300");
    EXPECT_EQ(job.systemOmitted, (std::vector<std::string>{"SYSTEM_JobID", "SYSTEM_CHECKPOINT"}));
    std::filesystem::create_directories(dir / "ckpt");
    std::string text = base();
    text.insert(text.find("log_dir"), "checkpoint_dir = \"ckpt\"\n");
    EXPECT_EQ(load(text).checkpointDir, dir / "ckpt");
}

// The operator opens files and loads modules by name from wherever the host
// runs: relative names are handed over as absolute ones where the job's own
// paths would be found (beside the job, then in the stage), others as given.
TEST_F(JobFileTest, NamesTheOperatorOpensResolveLikeTheJobsPaths) {
    std::filesystem::create_directories(dir / "mods");
    testsupport::writeFile(dir / "mods/libmine.so", "");
    const std::string staged = std::filesystem::path(kTestOperator).lexically_normal().string();
    const struct {
        std::string attribute, value;
    } cases[] = {
        {"FileName = \"logs/out-{instance}.txt\"",
         std::filesystem::absolute(dir / "logs").lexically_normal().string() +
             "/out-{instance}.txt"},
        {"FileName = \"nowhere/out.txt\"", "nowhere/out.txt"},
        {"AccessModuleName = \"tests/lib64/libbutestop.so\"", staged},
        {"OUTMODname = \"mods/libmine.so\"", dir / "mods/libmine.so"},
        {"OUTMODname = \"libnowhere.so\"", "libnowhere.so"},
    };
    for (const auto& c : cases) {
        const JobDefinition job = load(withAttribute(c.attribute));
        const std::string name = c.attribute.substr(0, c.attribute.find(' '));
        EXPECT_EQ(bytesOf(job.attributes.at(name)), c.value + '\0') << c.attribute;
    }
}

// Each case replaces a text of the base job (`from`, or nothing when empty)
// and appends `tables`.
TEST_F(JobFileTest, EachBadInputNamesWhatIsWrong) {
    struct Case {
        std::string from, to, expected, tables = {};
    };
    const std::string faults = "[faults]\n";
    const std::string system = "[system]\n";
    const Case cases[] = {
        {"name = \"t\"\n", "", "missing key 'job.name'"},
        {"log_dir = \"logs\"", "log_dir = \"logs\"\ninstnces = 2", "unknown key 'job.instnces'"},
        {"log_dir = \"logs\"", "log_dir = \"nowhere\"", "log directory not found"},
        {"log_dir = \"logs\"", "log_dir = \"logs\"\ninstances = 0",
         "'job.instances' must be from 1"},
        {"type = \"INTEGER\"", "type = \"INTEGRAL\"", "unknown column type 'INTEGRAL'"},
        {"type = 7", "type = 99", "unknown column type code 99"},
        {"precision = 12\n", "", "'schema[3].precision' is required"},
        {"scale = 2\n", "scale = 13\n", "'schema[3].scale' is larger than its precision"},
        {"module = \"tests/lib64/libbutestop.so\"", "module = \"lib64/none.so\"",
         "operator not found"},
        {"kind = \"generate\"", "kind = \"csv\"", "'source.kind' must be"},
        {"kind = \"generate\"\nrows = 5",
         "kind = \"sqlite\"\ndatabase = \"none.db\"\nquery = \"x\"",
         "database not found: " + dir / "none.db"},
        {"kind = \"generate\"\nrows = 5",
         "kind = \"rows\"\nfile = \"none.rows\"\nrow_memory = \"shared\"",
         "'source.row_memory' must be \"reused\" or \"mapped\", not \"shared\""},
        {"Number = 7", "SYSTEM_JobID = \"x\"", "supplied by the host"},
        {"Number = 7", "Number = 7.5", "'attributes.Number' must be"},
        {"Number = 7", "Number = 4294967296", "does not fit a 32-bit number"},
        {"[source]", "[source]\nseed = ", "line "},
        {"", "", "unknown key 'system.SYSTEM_Bogus'", system + "SYSTEM_Bogus = 1"},
        {"", "", "unknown key 'system.omit.SYSTEM_Nope'", system + "omit = [\"SYSTEM_Nope\"]"},
        {"", "", "'system.omit' must be a list", system + "omit = \"SYSTEM_JobID\""},
        {"", "", "both set and omitted",
         system + "SYSTEM_JobID = \"x\"\nomit = [\"SYSTEM_JobID\"]"},
        {"", "", "'system.SYSTEM_JobID' must be", system + "SYSTEM_JobID = 1.5"},
        {"", "", "'faults.initiate_twice' must be true or false", faults + "initiate_twice = 1"},
        {"", "", "'faults.method_before_initiate' must be",
         faults + "method_before_initiate = \"PX_Initiate\""},
        {"", "", "'faults.row' must be from 1", faults + "row = 0"},
        {"", "", "'faults.column_count_delta' must be from -4", faults + "column_count_delta = -5"},
        {"", "", "must name a column from 1 to 4", faults + "overlong_column = 5"},
        {"", "", "makes column 'n' longer than its 1-byte length can say",
         faults + "overlong_column = 4\noverlong_bytes = 2"},
        {"", "", "'faults.attribute_answers' must be \"faithful\" or \"fuzz\"",
         faults + "attribute_answers = \"random\""},
        {"", "", "'faults.answer.TraceLevel' must be one of",
         "[faults.answer]\nTraceLevel = \"null\""},
        {"log_dir", "buffer_mode = true\nlog_dir", "need buffer_mode = false",
         faults + "column_count_delta = 1"},
    };
    for (const auto& c : cases) {
        std::string text = base();
        const auto at = text.find(c.from);
        ASSERT_NE(at, std::string::npos) << c.from;
        text.replace(at, c.from.size(), c.to);
        const std::string error = errorOf(text + c.tables + "\n");
        EXPECT_NE(error.find(c.expected), std::string::npos)
            << "replacing [" << c.from << "] and adding [" << c.tables << "] gave: " << error;
        EXPECT_EQ(error.find('\n'), std::string::npos) << "one line: " << error;
    }
    // One byte more still fits NUMBER's 1-byte length.
    EXPECT_EQ(errorOf(base() + faults + "overlong_column = 4\n"), "");
    EXPECT_THROW(loadJobFile(dir / "none.toml", BU_STAGE_DIR), JobError);
}

// Instances of one job must not write one file through the disk module;
// "{instance}" gives each its own name, and an Access Module decides itself.
TEST_F(JobFileTest, InstancesOfAJobNeedAFileEach) {
    struct Case {
        std::string attributes;
        int instances;
        bool refused;
    };
    const Case cases[] = {
        {"FileName = \"out.txt\"", 2, true},
        {"FileName = \"out-{instance}.txt\"", 2, false},
        {"FileName = \"out.txt\"\nAccessModuleName = \"libmine.so\"", 2, false},
        {"FileName = \"out.txt\"\nAccessModuleName = \"\"", 2, true},
    };
    for (const auto& c : cases) {
        std::string text = withAttribute(c.attributes);
        text.replace(text.find("log_dir"), 0, "instances = " + std::to_string(c.instances) + "\n");
        std::string error = errorOf(text);
        EXPECT_EQ(error.find("all 2 instances would write FileName '/") == 0, c.refused)
            << c.attributes << " gave: " << error;
    }
    JobDefinition job = load(base());
    job.attributes["FileName"] = textAttribute("out.txt");
    EXPECT_NO_THROW(refuseSharedOutputFile(job, 1));
    EXPECT_THROW(refuseSharedOutputFile(job, 3), JobError);  // as --instances 3 would ask
}

// Each hostile answer in the form the job file's documentation promises,
// for an attribute the host has ("abc") and for one it doesn't.
TEST(HostileAnswers, EachKindHasItsForm) {
    AttributeValue abc = textAttribute("abc");
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

}  // namespace
}  // namespace buhost
