#include "services/hostile_answers.h"

#include <algorithm>
#include <climits>

#include "px_boundary.h"
#include "shared/mix64.h"

namespace buhost {
namespace {

// What an absent attribute "has": an empty text.
char emptyValue[1] = {0};

int32_t negativeLength(uint32_t detail, int32_t real) {
    switch (detail % 3) {
        case 0:
            return -1;
        case 1:
            return INT32_MIN;
        default:
            return -1 - real;
    }
}

// Lengths no reader can hold: at least 64 KB more than the value has.
int32_t hugeLength(uint32_t detail, int32_t real) {
    switch (detail % 3) {
        case 0:
            return INT32_MAX;
        case 1:
            return real + 65536;
        default:
            return real + 65536 + static_cast<int32_t>(detail % 65536);
    }
}

}  // namespace

AnswerChooser seededAnswers(uint64_t seed, uint32_t percent) {
    return [seed, percent, count = uint64_t{0}]() mutable {
        const uint64_t x = mix64(seed ^ mix64(count++));
        AnswerChoice c;
        c.detail = static_cast<uint32_t>(x >> 32);
        if (x % 100 < percent) c.kind = static_cast<AnswerKind>(1 + (x >> 8) % (kAnswerKinds - 1));
        return c;
    };
}

int32_t AttributeAnswers::answer(const char* name, const AttributeValue* found, void** value,
                                 int32_t* length) {
    AnswerChoice choice;
    if (auto it = fixed_.find(std::string_view(name)); it != fixed_.end()) {
        choice.kind = it->second;
    } else if (choose_) {
        choice = choose_();
    }
    return answerAs(choice, found, value, length);
}

int32_t AttributeAnswers::answerAs(AnswerChoice c, const AttributeValue* found, void** value,
                                   int32_t* length) {
    uint8_t* bytes = found != nullptr ? const_cast<uint8_t*>(found->bytes.data())
                                      : reinterpret_cast<uint8_t*>(emptyValue);
    const int32_t real = found != nullptr ? found->length : 0;
    switch (c.kind) {
        case AnswerKind::Faithful:
            break;
        case AnswerKind::NotFound:
            return PXSTC_NotFound;
        case AnswerKind::Conflict:
            return PXSTC_Conflict;
        case AnswerKind::NullValue:
            *value = nullptr;
            *length = std::max(real, 1);
            return PXSTC_Success;
        case AnswerKind::NegativeLength:
            *value = bytes;
            *length = negativeLength(c.detail, real);
            return PXSTC_Success;
        case AnswerKind::HugeLength:
            *value = bytes;
            *length = hugeLength(c.detail, real);
            return PXSTC_Success;
        case AnswerKind::OneByteShort: {
            // The shortened value stands in storage of its own size, still
            // ended by a zero byte; one byte short of nothing is -1.
            if (real == 0) {
                *value = bytes;
                *length = -1;
                return PXSTC_Success;
            }
            auto& copy = shortened_.emplace_back(bytes, bytes + real - 1);
            copy.push_back(0);
            *value = copy.data();
            *length = real - 1;
            return PXSTC_Success;
        }
    }
    if (found == nullptr) return PXSTC_NotFound;
    if (found->multiValued) return PXSTC_Conflict;
    *value = bytes;
    *length = real;
    return PXSTC_Success;
}

}  // namespace buhost
