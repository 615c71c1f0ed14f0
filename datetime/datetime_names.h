// datetime_names.h - the fixed English names of weekdays, months and the
// meridiem. No locale is ever consulted.
#pragma once

#include <array>
#include <string_view>

namespace bu::datetime {

inline constexpr std::array<std::string_view, 7> kWeekdayNames = {
    "Sunday", "Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday"};
inline constexpr std::array<std::string_view, 7> kWeekdayShortNames = {"Sun", "Mon", "Tue", "Wed",
                                                                       "Thu", "Fri", "Sat"};
inline constexpr std::array<std::string_view, 12> kMonthNames = {
    "January", "February", "March",     "April",   "May",      "June",
    "July",    "August",   "September", "October", "November", "December"};
inline constexpr std::array<std::string_view, 12> kMonthShortNames = {
    "Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
inline constexpr std::string_view kAnteMeridiem = "AM";
inline constexpr std::string_view kPostMeridiem = "PM";

static_assert(kWeekdayShortNames[4] == kWeekdayNames[4].substr(0, 3));
static_assert(kMonthShortNames[8] == kMonthNames[8].substr(0, 3));

}  // namespace bu::datetime
