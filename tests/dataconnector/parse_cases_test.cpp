// The delimited parser's rules, one record each, from the cases of
// golden/parse_cases.txt: the job, the record, and the error, columns and
// error text it must give, by the general machine or the job's own loop.
#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <sstream>

#include "charset_fixture.h"
#include "parse_job.h"

namespace bu::test {
namespace {

// A word of a case's line: bare, or (in part) in double quotes with the
// escapes \\ \" \n \0 and \xHH. `quoted` tells NULL from "NULL".
struct Word {
    std::string text;
    bool quoted = false;
};

std::vector<Word> words(const std::string& line) {
    std::vector<Word> out;
    for (size_t at = 0; at < line.size();) {
        if (line[at] == ' ') {
            ++at;
            continue;
        }
        Word w;
        while (at < line.size() && line[at] != ' ') {
            if (line[at] != '"') {
                w.text += line[at++];
                continue;
            }
            w.quoted = true;
            for (++at; at < line.size() && line[at] != '"'; ++at) {
                if (line[at] != '\\') {
                    w.text += line[at];
                } else if (line[++at] == 'x') {
                    w.text += static_cast<char>(std::stoi(line.substr(at + 1, 2), nullptr, 16));
                    at += 2;
                } else {
                    w.text += line[at] == 'n' ? '\n' : line[at] == '0' ? '\0' : line[at];
                }
            }
            ++at;  // the closing quote
        }
        out.push_back(w);
    }
    return out;
}

std::vector<uint32_t> limits(const std::string& text) {
    std::vector<uint32_t> out;
    std::istringstream in(text);
    for (std::string n; std::getline(in, n, ',');) out.push_back(std::stoul(n));
    return out;
}

void setJob(ParseJob& job, const std::string& key, const std::string& value) {
    static const std::map<std::string, std::string ParseJob::*> marks = {
        {"charset", &ParseJob::charset},
        {"delimiter", &ParseJob::delimiter},
        {"escape-delimiter", &ParseJob::escapeDelimiter},
        {"open", &ParseJob::open},
        {"close", &ParseJob::close},
        {"escape-quote", &ParseJob::escapeQuote},
        {"trim-leading", &ParseJob::trimLeading},
        {"trim-trailing", &ParseJob::trimTrailing},
        {"escape-record-end", &ParseJob::escapeRecordEnd}};
    static const std::map<std::string, bool ParseJob::*> flags = {
        {"null-columns", &ParseJob::nullColumns},
        {"truncate", &ParseJob::truncate},
        {"accept-missing", &ParseJob::acceptMissing},
        {"keeps-bad-records", &ParseJob::keepsBadRecords}};
    if (auto m = marks.find(key); m != marks.end()) return void(job.*(m->second) = value);
    if (auto f = flags.find(key); f != flags.end()) return void(job.*(f->second) = true);
    if (key == "limits") return void(job.maxLengths = limits(value));
    if (key == "quoted") return void(job.quoted = std::stoi(value));
    if (key == "trim-leading-count") return void(job.trimLeadingCount = std::stoi(value));
    ADD_FAILURE() << "unknown key of a job: " << key;
}

struct Case {
    std::string what;
    ParseJob job;
    std::string record;
    int32_t error = 0;
    int32_t found = 0;  // ActualColumnCount
    std::vector<ParsedColumn> row;
    std::string ledger;
    bool ownLoop = false;
};

std::vector<Case> readCases() {
    std::ifstream in(BU_SOURCE_DIR "/tests/dataconnector/golden/parse_cases.txt");
    std::vector<Case> cases;
    for (std::string line; std::getline(in, line);) {
        if (line.empty() || line[0] == '#') continue;
        const std::string head = line.substr(0, line.find(' '));
        const std::string rest = line.substr(head.size() + 1);
        if (head == "==") {
            cases.emplace_back();
            cases.back().what = rest;
            continue;
        }
        if (cases.empty()) {
            ADD_FAILURE() << "a line before the first case: " << line;
            break;
        }
        Case& c = cases.back();
        const std::vector<Word> w = words(rest);
        if (head == "job") {
            for (const Word& setting : w) {
                const size_t eq = setting.text.find('=');
                setJob(c.job, setting.text.substr(0, eq),
                       eq == std::string::npos ? "" : setting.text.substr(eq + 1));
            }
        } else if (head == "record") {
            c.record = w.at(0).text;
        } else if (head == "result") {
            c.error = std::stoi(w.at(0).text);
            c.found = std::stoi(w.at(1).text);
        } else if (head == "row") {
            for (const Word& column : w) {
                const bool null = !column.quoted && column.text == "NULL";
                c.row.push_back({null ? "" : column.text, null});
            }
        } else if (head == "ledger") {
            c.ledger = w.at(0).text;
        } else if (head == "by") {
            c.ownLoop = rest == "own-loop";
        } else {
            ADD_FAILURE() << "unknown line of a case: " << line;
        }
    }
    return cases;
}

class ParseCasesTest : public CharsetTest {};

TEST_F(ParseCasesTest, EachRecordGivesItsColumnsAndError) {
    const std::vector<Case> cases = readCases();
    ASSERT_EQ(cases.size(), 42u);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const int32_t parsingCase = c.job.apply();
        const Parsed parsed = parseWith(c.job, c.ownLoop ? parsingCase : 0, c.record);
        EXPECT_EQ(parsed.result.error, c.error);
        EXPECT_EQ(parsed.result.columnsFound, c.found);
        EXPECT_EQ(parsed.columns(), c.row);
        EXPECT_EQ(parsed.ledger, c.ledger);
    }
}

}  // namespace
}  // namespace bu::test
