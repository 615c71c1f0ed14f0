// Reading single fields of a job file: each fault is a JobError whose text
// names the key ("table.key") and what was expected.
#pragma once

#include <toml++/toml.h>

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

#include "job/job_definition.h"

namespace buhost {

[[noreturn]] void failJob(const std::string& what);

// A key of `table` that is not in `known` is an error, so a mistyped key
// never passes unnoticed.
void refuseUnknownKeys(const toml::table& table, const std::string& where,
                       std::initializer_list<std::string_view> known);

const toml::table& requireTable(const toml::table& root, const char* name);

// A missing key gives the fallback, or an error when there is none.
std::string getString(const toml::table& t, const std::string& where, const char* key,
                      const std::string* fallback);
int64_t getInt(const toml::table& t, const std::string& where, const char* key, int64_t fallback,
               int64_t lo, int64_t hi);
bool getBool(const toml::table& t, const std::string& where, const char* key, bool fallback);

// Texts are texts; integers are exact 4-byte numbers; true/false are "Y"/"N";
// a list is a multi-valued attribute. `where` is the key as errors name it.
AttributeValue attributeFromNode(const std::string& where, const toml::node& node);

}  // namespace buhost
