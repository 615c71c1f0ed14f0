#include "job/instance_files.h"

#include <algorithm>
#include <string_view>

#include "job/attribute_values.h"

namespace buhost {
namespace {

constexpr std::string_view kPlaceholder = "{instance}";

std::string_view textOf(const AttributeValue& value) {
    return {reinterpret_cast<const char*>(value.bytes.data()),
            static_cast<size_t>(std::max(value.length, 0))};
}

bool hasPlaceholder(const AttributeValue& value) {
    return textOf(value).find(kPlaceholder) != std::string_view::npos;
}

// A 4-byte number can't hold the placeholder, so only texts change.
AttributeValue withInstance(const AttributeValue& value, int instance) {
    std::string text(textOf(value));
    const std::string number = std::to_string(instance);
    for (size_t at = text.find(kPlaceholder); at != std::string::npos;
         at = text.find(kPlaceholder, at + number.size())) {
        text.replace(at, kPlaceholder.size(), number);
    }
    AttributeValue changed = textAttribute(text);
    changed.multiValued = value.multiValued;
    return changed;
}

}  // namespace

std::map<std::string, AttributeValue> attributesOfInstance(
    const std::map<std::string, AttributeValue>& attributes, int instance) {
    std::map<std::string, AttributeValue> own = attributes;
    for (auto& [name, value] : own) {
        if (hasPlaceholder(value)) value = withInstance(value, instance);
    }
    return own;
}

void refuseSharedOutputFile(const JobDefinition& job, int instances) {
    if (instances < 2) return;
    auto file = job.attributes.find("FileName");
    if (file == job.attributes.end() || hasPlaceholder(file->second)) return;
    auto module = job.attributes.find("AccessModuleName");
    if (module != job.attributes.end() && module->second.length > 0) return;
    const std::string name(textOf(file->second));
    throw JobError("all " + std::to_string(instances) + " instances would write FileName '" + name +
                   "'; put {instance} in the name to give each its own file");
}

}  // namespace buhost
