// picture_encoder.cpp - picture elements and their encoded forms.
#include "picture_encoder.h"

#include <array>
#include <cstring>
#include <string_view>

#include "datetime_errors.h"

namespace bu::datetime {

namespace {

// Groups of elements that may each appear once; the number is also the error
// code of a second appearance.
enum Group : int {
    kNoGroup = 0,
    kYearGroup = kDuplicateYear,
    kMonthGroup = kDuplicateMonth,
    kWeekdayGroup = kDuplicateWeekday,
    kDayGroup = kDuplicateDay,
    kHourGroup = kDuplicateHour,
    kMinuteGroup = kDuplicateMinute,
    kSecondGroup = kDuplicateSecond,
    kMeridiemGroup = kDuplicateTimeZone,
    kZoneGroup = kDuplicateZone,
    kGroupCount,
};

struct Element {
    std::string_view picture;
    std::string_view encoded;
    Group group;
};

// Longest first within each group: the first entry that matches wins. The
// hour and the seconds are handled apart, since their encoding depends on
// more than the element itself.
constexpr std::array<Element, 15> kElements = {{
    {"YYYY", "%Y", kYearGroup},
    {"Y4", "%Y", kYearGroup},
    {"YY", "%y", kYearGroup},
    {"MMMM", "%B", kMonthGroup},
    {"M4", "%B", kMonthGroup},
    {"MMM", "%b", kMonthGroup},
    {"M3", "%b", kMonthGroup},
    {"MM", "%m", kMonthGroup},
    {"EEEE", "%A", kWeekdayGroup},
    {"E4", "%A", kWeekdayGroup},
    {"EEE", "%a", kWeekdayGroup},
    {"E3", "%a", kWeekdayGroup},
    {"DD", "%d", kDayGroup},
    {"MI", "%M", kMinuteGroup},
    {"T", "%p", kMeridiemGroup},
}};

constexpr std::string_view kHourPicture = "HH";
constexpr std::string_view kSecondPicture = "SS";
constexpr std::string_view kZonePicture = "Z";
// "SS.S(n)" or "SSDS(n)": the fraction follows the seconds directly.
constexpr std::string_view kFractionPoint = ".S(";
constexpr std::string_view kFractionNamed = "DS(";
constexpr size_t kSecondsWithFraction = 7;

void UpperCaseInPlace(char* text) {
    for (; *text != '\0'; ++text) {
        if (*text >= 'a' && *text <= 'z') *text = static_cast<char>(*text - 'a' + 'A');
    }
}

// Writes to the encoded buffer, always keeping it terminated.
class EncodedWriter {
  public:
    explicit EncodedWriter(char* out) : out_(out) { *out_ = '\0'; }
    void Append(std::string_view text) {
        std::memcpy(out_, text.data(), text.size());
        out_ += text.size();
        *out_ = '\0';
    }

  private:
    char* out_;
};

class PictureEncoder {
  public:
    PictureEncoder(const char* picture, char* encoded)
        : rest_(picture), out_(encoded), twelve_hour_(std::strchr(picture, 'T') != nullptr) {}

    int Run() {
        while (!rest_.empty() && LastErrorCode() == kNoError) Step();
        return LastErrorCode();
    }

  private:
    void Step() {
        // Deliberate readings: "MMMMI" is MMM then MI, "MMMI" is MM then MI,
        // and "DDD" is refused rather than guessed.
        if (rest_.starts_with("MMMMI")) return Emit("%b", kMonthGroup, 3);
        if (rest_.starts_with("MMMI")) return Emit("%m", kMonthGroup, 2);
        if (rest_.starts_with("DDD")) {
            Fail(kAmbiguousInput);
            return;
        }
        for (const Element& element : kElements) {
            if (rest_.starts_with(element.picture)) {
                return Emit(element.encoded, element.group, element.picture.size());
            }
        }
        if (rest_.starts_with(kHourPicture)) {
            return Emit(twelve_hour_ ? "%I" : "%H", kHourGroup, kHourPicture.size());
        }
        if (rest_.starts_with(kSecondPicture)) return EmitSeconds();
        if (rest_.starts_with(kZonePicture)) return Emit("%z", kZoneGroup, kZonePicture.size());
        EmitSeparator();
    }

    void Emit(std::string_view encoded, Group group, size_t consumed) {
        if (!Claim(group)) return;
        out_.Append(encoded);
        rest_.remove_prefix(consumed);
    }

    bool Claim(Group group) {
        if (seen_[group]) {
            Fail(group);
            return false;
        }
        seen_[group] = true;
        return true;
    }

    void EmitSeconds() {
        if (!Claim(kSecondGroup)) return;
        const std::string_view after = rest_.substr(kSecondPicture.size());
        if (!after.starts_with(kFractionPoint) && !after.starts_with(kFractionNamed)) {
            out_.Append("%S");
            rest_.remove_prefix(kSecondPicture.size());
            return;
        }
        const size_t digit_at = kFractionPoint.size();
        if (after.size() <= digit_at + 1 || after[digit_at] < '0' || after[digit_at] > '6' ||
            after[digit_at + 1] != ')') {
            Fail(kUnknownPictureCharacter);
            return;
        }
        out_.Append("%S");
        if (after[digit_at] != '0') {
            const char fraction[] = {'%', 'f', after[digit_at]};
            out_.Append(std::string_view(fraction, sizeof fraction));
        }
        rest_.remove_prefix(kSecondsWithFraction);
    }

    void EmitSeparator() {
        const char c = rest_.front();
        char stored;
        if (c == 'B' || c == ' ') {
            stored = ' ';
        } else if (c == 'D') {
            stored = '.';
        } else if (std::strchr(",-./':", c) != nullptr) {
            stored = c;
        } else {
            Fail(kUnknownPictureCharacter);
            return;
        }
        out_.Append(std::string_view(&stored, 1));
        rest_.remove_prefix(1);
    }

    std::string_view rest_;
    EncodedWriter out_;
    const bool twelve_hour_;
    std::array<bool, kGroupCount> seen_{};
};

}  // namespace

int _parse(char* picture, char* encoded) {
    ClearLastErrorText();
    UpperCaseInPlace(picture);
    if (*picture == '\0') {
        *encoded = '\0';
        return kNoError;
    }
    return PictureEncoder(picture, encoded).Run();
}

}  // namespace bu::datetime
