#include "job/fault_settings.h"

#include <algorithm>
#include <array>
#include <limits>

#include "job/toml_fields.h"

namespace buhost {
namespace {

constexpr std::array<std::string_view, kAnswerKinds> kAnswerKindNames = {
    "faithful",  "null_value", "negative_length", "huge_length",
    "not_found", "conflict",   "one_byte_short"};

bool isHostSystemAttribute(std::string_view name) {
    return std::find(kHostSystemAttributes.begin(), kHostSystemAttributes.end(), name) !=
           kHostSystemAttributes.end();
}

void requireHostSystemAttribute(const std::string& name, const std::string& where) {
    if (!isHostSystemAttribute(name))
        failJob("unknown key '" + where + "': not an attribute the host supplies");
}

void readOmitted(const toml::node& node, JobDefinition& job) {
    if (!node.is_array()) failJob("'system.omit' must be a list of attribute names");
    for (const auto& item : *node.as_array()) {
        if (!item.is_string()) failJob("'system.omit' must be a list of attribute names");
        std::string name(item.as_string()->get());
        requireHostSystemAttribute(name, "system.omit." + name);
        job.systemOmitted.push_back(name);
    }
}

// Any value an attribute can have is allowed, whatever the width the
// operator expects: a width error is one of the things to provoke.
void readSystem(const toml::table& root, JobDefinition& job) {
    const toml::node* node = root.get("system");
    if (node == nullptr) return;
    if (!node->is_table()) failJob("'system' must be a table");
    for (const auto& [key, value] : *node->as_table()) {
        std::string name(key.str());
        if (name == "omit") {
            readOmitted(value, job);
            continue;
        }
        requireHostSystemAttribute(name, "system." + name);
        job.systemOverrides[name] = attributeFromNode("system." + name, value);
    }
    for (const auto& name : job.systemOmitted) {
        if (job.systemOverrides.count(name) != 0)
            failJob("'system." + name + "' is both set and omitted");
    }
}

void readMethodBeforeInitiate(const toml::table& t, FaultDefinition& f) {
    f.methodBeforeInitiate =
        getString(t, "faults", "method_before_initiate", &f.methodBeforeInitiate);
    if (f.methodBeforeInitiate.empty()) return;
    if (std::find(kMethodsBeforeInitiate.begin(), kMethodsBeforeInitiate.end(),
                  f.methodBeforeInitiate) == kMethodsBeforeInitiate.end())
        failJob(
            "'faults.method_before_initiate' must be PX_Execute, PX_Checkpoint, PX_Restart, "
            "PX_Event or PX_Terminate, not \"" +
            f.methodBeforeInitiate + "\"");
}

// The lengthened column must still have a length its prefix can hold.
void checkOverlong(const JobDefinition& job, const FaultDefinition& f) {
    if (f.overlongColumn == 0) return;
    if (f.overlongColumn > job.schema.size())
        failJob("'faults.overlong_column' must name a column from 1 to " +
                std::to_string(job.schema.size()));
    const ColumnDefinition& c = job.schema[f.overlongColumn - 1];
    const uint64_t length = uint64_t{c.length} + f.overlongBytes;
    const uint32_t prefix = prefixSize(c.type.family);
    if (prefix > 0 && prefix < 8 && length >= (uint64_t{1} << (8 * prefix)))
        failJob("'faults.overlong_bytes' makes column '" + c.name + "' longer than its " +
                std::to_string(prefix) + "-byte length can say");
}

void readAttributeAnswers(const toml::table& t, FaultDefinition& f) {
    const std::string faithful = "faithful";
    const std::string answers = getString(t, "faults", "attribute_answers", &faithful);
    if (answers != "faithful" && answers != "fuzz")
        failJob("'faults.attribute_answers' must be \"faithful\" or \"fuzz\", not \"" + answers +
                "\"");
    f.hostileAttributes = answers == "fuzz";
    f.attributeSeed = static_cast<uint64_t>(
        getInt(t, "faults", "attribute_seed", 1, 0, std::numeric_limits<int64_t>::max()));
    f.attributeFaultPercent =
        static_cast<uint32_t>(getInt(t, "faults", "attribute_fault_percent", 20, 1, 100));
}

// [faults.answer]: attribute name = kind of answer, for any attribute name.
void readFixedAnswers(const toml::node& node, FaultDefinition& f) {
    if (!node.is_table()) failJob("'faults.answer' must be a table of attribute = answer");
    for (const auto& [key, value] : *node.as_table()) {
        const std::string where = "faults.answer." + std::string(key.str());
        AnswerKind kind{};
        if (!value.is_string() || !answerKindNamed(value.as_string()->get(), &kind))
            failJob("'" + where +
                    "' must be one of \"faithful\", \"null_value\", \"negative_length\", "
                    "\"huge_length\", \"not_found\", \"conflict\", \"one_byte_short\"");
        f.fixedAnswers[std::string(key.str())] = kind;
    }
}

void readFaults(const toml::table& root, JobDefinition& job) {
    const toml::node* node = root.get("faults");
    if (node == nullptr) return;
    if (!node->is_table()) failJob("'faults' must be a table");
    const toml::table& t = *node->as_table();
    refuseUnknownKeys(t, "faults",
                      {"initiate_twice", "method_before_initiate", "row", "column_count_delta",
                       "overlong_column", "overlong_bytes", "attribute_answers", "attribute_seed",
                       "attribute_fault_percent", "answer"});
    FaultDefinition& f = job.faults;
    f.initiateTwice = getBool(t, "faults", "initiate_twice", false);
    readMethodBeforeInitiate(t, f);
    f.row = static_cast<uint64_t>(
        getInt(t, "faults", "row", 1, 1, std::numeric_limits<int64_t>::max()));
    const auto columns = static_cast<int64_t>(job.schema.size());
    f.columnCountDelta =
        static_cast<int32_t>(getInt(t, "faults", "column_count_delta", 0, -columns, 64));
    f.overlongColumn = static_cast<uint32_t>(getInt(t, "faults", "overlong_column", 0, 0, 65535));
    f.overlongBytes = static_cast<uint32_t>(getInt(t, "faults", "overlong_bytes", 1, 1, 65535));
    checkOverlong(job, f);
    readAttributeAnswers(t, f);
    if (const toml::node* answer = t.get("answer")) readFixedAnswers(*answer, f);
    if (f.changesRows() && job.bufferMode)
        failJob("'faults' row faults change rows of PX_GetRow and need buffer_mode = false");
}

}  // namespace

bool answerKindNamed(std::string_view name, AnswerKind* kind) {
    auto it = std::find(kAnswerKindNames.begin(), kAnswerKindNames.end(), name);
    if (it == kAnswerKindNames.end()) return false;
    *kind = static_cast<AnswerKind>(it - kAnswerKindNames.begin());
    return true;
}

void readFaultSettings(const toml::table& root, JobDefinition& job) {
    readSystem(root, job);
    readFaults(root, job);
}

}  // namespace buhost
