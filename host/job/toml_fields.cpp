// Reading single fields of a job file.
#include "job/toml_fields.h"

#include <limits>

#include "job/attribute_values.h"

namespace buhost {

void failJob(const std::string& what) {
    throw JobError(what);
}

void refuseUnknownKeys(const toml::table& table, const std::string& where,
                       std::initializer_list<std::string_view> known) {
    for (const auto& [key, value] : table) {
        bool found = false;
        for (auto k : known) found = found || key.str() == k;
        if (!found)
            failJob("unknown key '" + (where.empty() ? "" : where + ".") + std::string(key.str()) +
                    "'");
    }
}

const toml::table& requireTable(const toml::table& root, const char* name) {
    const toml::node* node = root.get(name);
    if (node == nullptr) failJob(std::string("missing table [") + name + "]");
    if (!node->is_table()) failJob(std::string("'") + name + "' must be a table");
    return *node->as_table();
}

std::string getString(const toml::table& t, const std::string& where, const char* key,
                      const std::string* fallback) {
    const toml::node* node = t.get(key);
    if (node == nullptr) {
        if (fallback != nullptr) return *fallback;
        failJob("missing key '" + where + "." + key + "'");
    }
    if (!node->is_string()) failJob("'" + where + "." + key + "' must be a text");
    return std::string(node->as_string()->get());
}

int64_t getInt(const toml::table& t, const std::string& where, const char* key, int64_t fallback,
               int64_t lo, int64_t hi) {
    const toml::node* node = t.get(key);
    if (node == nullptr) return fallback;
    if (!node->is_integer())
        failJob("'" + where + "." + key + "' must be an integer from " + std::to_string(lo) +
                " to " + std::to_string(hi));
    int64_t v = node->as_integer()->get();
    if (v < lo || v > hi)
        failJob("'" + where + "." + key + "' must be from " + std::to_string(lo) + " to " +
                std::to_string(hi) + ", not " + std::to_string(v));
    return v;
}

bool getBool(const toml::table& t, const std::string& where, const char* key, bool fallback) {
    const toml::node* node = t.get(key);
    if (node == nullptr) return fallback;
    if (!node->is_boolean()) failJob("'" + where + "." + key + "' must be true or false");
    return node->as_boolean()->get();
}

AttributeValue attributeFromNode(const std::string& where, const toml::node& node) {
    if (node.is_string()) return textAttribute(node.as_string()->get());
    if (node.is_boolean()) return textAttribute(node.as_boolean()->get() ? "Y" : "N");
    if (node.is_integer()) {
        int64_t n = node.as_integer()->get();
        if (n < std::numeric_limits<int32_t>::min() || n > std::numeric_limits<int32_t>::max())
            failJob("'" + where + "' does not fit a 32-bit number");
        return numberAttribute(static_cast<int32_t>(n));
    }
    if (node.is_array()) {
        const auto& arr = *node.as_array();
        if (arr.empty()) failJob("'" + where + "' is an empty list");
        AttributeValue v = attributeFromNode(where, *arr.get(0));
        v.multiValued = arr.size() > 1;
        return v;
    }
    failJob("'" + where + "' must be a text, an integer, true/false or a list");
}

}  // namespace buhost
