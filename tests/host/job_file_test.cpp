// Job files: what a good one turns into, and one clear error naming the key
// for each kind of bad input.
#include <gtest/gtest.h>

#include <cstring>

#include "job/attribute_values.h"
#include "job/instance_files.h"
#include "job_file_fixture.h"

namespace buhost {
namespace {

class JobFileTest : public JobFileFixture {
  protected:
    std::string base() const {
        return "[job]\nname = \"t\"\nlog_dir = \"logs\"\n"
               "[operator]\nmodule = \"tests/lib64/libbutestop.so\"\n"
               "[attributes]\nText = \"abc\"\nNumber = 7\nFlag = true\nMulti = [\"a\", \"b\"]\n"
               "[[schema]]\nname = \"id\"\ntype = \"INTEGER\"\n"
               "[[schema]]\nname = \"v\"\ntype = 7\nlength = 12\nnullable = true\n"
               "[[schema]]\nname = \"d\"\ntype = \"decimal\"\nprecision = 12\nscale = 2\n"
               "[source]\nkind = \"generate\"\nrows = 5\n";
    }
};

TEST_F(JobFileTest, AGoodJobResolvesPathsAndEncodesAttributes) {
    JobDefinition job = load(base());
    EXPECT_EQ(job.logDir, dir / "logs");
    EXPECT_EQ(job.checkpointDir, job.logDir);
    EXPECT_EQ(job.operatorModule, hosttest::testOperator());  // found in the stage
    EXPECT_EQ(job.instances, 1);
    ASSERT_EQ(job.schema.size(), 3u);
    EXPECT_EQ(job.schema[1].type.name, "VARCHAR");
    EXPECT_EQ(job.schema[2].length, 8u);  // DECIMAL(12) takes 8 bytes

    const AttributeValue& text = job.attributes.at("Text");
    EXPECT_EQ(text.length, 3);
    ASSERT_EQ(text.bytes.size(), 4u);
    EXPECT_EQ(text.bytes[3], 0);
    const AttributeValue& number = job.attributes.at("Number");
    ASSERT_EQ(number.length, 4);
    int32_t n = 0;
    std::memcpy(&n, number.bytes.data(), 4);
    EXPECT_EQ(n, 7);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(job.attributes.at("Flag").bytes.data())),
              "Y");
    EXPECT_TRUE(job.attributes.at("Multi").multiValued);
    EXPECT_FALSE(text.multiValued);
}

TEST_F(JobFileTest, ACheckpointFolderOfItsOwnResolvesLikeTheOthers) {
    std::filesystem::create_directories(dir / "ckpt");
    std::string text = base();
    text.insert(text.find("log_dir"), "checkpoint_dir = \"ckpt\"\n");
    EXPECT_EQ(load(text).checkpointDir, dir / "ckpt");
}

TEST_F(JobFileTest, EachBadInputNamesWhatIsWrong) {
    struct Case {
        std::string from, to, expected;
    };
    const Case cases[] = {
        {"name = \"t\"\n", "", "missing key 'job.name'"},
        {"log_dir = \"logs\"", "log_dir = \"logs\"\ninstnces = 2", "unknown key 'job.instnces'"},
        {"log_dir = \"logs\"", "log_dir = \"nowhere\"", "log directory not found"},
        {"log_dir = \"logs\"", "log_dir = \"logs\"\ninstances = 0",
         "'job.instances' must be from 1"},
        {"log_dir = \"logs\"", "log_dir = \"logs\"\ninstances = \"2\"",
         "'job.instances' must be an integer"},
        {"type = \"INTEGER\"", "type = \"INTEGRAL\"", "unknown column type 'INTEGRAL'"},
        {"type = 7", "type = 99", "unknown column type code 99"},
        {"length = 12\n", "", "missing key 'schema[2].length'"},
        {"precision = 12\n", "", "'schema[3].precision' is required"},
        {"scale = 2\n", "scale = 13\n", "'schema[3].scale' is larger than its precision"},
        {"module = \"tests/lib64/libbutestop.so\"", "module = \"lib64/none.so\"",
         "operator not found"},
        {"kind = \"generate\"", "kind = \"csv\"", "'source.kind' must be"},
        {"rows = 5\n", "", "missing key 'source.rows'"},
        {"kind = \"generate\"\nrows = 5",
         "kind = \"sqlite\"\ndatabase = \"none.db\"\nquery = \"x\"", "database not found"},
        {"kind = \"generate\"\nrows = 5", "kind = \"rows\"\nfile = \"none.rows\"",
         "rows file not found"},
        {"Number = 7", "SYSTEM_JobID = \"x\"", "supplied by the host"},
        {"Number = 7", "Number = 7.5", "'attributes.Number' must be"},
        {"Number = 7", "Number = 4294967296", "does not fit a 32-bit number"},
        {"[source]", "[source]\nseed = ", "line "},
        {"[source]", "[extra]\n[source]", "unknown key 'extra'"},
    };
    for (const auto& c : cases) {
        std::string text = base();
        auto at = text.find(c.from);
        ASSERT_NE(at, std::string::npos) << c.from;
        text.replace(at, c.from.size(), c.to);
        std::string error = errorOf(text);
        EXPECT_NE(error.find(c.expected), std::string::npos)
            << "replacing [" << c.from << "] gave: " << error;
        EXPECT_EQ(error.find('\n'), std::string::npos) << "one line: " << error;
    }
}

TEST_F(JobFileTest, AMissingJobFileIsAnError) {
    EXPECT_THROW(loadJobFile(dir / "none.toml", hosttest::stageDir()), JobError);
}

// The operator opens files and loads modules by name from wherever the host
// runs: relative names are handed over as absolute ones where the job's own
// paths would be found.
TEST_F(JobFileTest, NamesTheOperatorOpensResolveLikeTheJobsPaths) {
    auto loaded = [&](const std::string& attributes) {
        std::string text = base();
        text.replace(text.find("Text = "), 0, attributes);
        JobDefinition job = load(text);
        const AttributeValue& file = job.attributes.at("FileName");
        return std::string(file.bytes.begin(), file.bytes.begin() + file.length);
    };
    const std::string here = std::filesystem::absolute(dir / "logs").lexically_normal();
    EXPECT_EQ(loaded("FileName = \"logs/out-{instance}.txt\"\n"), here + "/out-{instance}.txt");
    EXPECT_EQ(loaded("FileName = \"nowhere/out.txt\"\n"), "nowhere/out.txt");
    std::string text = base();
    text.replace(text.find("Text = "), 0, "AccessModuleName = \"tests/lib64/libbutestop.so\"\n");
    const JobDefinition job = load(text);
    const AttributeValue& module = job.attributes.at("AccessModuleName");
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(module.bytes.data())),
              std::filesystem::path(hosttest::testOperator()).lexically_normal().string());
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
        {"FileName = \"out.txt\"\n", 2, true},
        {"FileName = \"out.txt\"\n", 1, false},
        {"FileName = \"out-{instance}.txt\"\n", 2, false},
        {"FileName = \"out.txt\"\nAccessModuleName = \"libmine.so\"\n", 2, false},
        {"FileName = \"out.txt\"\nAccessModuleName = \"\"\n", 2, true},
    };
    for (const auto& c : cases) {
        std::string text = base();
        text.replace(text.find("Text = "), 0, c.attributes);
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

}  // namespace
}  // namespace buhost
