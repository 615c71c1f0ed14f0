// The settings of the output file, end to end through buhost: each case of
// tests/golden/file-settings/starts.txt is a job's attributes and what its
// start must give, the numbered messages on the public log (as the host
// renders them), the exit code the operator set and the status PX_Initiate
// returned. A start that succeeds leaves the file.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "test_jobs.h"

namespace {

using testsupport::Job;
using testsupport::JobResult;

struct StartCase {
    std::string name;
    std::string attributes;  // lines over the base job; "-Key" drops a key of it
    std::string system;      // lines of [system]
    std::vector<std::string> messages;
    int exitCode = 0;
    int status = 42;
    int instances = 1;
    bool charOnly = false;
};

void replaceAll(std::string& text, const std::string& from, const std::string& to) {
    for (auto at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
}

std::vector<StartCase> readCases() {
    std::ifstream in(std::string(BU_SOURCE_DIR) + "/tests/golden/file-settings/starts.txt");
    std::vector<StartCase> cases;
    for (std::string line; std::getline(in, line);) {
        if (line.empty() || line[0] == '#') continue;
        if (line.rfind("== ", 0) == 0) {
            std::istringstream words(line.substr(3));
            StartCase c;
            words >> c.name;
            for (std::string word; words >> word;) {
                const std::string key = word.substr(0, word.find('='));
                const std::string value = word.substr(word.find('=') + 1);
                if (key == "exit") c.exitCode = std::stoi(value);
                if (key == "status") c.status = std::stoi(value);
                if (key == "instances") c.instances = std::stoi(value);
                if (key == "schema") c.charOnly = value == "char";
            }
            cases.push_back(c);
        } else if (cases.empty()) {
            ADD_FAILURE() << "a line before the first case: " << line;
        } else if (line.rfind("> ", 0) == 0) {
            cases.back().messages.push_back(line.substr(2));
        } else if (line.rfind("[system] ", 0) == 0) {
            cases.back().system += line.substr(9) + "\n";
        } else {
            replaceAll(line, "{stage}", BU_STAGE_DIR);
            cases.back().attributes += line + "\n";
        }
    }
    return cases;
}

// The base job writes BINARY records to data.dat in the job's folder, with
// the OUTMOD swallowing every row and no private log.
std::string attributesOf(const std::string& overrides) {
    std::map<std::string, std::string> lines = {
        {"OUTMODname", "OUTMODname = \"" BU_JOURNAL_OUTMOD "\""},
        {"FileName", "FileName = \"data.dat\""},
        {"Format", "Format = \"BINARY\""},
        {"OpenMode", "OpenMode = \"Write\""},
        {"PrivateLogName", "PrivateLogName = \"\""}};
    std::istringstream in(overrides);
    for (std::string line; std::getline(in, line);) {
        if (line.empty()) continue;
        if (line[0] == '-') {
            lines.erase(line.substr(1));
        } else {
            lines[line.substr(0, line.find(' '))] = line;
        }
    }
    std::string text;
    for (const auto& [key, line] : lines) text += line + "\n";
    return text;
}

// The numbered messages of the public log from their number on, 19015 left
// out.
std::vector<std::string> numberedMessages(const JobResult& r) {
    std::vector<std::string> found;
    for (const std::string& line : testsupport::lines(r.publicLog)) {
        const auto at = line.find("QLN");
        if (at != std::string::npos && line.compare(at, 8, "QLN19015") != 0)
            found.push_back(line.substr(at));
    }
    return found;
}

// The number behind the last `text` in `where`, or `none`.
int numberBehind(const std::string& where, const std::string& text, int none) {
    const auto at = where.rfind(text);
    return at == std::string::npos ? none : std::stoi(where.substr(at + text.size()));
}

// The file the job names, as instance 1 opens it.
std::string fileOfInstanceOne(const std::string& attributes) {
    static const std::string kKey = "FileName = \"";
    const auto at = attributes.find(kKey) + kKey.size();
    std::string name = attributes.substr(at, attributes.find('"', at) - at);
    replaceAll(name, "{instance}", "1");
    return name;
}

TEST(FileSettings, EachStartGivesItsMessagesExitCodeAndStatus) {
    const std::vector<StartCase> cases = readCases();
    ASSERT_EQ(cases.size(), 43u);
    for (const StartCase& c : cases) {
        SCOPED_TRACE(c.name);
        Job job;
        job.name = "file-settings-" + c.name;
        job.attributes = attributesOf(c.attributes);
        job.schema = c.charOnly ? "[[schema]]\nname = \"code\"\ntype = \"CHAR\"\nlength = 5\n"
                                : testsupport::charAndIntegerSchema();
        job.instances = c.instances;
        job.source = "kind = \"generate\"\nrows = 2\nseed = 7\n";
        if (!c.system.empty()) job.tables = std::string("[system]\n") + c.system + "\n";
        JobResult r = testsupport::runJob(job);
        std::vector<std::string> expected = c.messages;
        for (std::string& line : expected) replaceAll(line, "{dir}", r.dir);
        EXPECT_EQ(numberedMessages(r), expected) << r.publicLog;
        EXPECT_EQ(numberBehind(r.publicLog, "exit code raised to ", 0), c.exitCode) << r.publicLog;
        EXPECT_EQ(numberBehind(r.output, "PX_Initiate returned ", 42), c.status) << r.output;
        EXPECT_EQ(std::filesystem::is_regular_file(r.dir + "/" + fileOfInstanceOne(job.attributes)),
                  c.status == 42);
    }
}

}  // namespace
