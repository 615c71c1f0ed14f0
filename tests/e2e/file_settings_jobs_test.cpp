// The settings of the output file, end to end through buhost: each row is a
// job's attributes and what its start must give, the numbered messages on
// the public log (as the host renders them), the exit code the operator set
// and the status PX_Initiate returned. A start that succeeds leaves the file.
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "job_runner.h"

namespace {

using bu::e2e::Job;
using bu::e2e::JobResult;

struct StartCase {
    const char* name;
    // TOML lines of [attributes] over the base job; "-Key" drops a key of it.
    std::string attributes;
    std::vector<std::string> messages;  // from "QLN" on, 19015 left out; {dir}: the job's folder
    int exitCode;
    int status;
    std::string system = "";  // TOML lines of [system]
    std::string schema = bu::e2e::charAndIntegerSchema();
    int instances = 1;
};

std::string testModule(const std::string& initString) {
    std::string lines =
        "AccessModuleName = \"" + bu::e2e::stagePath("lib64/axsmods/libtestaxsmod.so") + "\"\n";
    if (!initString.empty()) lines += "AccessModuleInitStr = \"" + initString + "\"\n";
    return lines;
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

std::vector<std::string> numberedMessages(const JobResult& r) {
    std::vector<std::string> found;
    std::istringstream in(r.publicLog);
    for (std::string line; std::getline(in, line);) {
        auto at = line.find("QLN");
        if (at != std::string::npos && line.compare(at, 8, "QLN19015") != 0) {
            found.push_back(line.substr(at));
        }
    }
    return found;
}

int lastNumberOf(const std::vector<std::string>& lines, int none) {
    if (lines.empty()) return none;
    const std::string& line = lines.back();
    return std::stoi(line.substr(line.find_last_of(' ') + 1));
}

int initiateStatus(const JobResult& r) {
    static const std::string kFailed = "PX_Initiate returned ";
    auto at = r.output.find(kFailed);
    return at == std::string::npos ? 42 : std::stoi(r.output.substr(at + kFailed.size()));
}

const char* kValidFormats =
    "TEXT, FORMATTED, BINARY, FORMATTED4, BINARY4, UNFORMATTED or DELIMITED";

TEST(FileSettings, EachStartGivesItsMessagesExitCodeAndStatus) {
    const std::string formats = kValidFormats;
    const std::vector<StartCase> cases = {
        // clang-format off
        // Keywords are case-blind; "IOBufferSize" is read and has no effect.
        {"formatted4", "Format = \"fOrMaTtEd4\"\nIOBufferSize = 64", {}, 0, 42},
        {"unformatted", "Format = \"unformatted\"", {}, 0, 42},
        {"delimited", "Format = \"delimited\"",
         {"QLN19203 attribute 'TextDelimiter' not given; using '|'"}, 0, 42},
        {"text-with-mark", "Format = \"Text\"\nWriteBOM = \"Y\"", {}, 0, 42,
         "SYSTEM_CharSetId = \"UTF8\"", "[[schema]]\nname = \"code\"\ntype = \"CHAR\"\nlength = 5\n"},
        {"format-missing", "-Format",
         {"QLN19201 required attribute 'Format' is missing"}, 12, 48},
        {"format-unknown", "Format = \"CSV\"",
         {"QLN19205 attribute 'Format' has the invalid value 'CSV'; valid: " + formats}, 12, 48},
        // Instance 1 alone tells; every instance stops.
        {"two-instances", "Format = \"CSV\"\nFileName = \"data{instance}.dat\"",
         {"QLN19205 attribute 'Format' has the invalid value 'CSV'; valid: " + formats}, 12, 48,
         "", bu::e2e::charAndIntegerSchema(), 2},
        {"format-too-long", "Format = \"UNFORMATTEDUNFORMATTED\"",
         {"QLN19202 attribute 'Format' has length 22, expected 20"}, 12, 48},
        {"format-multi-valued", "Format = [\"TEXT\", \"BINARY\"]",
         {"QLN19205 attribute 'Format' has the invalid value 'Multi-value'; valid: Single-value"}, 12, 48},
        {"openmode-default", "-OpenMode",
         {"QLN19203 attribute 'OpenMode' not given; using 'Write'"}, 0, 42},
        {"openmode-read", "OpenMode = \"Read\"",
         {"QLN19205 attribute 'OpenMode' has the invalid value 'Read'; valid: Write, WriteAppend"}, 12, 48},
        {"append-to-zip", "OpenMode = \"writeappend\"\nFileName = \"data.zip\"",
         {"QLN19251 attribute 'OpenMode' value 'writeappend' cannot append to a .zip file"}, 12, 48},
        // Only a name that ends in its first ".zip" is refused; appending
        // needs the file to be there.
        {"append-missing-file", "OpenMode = \"WriteAppend\"\nFileName = \"old.zip.zip\"",
         {"QLN19231 file '{dir}/old.zip.zip' does not exist"}, 12, 48},
        // A restart with no checkpoint to go back to writes the file afresh
        // instead of appending (appending needs the file to be there).
        {"restart-without-checkpoint", "",
         {"QLN19011 instance 1 starts in restart mode"}, 0, 42, "SYSTEM_RestartMode = 1"},
        {"missing-directory", "FileName = \"nowhere/data.dat\"",
         {"QLN19231 file 'nowhere/data.dat' does not exist"}, 12, 48},
        {"not-creatable", "FileName = \".\"",
         {"QLN19434 pmOpen failed with access layer status 34: pmUnxDskOpen: File: '{dir}/.' (Is a directory)",
          "QLN19304 opening the file failed"}, 12, 48},
        {"text-with-indicators", "Format = \"text\"\nIndicatorMode = \"Y\"",
         {"QLN19208 attribute 'IndicatorMode' cannot be used with format text"}, 12, 48},
        {"text-in-unknown-charset", "Format = \"TEXT\"",
         {"QLN19465 data cannot be processed with an unsupported character set"}, 12, 48, "SYSTEM_CharSetId = \"KLINGON\""},
        {"validutf8-value", "ValidUTF8 = \"UTF16\"",
         {"QLN19205 attribute 'ValidUTF8' has the invalid value 'UTF16'; valid: UTF8 or UTFX"}, 12, 48},
        {"validutf8-charset", "ValidUTF8 = \"utf8\"",
         {"QLN19244 attribute ValidUTF8 ('utf8') needs SYSTEM_CharSetId to be 'UTF8' or '63'"}, 12, 48},
        {"validutf8-format", "ValidUTF8 = \"UTFX\"",
         {"QLN19208 attribute 'ValidUTF8' cannot be used with format BINARY"}, 12, 48, "SYSTEM_CharSetId = \"UTF8\""},
        {"replacement-length", "ReplacementUTF8Char = \"ab\"",
         {"QLN19202 attribute 'ReplacementUTF8Char' has length 2, expected 1"}, 12, 48},
        {"quoteddata-value", "Format = \"DELIMITED\"\nQuotedData = \"maybe\"",
         {"QLN19205 attribute 'QuotedData' has the invalid value 'maybe'; valid: Y[es], N[o] or O[ptional]"}, 12, 48},
        {"delimiter-twice", "Format = \"DELIMITED\"\nTextDelimiter = \",\"\nTextDelimiterHEX = \"2C\"",
         {"QLN19128 attributes 'TextDelimiter' and 'TextDelimiterHEX' exclude each other; give only one"}, 8, 16},
        {"delimiter-hex-digit", "Format = \"DELIMITED\"\nTextDelimiterHEX = \"0G\"",
         {"QLN19205 attribute 'TextDelimiterHEX' has the invalid value '0G'; valid: hexadecimal digits"}, 12, 48},
        {"escape-of-nulls", "Format = \"DELIMITED\"\nTextDelimiter = \";\"\nEscapeTextDelimiterHEX = \"0000\"",
         {"QLN19205 attribute 'EscapeTextDelimiter' has the invalid value 'x'0000''; valid: those with at least one non-null (non-zero) byte"}, 12, 48},
        {"close-without-open", "Format = \"DELIMITED\"\nTextDelimiter = \";\"\nCloseQuoteMark = \"'\"",
         {"QLN19247 attribute 'CloseQuoteMark' needs attribute 'OpenQuoteMark'"}, 12, 48},
        // The defaults of delimited data, the close mark being the open one.
        {"quote-escape-of-nulls", "Format = \"DELIMITED\"\nQuotedData = \"Y\"\nEscapeQuoteDelimiterHEX = \"00\"",
         {"QLN19203 attribute 'TextDelimiter' not given; using '|'",
          "QLN19203 attribute 'OpenQuoteMark' not given; using '\"'",
          "QLN19203 attribute 'CloseQuoteMark' not given; using '\"'",
          "QLN19205 attribute 'EscapeQuoteDelimiter' has the invalid value 'x'00''; valid: those with at least one non-null (non-zero) byte"}, 12, 48},
        {"trim-on-consumer", "Format = \"DELIMITED\"\nTextDelimiter = \";\"\nTrimColumns = \"Both\"",
         {"QLN19230 attribute 'TrimColumns' is not accepted by a consumer"}, 8, 16},
        {"record-escape-of-nulls", "Format = \"DELIMITED\"\nTextDelimiter = \";\"\nEscapeRecordDelimiterHEX = \"00\"",
         {"QLN19205 attribute 'EscapeRecordDelimiter' has the invalid value 'x'00''; valid: those with at least one non-null (non-zero) byte"}, 8, 16},
        {"general-case-value", "UseGeneralUDDIcase = \"sometimes\"",
         {"QLN19205 attribute 'UseGeneralUDDIcase' has the invalid value 'sometimes'; valid: Y[es] or N[o]"}, 12, 48},
        // Every condition of the byte-order mark is told at once; the format
        // is named from the mark's own list, in which BINARY is FORMATTED2.
        {"bom-binary-ascii", "WriteBOM = \"Yes\"",
         {"QLN19249 attribute 'WriteBOM' is not valid with character set 'ASCII'",
          "QLN19208 attribute 'WriteBOM' cannot be used with format FORMATTED2"}, 12, 48},
        // UNFORMATTED lies beyond that list: its own name is shown.
        {"bom-unformatted", "WriteBOM = \"Y\"\nFormat = \"Unformatted\"",
         {"QLN19208 attribute 'WriteBOM' cannot be used with format Unformatted"}, 12, 48, "SYSTEM_CharSetId = \"UTF8\""},
        {"buffer-size-text", "IOBufferSize = \"big\"",
         {"QLN19202 attribute 'IOBufferSize' has length 3, expected 4"}, 12, 48},
        {"excess-columns-value", "AcceptExcessColumns = \"optional\"",
         {"QLN19205 attribute 'AcceptExcessColumns' has the invalid value 'optional'; valid: Y[es], N[o] or YesW[ithoutLog]"}, 12, 48},
        // The first of the truncation names given wins; the others aren't read.
        {"truncation-first-wins", "TruncateColumnData = \"YesW\"\nTruncateLongCols = \"bad\"", {}, 0, 42},
        {"truncation-fallback", "TruncateLongCols = \"bad\"",
         {"QLN19205 attribute 'TruncateLongCols' has the invalid value 'bad'; valid: Y[es], N[o] or YesW[ithoutLog]"}, 12, 48},
        {"verbosity-value", "RecordErrorVerbosity = \"LOUD\"",
         {"QLN19205 attribute 'RecordErrorVerbosity' has the invalid value 'LOUD'; valid: Off, Low, Med or High"}, 12, 48},
        // An Access Module that knows no attribute of those it is told runs.
        {"module", testModule("fail=13:1:33"), {}, 0, 42},
        {"module-missing", "AccessModuleName = \"/nowhere/libnothing.so\"",
         {"QLN19434 pmAttach failed with access layer status 34: !ERROR! dlopen failed: /nowhere/libnothing.so: cannot open shared object file: No such file or directory",
          "QLN19302 attaching the access layer failed"}, 12, 48},
        {"module-init-string", testModule("bogus=1"),
         {"QLN19422 pmAttach failed with access layer status 22: Access Module Init string invalid command option",
          "QLN19302 attaching the access layer failed"}, 12, 48},
        {"module-refuses-attribute", testModule("fail=13:2:40"),
         {"QLN19440 pmAPutAttr failed with access layer status 40: Invalid attribute value",
          "QLN19303 passing an attribute to the access module failed"}, 12, 48},
        {"module-refuses-open", testModule("fail=2:1:15"),
         {"QLN19415 pmOpen failed with access layer status 15: Access Module does not support this block size",
          "QLN19304 opening the file failed"}, 12, 48},
        // clang-format on
    };
    for (const StartCase& c : cases) {
        SCOPED_TRACE(c.name);
        Job job;
        job.name = std::string("file-settings-") + c.name;
        job.attributes = attributesOf(c.attributes);
        job.schema = c.schema;
        job.instances = c.instances;
        job.source = "kind = \"generate\"\nrows = 2\nseed = 7\n";
        if (!c.system.empty()) job.tables = std::string("[system]\n") + c.system + "\n";
        JobResult r = bu::e2e::runJob(job);
        const auto dir = std::filesystem::path(BU_BINARY_DIR) / "e2e-jobs" / job.name;
        std::vector<std::string> expected = c.messages;
        for (std::string& line : expected) {
            if (auto at = line.find("{dir}"); at != std::string::npos) line.replace(at, 5, dir);
        }
        EXPECT_EQ(numberedMessages(r), expected) << r.publicLog;
        EXPECT_EQ(lastNumberOf(r.messages(19015), 0), c.exitCode) << r.publicLog;
        EXPECT_EQ(initiateStatus(r), c.status) << r.output;
        EXPECT_EQ(std::filesystem::exists(dir / "data.dat"), c.status == 42);
    }
}

}  // namespace
