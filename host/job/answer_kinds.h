// The ways the host can answer an attribute read: faithfully, or as a
// careless host might (services/hostile_answers.h gives each its form).
#pragma once

#include <cstdint>
#include <string_view>

namespace buhost {

enum class AnswerKind : uint8_t {
    Faithful,
    NullValue,
    NegativeLength,
    HugeLength,
    NotFound,
    Conflict,
    OneByteShort,
};
inline constexpr uint32_t kAnswerKinds = 7;

// The kinds by the names a job file gives them ("null_value", ...); false
// for a name that is none of them.
bool answerKindNamed(std::string_view name, AnswerKind* kind);

}  // namespace buhost
