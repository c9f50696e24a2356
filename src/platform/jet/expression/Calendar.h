#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/jet/format/Value.h"

namespace marrowkit::expression {

/// A moment taken apart, in the Gregorian calendar; years run from 100 to 9999.
struct CalendarTime {
    int year = 1899;
    int month = 12;  ///< 1..12
    int day = 30;    ///< 1..31
    int hour = 0;
    int minute = 0;
    int second = 0;
};

/// Days from 1899-12-30 to a day. Months and days outside of their range carry over, as DateSerial does.
std::int64_t DayNumber(std::int64_t year, std::int64_t month, std::int64_t day);
int DaysInMonth(int year, int month);
/// 1 = Sunday ... 7 = Saturday.
int WeekdayOf(std::int64_t dayNumber);

/// Rounds to the second. Negative dates count their time of day forward (see jet::DateTime).
CalendarTime TakeApart(jet::DateTime moment);
jet::DateTime PutTogether(std::int64_t dayNumber, double dayFraction);
jet::DateTime PutTogether(const CalendarTime& time);
/// The moment as a plain count of days, in which a time of day always adds; and back.
double ToContinuousDays(jet::DateTime moment);
jet::DateTime FromContinuousDays(double days);

/// "1/15/1999", "1999-01-15 13:30:00", "15 Jan 99 1:30 pm", "13:30". Month first where both orders are
/// possible; years 0..29 are 2000..2029, 30..99 are 1930..1999; a missing year is this year. nullopt for
/// anything else, days that do not exist included.
std::optional<jet::DateTime> ParseDate(std::string_view text);

/// "1/15/1999", "1:30:00 PM" or both; the part that is zero is left out.
std::string DateToText(jet::DateTime moment);

/// The local time to the second.
jet::DateTime CurrentMoment();

/// English names, 1-based.
std::string_view MonthName(int month);
std::string_view WeekdayName(int weekday);

}  // namespace marrowkit::expression
