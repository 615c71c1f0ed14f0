// The job file: [job], [operator], [attributes], [[schema]], [source].
// Unknown keys are refused so that a mistyped key never passes unnoticed.
#include "job/job_file.h"

#include <toml++/toml.h>
#include <cstring>
#include <initializer_list>
#include <limits>
#include <string_view>

#include "job/attribute_values.h"
#include "job/path_resolver.h"

namespace buhost {
namespace {

[[noreturn]] void fail(const std::string& what) {
    throw JobError(what);
}

void refuseUnknownKeys(const toml::table& table, const std::string& where,
                       std::initializer_list<std::string_view> known) {
    for (const auto& [key, value] : table) {
        bool found = false;
        for (auto k : known) found = found || key.str() == k;
        if (!found)
            fail("unknown key '" + (where.empty() ? "" : where + ".") + std::string(key.str()) +
                 "'");
    }
}

const toml::table& requireTable(const toml::table& root, const char* name) {
    const toml::node* node = root.get(name);
    if (node == nullptr) fail(std::string("missing table [") + name + "]");
    if (!node->is_table()) fail(std::string("'") + name + "' must be a table");
    return *node->as_table();
}

std::string getString(const toml::table& t, const std::string& where, const char* key,
                      const std::string* fallback) {
    const toml::node* node = t.get(key);
    if (node == nullptr) {
        if (fallback != nullptr) return *fallback;
        fail("missing key '" + where + "." + key + "'");
    }
    if (!node->is_string()) fail("'" + where + "." + key + "' must be a text");
    return std::string(node->as_string()->get());
}

int64_t getInt(const toml::table& t, const std::string& where, const char* key, int64_t fallback,
               int64_t lo, int64_t hi) {
    const toml::node* node = t.get(key);
    if (node == nullptr) return fallback;
    if (!node->is_integer())
        fail("'" + where + "." + key + "' must be an integer from " + std::to_string(lo) + " to " +
             std::to_string(hi));
    int64_t v = node->as_integer()->get();
    if (v < lo || v > hi)
        fail("'" + where + "." + key + "' must be from " + std::to_string(lo) + " to " +
             std::to_string(hi) + ", not " + std::to_string(v));
    return v;
}

bool getBool(const toml::table& t, const std::string& where, const char* key, bool fallback) {
    const toml::node* node = t.get(key);
    if (node == nullptr) return fallback;
    if (!node->is_boolean()) fail("'" + where + "." + key + "' must be true or false");
    return node->as_boolean()->get();
}

// Texts are texts; integers are exact 4-byte numbers; true/false are "Y"/"N";
// an array is a multi-valued attribute.
AttributeValue attributeFromNode(const std::string& name, const toml::node& node) {
    if (node.is_string()) return textAttribute(node.as_string()->get());
    if (node.is_boolean()) return textAttribute(node.as_boolean()->get() ? "Y" : "N");
    if (node.is_integer()) {
        int64_t n = node.as_integer()->get();
        if (n < std::numeric_limits<int32_t>::min() || n > std::numeric_limits<int32_t>::max())
            fail("'attributes." + name + "' does not fit a 32-bit number");
        return numberAttribute(static_cast<int32_t>(n));
    }
    if (node.is_array()) {
        const auto& arr = *node.as_array();
        if (arr.empty()) fail("'attributes." + name + "' is an empty list");
        AttributeValue v = attributeFromNode(name, *arr.get(0));
        v.multiValued = arr.size() > 1;
        return v;
    }
    fail("'attributes." + name + "' must be a text, an integer, true/false or a list");
}

ColumnTypeInfo columnType(const toml::table& col, const std::string& where) {
    const toml::node* node = col.get("type");
    if (node == nullptr) fail("missing key '" + where + ".type'");
    if (node->is_string()) {
        auto t = columnTypeByName(node->as_string()->get());
        if (!t)
            fail("unknown column type '" + std::string(node->as_string()->get()) + "' in " + where);
        return *t;
    }
    if (node->is_integer()) {
        auto t = columnTypeByCode(static_cast<int32_t>(node->as_integer()->get()));
        if (!t)
            fail("unknown column type code " + std::to_string(node->as_integer()->get()) + " in " +
                 where);
        return *t;
    }
    fail("'" + where + ".type' must be a type name or a type code");
}

ColumnDefinition readColumn(const toml::table& col, size_t index) {
    std::string where = "schema[" + std::to_string(index + 1) + "]";
    refuseUnknownKeys(col, where,
                      {"name", "type", "length", "precision", "scale", "nullable", "input_format",
                       "output_format"});
    ColumnDefinition c;
    c.name = getString(col, where, "name", nullptr);
    if (c.name.empty()) fail("'" + where + ".name' is empty");
    c.type = columnType(col, where);
    c.precision = static_cast<int16_t>(getInt(col, where, "precision", 0, 0, 38));
    c.scale = static_cast<int16_t>(getInt(col, where, "scale", 0, 0, 38));
    if (c.type.kind == ValueKind::Decimal && c.precision < 1)
        fail("'" + where + ".precision' is required for DECIMAL");
    if (c.scale > c.precision && c.type.kind == ValueKind::Decimal)
        fail("'" + where + ".scale' is larger than its precision");
    c.nullable = getBool(col, where, "nullable", false);
    static const std::string empty;
    c.inputFormat = getString(col, where, "input_format", &empty);
    c.outputFormat = getString(col, where, "output_format", &empty);
    if (c.inputFormat.size() >= 256 || c.outputFormat.size() >= 256)
        fail("'" + where + "' date/time pictures are limited to 255 bytes");

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
        fail("missing key '" + where + ".length' for type " + std::string(c.type.name));
    if (natural != 0 && c.type.family == RowFamily::Fixed && length != natural)
        fail("'" + where + ".length' of " + std::string(c.type.name) + " must be " +
             std::to_string(natural));
    c.length = static_cast<uint32_t>(length);
    return c;
}

void readSchema(const toml::table& root, JobDefinition& job) {
    const toml::node* node = root.get("schema");
    if (node == nullptr) fail("missing [[schema]]: the job needs at least one column");
    if (!node->is_array_of_tables()) fail("'schema' must be a list of [[schema]] tables");
    const auto& arr = *node->as_array();
    if (arr.empty()) fail("missing [[schema]]: the job needs at least one column");
    for (size_t i = 0; i < arr.size(); ++i)
        job.schema.push_back(readColumn(*arr.get(i)->as_table(), i));
    uint64_t total = 0;
    for (const auto& c : job.schema) total += c.length + prefixSize(c.type.family);
    if (total + job.schema.size() / 8 + 1 > 1024u * 1024u)
        fail("the schema's largest row exceeds 1 MiB");
}

void readSource(const toml::table& root, const PathResolver& paths, JobDefinition& job) {
    const toml::table& src = requireTable(root, "source");
    std::string kind = getString(src, "source", "kind", nullptr);
    if (kind == "generate") {
        refuseUnknownKeys(src, "source", {"kind", "rows", "seed", "null_rate"});
        job.source.kind = SourceKind::Generate;
        job.source.rowCount = static_cast<uint64_t>(
            getInt(src, "source", "rows", -1, 0, std::numeric_limits<int64_t>::max()));
        if (src.get("rows") == nullptr) fail("missing key 'source.rows'");
        job.source.seed = static_cast<uint64_t>(
            getInt(src, "source", "seed", 1, 0, std::numeric_limits<int64_t>::max()));
        if (const toml::node* n = src.get("null_rate")) {
            if (!n->is_number()) fail("'source.null_rate' must be a number from 0 to 1");
            double r = n->is_floating_point() ? n->as_floating_point()->get()
                                              : static_cast<double>(n->as_integer()->get());
            if (!(r >= 0.0 && r <= 1.0)) fail("'source.null_rate' must be from 0 to 1");
            job.source.nullRate = r;
        }
    } else if (kind == "sqlite") {
        refuseUnknownKeys(src, "source", {"kind", "database", "query"});
        job.source.kind = SourceKind::Sqlite;
        job.source.database = paths.resolveExisting(getString(src, "source", "database", nullptr));
        job.source.query = getString(src, "source", "query", nullptr);
        if (!pathExists(job.source.database)) fail("database not found: " + job.source.database);
    } else if (kind == "rows") {
        refuseUnknownKeys(src, "source", {"kind", "file"});
        job.source.kind = SourceKind::RowsFile;
        job.source.rowsFile = paths.resolveExisting(getString(src, "source", "file", nullptr));
        if (!pathExists(job.source.rowsFile)) fail("rows file not found: " + job.source.rowsFile);
    } else {
        fail("'source.kind' must be \"generate\", \"sqlite\" or \"rows\", not \"" + kind + "\"");
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
        fail("'job.name' must be a non-empty text without '/'");
    job.jobId = getString(t, "job", "job_id", &job.name);
    job.operatorName = getString(t, "job", "operator_name", &job.operatorName);
    job.charset = getString(t, "job", "charset", &job.charset);
    if (job.charset.size() > 30) fail("'job.charset' is limited to 30 characters");
    job.userId = getString(t, "job", "user_id", &job.userId);
    job.instances = static_cast<int>(getInt(t, "job", "instances", 1, 1, 64));
    job.checkpointRows = static_cast<uint64_t>(
        getInt(t, "job", "checkpoint_rows", 0, 0, std::numeric_limits<int32_t>::max()));
    job.logDir = paths.resolveExisting(getString(t, "job", "log_dir", nullptr));
    if (!isDirectory(job.logDir)) fail("log directory not found: " + job.logDir);
    job.checkpointDir = t.get("checkpoint_dir") == nullptr
                            ? job.logDir
                            : paths.resolveExisting(getString(t, "job", "checkpoint_dir", nullptr));
    if (!isDirectory(job.checkpointDir))
        fail("checkpoint directory not found: " + job.checkpointDir);
    job.bufferMode = getBool(t, "job", "buffer_mode", false);
    job.bufferSize = static_cast<uint32_t>(getInt(t, "job", "buffer_size", 1024000, 1, 1 << 26));
    job.bufferTrailerSize =
        static_cast<uint32_t>(getInt(t, "job", "buffer_trailer_size", 0, 0, 4096));
    job.bufferIndicators = getBool(t, "job", "buffer_indicators", true);
}

void readAttributes(const toml::table& root, JobDefinition& job) {
    const toml::node* node = root.get("attributes");
    if (node == nullptr) return;
    if (!node->is_table()) fail("'attributes' must be a table");
    for (const auto& [key, value] : *node->as_table()) {
        std::string name(key.str());
        if (name.rfind("SYSTEM_", 0) == 0)
            fail("'attributes." + name + "' is supplied by the host and cannot be set");
        job.attributes[name] = attributeFromNode(name, value);
    }
}

}  // namespace

JobDefinition loadJobFile(const std::string& path, const std::string& stageDir) {
    if (!pathExists(path)) fail("job file not found: " + path);
    toml::table root;
    try {
        root = toml::parse_file(path);
    } catch (const toml::parse_error& e) {
        const auto& where = e.source().begin;
        fail("line " + std::to_string(where.line) + ", column " + std::to_string(where.column) +
             ": " + std::string(e.description()));
    }
    refuseUnknownKeys(root, "", {"job", "operator", "attributes", "schema", "source"});
    PathResolver paths(folderOf(path), stageDir);
    JobDefinition job;
    job.jobFile = path;
    readJobTable(root, paths, job);

    static const std::string defaultModule = "lib64/libbuoutop.so";
    std::string module = defaultModule;
    if (const toml::node* op = root.get("operator")) {
        if (!op->is_table()) fail("'operator' must be a table");
        refuseUnknownKeys(*op->as_table(), "operator", {"module"});
        module = getString(*op->as_table(), "operator", "module", &defaultModule);
    }
    job.operatorModule = paths.resolveExisting(module);
    if (!pathExists(job.operatorModule)) fail("operator not found: " + job.operatorModule);

    readAttributes(root, job);
    readSchema(root, job);
    readSource(root, paths, job);
    return job;
}

}  // namespace buhost
