#pragma once

#include <ctime>
#include <string>

namespace marrowkit {

struct CalendarDate {
    int year;
    int month;  // 1 to 12
    int day;    // 1 to 31
};

/// This moment in local time, taken apart.
std::tm LocalNow();

/// Today in local time, or the day that SetToday chose.
CalendarDate Today();
/// For tests: this day is today until ResetToday().
void SetToday(const CalendarDate& date);
void ResetToday();

/// The format "dddd dd mmmm yyyy" ("Sunday 15 November 2026") with the day and month names of the user's
/// locale; the English ones where code page 1252, in which such texts are written, lacks their letters.
std::string LongDateText(const CalendarDate& date);
/// The same with the names of a given locale; an unknown one gives English.
std::string LongDateText(const CalendarDate& date, const std::string& localeName);

}  // namespace marrowkit
