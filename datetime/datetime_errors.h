// datetime_errors.h - error codes 1 to 29 of the date and time conversion and
// the last-error state they leave behind.
#pragma once

namespace bu::datetime {

enum ErrorCode : int {
    kNoError = 0,
    kDuplicateYear = 1,
    kDuplicateMonth = 2,
    kDuplicateWeekday = 3,
    kDuplicateDay = 4,
    kDuplicateHour = 5,
    kDuplicateMinute = 6,
    kDuplicateSecond = 7,
    kDuplicateTimeZone = 9,
    kDuplicateZone = 10,
    kUnknownPictureCharacter = 11,
    kUnmatchedSeparator = 12,
    kBadWeekdayName = 13,
    kBadMonthName = 14,
    kBadDay = 15,
    kBadHour24 = 16,
    kBadHour12 = 17,
    kBadMinute = 18,
    kBadMonth = 19,
    kBadMeridiem = 20,
    kBadSecond = 21,
    kBadYear4 = 22,
    kBadYear2 = 23,
    kBadTimeZone = 24,
    kUnknownFormatElement = 25,
    kEmptyArgument = 26,
    kAmbiguousInput = 27,
    kDayNotInMonth = 28,
    kWeekdayMismatch = 29,
};

inline constexpr int kLastErrorCode = 29;

// The text of a code, or nullptr for the codes that have none (8, 28, 29).
const char* ErrorText(int code);

// The last error: the code stays set until ClearLastError; the text is
// cleared at the start of each encoding and each conversion.
int LastErrorCode();
const char* LastErrorText();
void ClearLastErrorText();
void ClearLastError();

// Record a failure and return its code; the first form also sets the text.
int Fail(int code);
int FailWithoutText(int code);

}  // namespace bu::datetime
