// Runs jobs through the staged buhost and collects what they left: exit
// code, standard output and error, the public log, the private logs and the
// journals of the journal OUTMOD.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "test_files.h"

namespace testsupport {

struct JobResult {
    std::string dir;  // the folder the job ran in
    int exitCode = -1;
    std::string out, err;
    std::string output;                              // out and err together
    std::string publicLog;                           // every line of the public log
    std::map<std::string, std::string> privateLogs;  // file name -> content
    std::vector<std::vector<std::string>> journals;  // per instance, lines of the journal

    // The bytes of a file the job wrote, by its name in the job's folder.
    std::string file(const std::string& name) const;
    // Lines of the public log with the message number (as "QLN%05d").
    std::vector<std::string> messages(int number) const;
    bool hasMessage(int number) const { return !messages(number).empty(); }
    // Lines of the public log with the operator's greeting, which carries no
    // leader and so no message number.
    std::vector<std::string> greetings() const;
    // All private logs joined.
    std::string allPrivate() const;
};

struct Job {
    std::string name;  // also the job's folder under the build tree
    int instances = 1;
    std::string jobLines;    // further TOML lines of [job]
    std::string attributes;  // TOML lines of [attributes]
    std::string schema;      // TOML of the [[schema]] tables
    std::string source;      // TOML lines of [source]
    std::string journalMode = "swallow";
    std::string tables;  // further TOML tables behind [source] ([system], [faults])
    std::string module;  // the operator, by its stage path; empty: lib64/libbuoutop.so
    std::map<std::string, std::string> inputs;  // files put in the job's folder first: name, bytes
};

// Schema of two columns every source can fill: a CHAR(5) and an INTEGER.
std::string charAndIntegerSchema();

// Writes job.toml and the inputs into a fresh folder for the job under the
// build tree and returns the folder.
std::string writeJob(const Job& job);

// Runs the job in a fresh folder with further options of `buhost run`
// ("--json --crash-after-rows 3").
JobResult runJob(const Job& job, const std::string& options = "--json");

// Runs the job again in its folder as the last run left it.
JobResult rerunJob(const Job& job, const std::string& options = "--json");

// Runs the staged buhost with `arguments` (quoted as needed) in `dir`, with
// the variables of `environment` ("NAME='value' ...") set.
JobResult runBuhost(const std::string& arguments, const std::string& dir = ".",
                    const std::string& environment = "");

// Runs a shell command; its standard output and error, and its exit code
// in `status` (-1 when it did not exit).
std::string runCommand(const std::string& command, int* status);

// Paths of the stage.
std::string stagePath(const std::string& relative);
// The same in double quotes, for a TOML value.
std::string staged(const std::string& relative);

// The bytes of the golden file tests/golden/<folder>/<name>.hex:
// hexadecimal pairs, '#' to the end of a line is a comment.
std::string goldenBytes(const std::string& folder, const std::string& name);

}  // namespace testsupport
