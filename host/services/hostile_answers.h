// How the host answers attribute reads. Faithfully by default; a job's
// [faults] may make some or all answers hostile: one that a careless host
// could give through the boundary (a null value with a length, a negative or
// huge length, "Not Found", "Conflict", a value one byte short). An operator
// must refuse each with its message and exit code, never crash on it.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "job/answer_kinds.h"
#include "job/job_definition.h"

namespace buhost {

// One choice: the kind of answer and a number that varies it (which
// negative or huge length). Detail 0 gives -1 and INT32_MAX.
struct AnswerChoice {
    AnswerKind kind = AnswerKind::Faithful;
    uint32_t detail = 0;
};

// Gives the choice for the next read.
using AnswerChooser = std::function<AnswerChoice()>;

// Choices from a seed: about `percent` in a hundred answers are hostile.
AnswerChooser seededAnswers(uint64_t seed, uint32_t percent);

class AttributeAnswers {
  public:
    // Every read not fixed by name is answered as `choose` says.
    void chooseWith(AnswerChooser choose) { choose_ = std::move(choose); }
    // Reads of `name` are always answered this way.
    void fix(const std::string& name, AnswerKind kind) { fixed_[name] = kind; }

    // Answers a read of `name`; `found` is the attribute, or null when the
    // host has none of that name.
    int32_t answer(const char* name, const AttributeValue* found, void** value, int32_t* length);

  private:
    int32_t answerAs(AnswerChoice choice, const AttributeValue* found, void** value,
                     int32_t* length);

    AnswerChooser choose_;
    std::map<std::string, AnswerKind, std::less<>> fixed_;
    // Shortened values stay valid for the job, as every attribute value does.
    std::deque<std::vector<uint8_t>> shortened_;
};

}  // namespace buhost
