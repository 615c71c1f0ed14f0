// The job file: [job], [operator], [attributes], [[schema]], [source].
// Unknown keys are refused so that a mistyped key never passes unnoticed.
#include "job/job_file.h"

#include <toml++/toml.h>

#include <algorithm>
#include <limits>

#include "job/attribute_values.h"
#include "job/fault_settings.h"
#include "job/instance_files.h"
#include "job/path_resolver.h"
#include "job/toml_fields.h"

namespace buhost {
namespace {

ColumnTypeInfo columnType(const toml::table& col, const std::string& where) {
    const toml::node* node = col.get("type");
    if (node == nullptr) failJob("missing key '" + where + ".type'");
    if (node->is_string()) {
        auto t = columnTypeByName(node->as_string()->get());
        if (!t)
            failJob("unknown column type '" + std::string(node->as_string()->get()) + "' in " +
                    where);
        return *t;
    }
    if (node->is_integer()) {
        auto t = columnTypeByCode(static_cast<int32_t>(node->as_integer()->get()));
        if (!t)
            failJob("unknown column type code " + std::to_string(node->as_integer()->get()) +
                    " in " + where);
        return *t;
    }
    failJob("'" + where + ".type' must be a type name or a type code");
}

ColumnDefinition readColumn(const toml::table& col, size_t index) {
    std::string where = "schema[" + std::to_string(index + 1) + "]";
    refuseUnknownKeys(col, where,
                      {"name", "type", "length", "precision", "scale", "nullable", "input_format",
                       "output_format"});
    ColumnDefinition c;
    c.name = getString(col, where, "name", nullptr);
    if (c.name.empty()) failJob("'" + where + ".name' is empty");
    c.type = columnType(col, where);
    c.precision = static_cast<int16_t>(getInt(col, where, "precision", 0, 0, 38));
    c.scale = static_cast<int16_t>(getInt(col, where, "scale", 0, 0, 38));
    if (c.type.kind == ValueKind::Decimal && c.precision < 1)
        failJob("'" + where + ".precision' is required for DECIMAL");
    if (c.scale > c.precision && c.type.kind == ValueKind::Decimal)
        failJob("'" + where + ".scale' is larger than its precision");
    c.nullable = getBool(col, where, "nullable", false);
    static const std::string empty;
    c.inputFormat = getString(col, where, "input_format", &empty);
    c.outputFormat = getString(col, where, "output_format", &empty);
    if (c.inputFormat.size() >= 256 || c.outputFormat.size() >= 256)
        failJob("'" + where + "' date/time pictures are limited to 255 bytes");

    uint32_t natural = c.type.naturalLength;
    if (c.type.kind == ValueKind::Decimal) {
        natural = decimalWidth(c.precision);
    }
    int64_t maxLength = c.type.family == RowFamily::VarPrefix2   ? 65535
                        : c.type.family == RowFamily::VarPrefix1 ? 255
                                                                 : 64000;
    if (c.type.family == RowFamily::InlineLob8) maxLength = 64000;
    int64_t length = getInt(col, where, "length", natural, 0, maxLength);
    if (length == 0)
        failJob("missing key '" + where + ".length' for type " + std::string(c.type.name));
    if (natural != 0 && c.type.family == RowFamily::Fixed && length != natural)
        failJob("'" + where + ".length' of " + std::string(c.type.name) + " must be " +
                std::to_string(natural));
    c.length = static_cast<uint32_t>(length);
    return c;
}

void readSchema(const toml::table& root, JobDefinition& job) {
    const toml::node* node = root.get("schema");
    if (node == nullptr) failJob("missing [[schema]]: the job needs at least one column");
    if (!node->is_array_of_tables()) failJob("'schema' must be a list of [[schema]] tables");
    const auto& arr = *node->as_array();
    if (arr.empty()) failJob("missing [[schema]]: the job needs at least one column");
    for (size_t i = 0; i < arr.size(); ++i)
        job.schema.push_back(readColumn(*arr.get(i)->as_table(), i));
    uint64_t total = 0;
    for (const auto& c : job.schema) total += c.length + prefixSize(c.type.family);
    if (total + job.schema.size() / 8 + 1 > 1024u * 1024u)
        failJob("the schema's largest row exceeds 1 MiB");
}

void readSource(const toml::table& root, const PathResolver& paths, JobDefinition& job) {
    const toml::table& src = requireTable(root, "source");
    std::string kind = getString(src, "source", "kind", nullptr);
    if (kind == "generate") {
        refuseUnknownKeys(src, "source", {"kind", "rows", "seed", "null_rate"});
        job.source.kind = SourceKind::Generate;
        job.source.rowCount = static_cast<uint64_t>(
            getInt(src, "source", "rows", -1, 0, std::numeric_limits<int64_t>::max()));
        if (src.get("rows") == nullptr) failJob("missing key 'source.rows'");
        job.source.seed = static_cast<uint64_t>(
            getInt(src, "source", "seed", 1, 0, std::numeric_limits<int64_t>::max()));
        if (const toml::node* n = src.get("null_rate")) {
            if (!n->is_number()) failJob("'source.null_rate' must be a number from 0 to 1");
            double r = n->is_floating_point() ? n->as_floating_point()->get()
                                              : static_cast<double>(n->as_integer()->get());
            if (!(r >= 0.0 && r <= 1.0)) failJob("'source.null_rate' must be from 0 to 1");
            job.source.nullRate = r;
        }
    } else if (kind == "sqlite") {
        refuseUnknownKeys(src, "source", {"kind", "database", "query"});
        job.source.kind = SourceKind::Sqlite;
        job.source.database = paths.resolveExisting(getString(src, "source", "database", nullptr));
        job.source.query = getString(src, "source", "query", nullptr);
        if (!pathExists(job.source.database)) failJob("database not found: " + job.source.database);
    } else if (kind == "rows") {
        refuseUnknownKeys(src, "source", {"kind", "file", "row_memory"});
        job.source.kind = SourceKind::RowsFile;
        const std::string reused = "reused";
        const std::string memory = getString(src, "source", "row_memory", &reused);
        if (memory != "reused" && memory != "mapped")
            failJob("'source.row_memory' must be \"reused\" or \"mapped\", not \"" + memory + "\"");
        job.source.mappedRows = memory == "mapped";
        job.source.rowsFile = paths.resolveExisting(getString(src, "source", "file", nullptr));
        if (!pathExists(job.source.rowsFile))
            failJob("rows file not found: " + job.source.rowsFile);
    } else {
        failJob("'source.kind' must be \"generate\", \"sqlite\" or \"rows\", not \"" + kind + "\"");
    }
}

void readJobTable(const toml::table& root, const PathResolver& paths, JobDefinition& job) {
    const toml::table& t = requireTable(root, "job");
    refuseUnknownKeys(t, "job",
                      {"name", "instances", "checkpoint_rows", "checkpoint_dir", "log_dir",
                       "buffer_mode", "buffer_size", "buffer_trailer_size", "buffer_indicators",
                       "operator_name", "job_id", "charset", "user_id"});
    job.name = getString(t, "job", "name", nullptr);
    if (job.name.empty() || job.name.find('/') != std::string::npos)
        failJob("'job.name' must be a non-empty text without '/'");
    job.jobId = getString(t, "job", "job_id", &job.name);
    job.operatorName = getString(t, "job", "operator_name", &job.operatorName);
    job.charset = getString(t, "job", "charset", &job.charset);
    if (job.charset.size() > 30) failJob("'job.charset' is limited to 30 characters");
    job.userId = getString(t, "job", "user_id", &job.userId);
    job.instances = static_cast<int>(getInt(t, "job", "instances", 1, 1, 64));
    job.checkpointRows = static_cast<uint64_t>(
        getInt(t, "job", "checkpoint_rows", 0, 0, std::numeric_limits<int32_t>::max()));
    job.logDir = paths.resolveExisting(getString(t, "job", "log_dir", nullptr));
    if (!isDirectory(job.logDir)) failJob("log directory not found: " + job.logDir);
    job.checkpointDir = t.get("checkpoint_dir") == nullptr
                            ? job.logDir
                            : paths.resolveExisting(getString(t, "job", "checkpoint_dir", nullptr));
    if (!isDirectory(job.checkpointDir))
        failJob("checkpoint directory not found: " + job.checkpointDir);
    job.bufferMode = getBool(t, "job", "buffer_mode", false);
    job.bufferSize = static_cast<uint32_t>(getInt(t, "job", "buffer_size", 1024000, 1, 1 << 26));
    job.bufferTrailerSize =
        static_cast<uint32_t>(getInt(t, "job", "buffer_trailer_size", 0, 0, 4096));
    job.bufferIndicators = getBool(t, "job", "buffer_indicators", true);
}

void readAttributes(const toml::table& root, JobDefinition& job) {
    const toml::node* node = root.get("attributes");
    if (node == nullptr) return;
    if (!node->is_table()) failJob("'attributes' must be a table");
    for (const auto& [key, value] : *node->as_table()) {
        std::string name(key.str());
        if (name.rfind("SYSTEM_", 0) == 0)
            failJob("'attributes." + name + "' is supplied by the host and cannot be set");
        job.attributes[name] = attributeFromNode("attributes." + name, value);
    }
}

// A relative text attribute that names a path, or nothing.
AttributeValue* relativePath(JobDefinition& job, const char* name) {
    auto it = job.attributes.find(name);
    if (it == job.attributes.end() || it->second.multiValued || it->second.length <= 0)
        return nullptr;
    const AttributeValue& value = it->second;
    if (value.bytes.front() == '/' ||
        std::find(value.bytes.begin(), value.bytes.begin() + value.length, 0) !=
            value.bytes.begin() + value.length)
        return nullptr;
    return &it->second;
}

std::string textOf(const AttributeValue& value) {
    return std::string(value.bytes.begin(), value.bytes.begin() + value.length);
}

// The operator loads its modules and opens its file by the names as given,
// from wherever the host runs. So that a job runs from any folder, a
// relative module name ("OUTMODname", "AccessModuleName") of a file beside
// the job file or in the stage, and a relative "FileName" whose folder is
// there, are handed over as absolute paths, like the job's own paths; any
// other name stays as it is (for the loader's own search, or the folder the
// host runs in).
void resolveNamesTheOperatorOpens(const PathResolver& paths, JobDefinition& job) {
    for (const char* module : {"OUTMODname", "AccessModuleName"}) {
        AttributeValue* value = relativePath(job, module);
        if (value == nullptr) continue;
        std::string absolute = paths.findAbsolute(textOf(*value));
        if (!absolute.empty()) *value = textAttribute(absolute);
    }
    if (AttributeValue* file = relativePath(job, "FileName")) {
        const std::string name = textOf(*file);
        std::string folder = paths.findAbsolute(folderOf(name));
        if (!folder.empty() && folder.back() == '/') folder.pop_back();
        if (!folder.empty() && isDirectory(folder))
            *file = textAttribute(folder + "/" + name.substr(name.find_last_of('/') + 1));
    }
}

}  // namespace

JobDefinition loadJobFile(const std::string& path, const std::string& stageDir) {
    if (!pathExists(path)) failJob("job file not found: " + path);
    toml::table root;
    try {
        root = toml::parse_file(path);
    } catch (const toml::parse_error& e) {
        const auto& where = e.source().begin;
        failJob("line " + std::to_string(where.line) + ", column " + std::to_string(where.column) +
                ": " + std::string(e.description()));
    }
    refuseUnknownKeys(root, "",
                      {"job", "operator", "attributes", "schema", "source", "system", "faults"});
    PathResolver paths(folderOf(path), stageDir);
    JobDefinition job;
    job.jobFile = path;
    readJobTable(root, paths, job);

    static const std::string defaultModule = "lib64/libbuoutop.so";
    std::string module = defaultModule;
    if (const toml::node* op = root.get("operator")) {
        if (!op->is_table()) failJob("'operator' must be a table");
        refuseUnknownKeys(*op->as_table(), "operator", {"module"});
        module = getString(*op->as_table(), "operator", "module", &defaultModule);
    }
    job.operatorModule = paths.resolveExisting(module);
    if (!pathExists(job.operatorModule)) failJob("operator not found: " + job.operatorModule);

    readAttributes(root, job);
    resolveNamesTheOperatorOpens(paths, job);
    readSchema(root, job);
    readSource(root, paths, job);
    readFaultSettings(root, job);
    refuseSharedOutputFile(job, job.instances);
    return job;
}

}  // namespace buhost
