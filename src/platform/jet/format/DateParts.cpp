#include "platform/jet/format/DateParts.h"

#include <cmath>
#include <cstdint>

namespace marrowkit::jet {
namespace {

constexpr std::int64_t kMillisecondsPerDay = 86400000;
constexpr double kDayBeforeYear100 = -657435.0;  // 0099-12-31
constexpr double kDayAfterYear9999 = 2958466.0;  // 10000-01-01

// Days are counted in eras of 400 years (146097 days), each year taken to begin on March 1 so that a leap day
// is the last day of its year. 693899 days lie between 0000-03-01 and 1899-12-30.
constexpr std::int64_t kDaysPerEra = 146097;
constexpr std::int64_t kEpochOffset = 693899;

std::int64_t FloorDivide(std::int64_t value, std::int64_t by) {
    return (value >= 0 ? value : value - by + 1) / by;
}

std::int64_t DayNumber(int year, int month, int day) {
    const std::int64_t y = month <= 2 ? year - 1 : year;
    const std::int64_t era = FloorDivide(y, 400);
    const std::int64_t yearOfEra = y - era * 400;
    const std::int64_t dayOfYear = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
    const std::int64_t dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return era * kDaysPerEra + dayOfEra - kEpochOffset;
}

void SetCalendarDay(std::int64_t dayNumber, DateParts& parts) {
    const std::int64_t days = dayNumber + kEpochOffset;
    const std::int64_t era = FloorDivide(days, kDaysPerEra);
    const std::int64_t dayOfEra = days - era * kDaysPerEra;
    const std::int64_t yearOfEra =
        (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / (kDaysPerEra - 1)) / 365;
    const std::int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const std::int64_t shiftedMonth = (5 * dayOfYear + 2) / 153;
    parts.day = static_cast<int>(dayOfYear - (153 * shiftedMonth + 2) / 5 + 1);
    parts.month = static_cast<int>(shiftedMonth < 10 ? shiftedMonth + 3 : shiftedMonth - 9);
    parts.year = static_cast<int>(yearOfEra + era * 400) + (parts.month <= 2 ? 1 : 0);
}

void SetTime(std::int64_t milliseconds, DateParts& parts) {
    parts.millisecond = static_cast<int>(milliseconds % 1000);
    parts.second = static_cast<int>(milliseconds / 1000 % 60);
    parts.minute = static_cast<int>(milliseconds / 60000 % 60);
    parts.hour = static_cast<int>(milliseconds / 3600000);
}

bool InRange(int value, int low, int high) {
    return value >= low && value <= high;
}

}  // namespace

std::optional<DateParts> ToDateParts(DateTime value) {
    if (!(value.days > kDayBeforeYear100 && value.days < kDayAfterYear9999)) return std::nullopt;
    const double wholeDays = std::trunc(value.days);
    auto day = static_cast<std::int64_t>(wholeDays);
    // The fraction is the time of day in dates before 1899-12-30 too: -1.25 is 06:00 on 1899-12-29.
    const double fraction = std::abs(value.days - wholeDays);
    auto milliseconds = static_cast<std::int64_t>(std::llround(fraction * double{kMillisecondsPerDay}));
    if (milliseconds >= kMillisecondsPerDay) {
        milliseconds = 0;
        ++day;
    }
    DateParts parts;
    SetCalendarDay(day, parts);
    if (!InRange(parts.year, 100, 9999)) return std::nullopt;
    SetTime(milliseconds, parts);
    return parts;
}

std::optional<DateTime> FromDateParts(const DateParts& parts) {
    if (!InRange(parts.year, 100, 9999) || !InRange(parts.month, 1, 12) || !InRange(parts.day, 1, 31) ||
        !InRange(parts.hour, 0, 23) || !InRange(parts.minute, 0, 59) || !InRange(parts.second, 0, 59) ||
        !InRange(parts.millisecond, 0, 999)) {
        return std::nullopt;
    }
    const std::int64_t day = DayNumber(parts.year, parts.month, parts.day);
    DateParts back;
    SetCalendarDay(day, back);
    if (back.day != parts.day) return std::nullopt;  // February 30
    const std::int64_t milliseconds =
        ((parts.hour * std::int64_t{60} + parts.minute) * 60 + parts.second) * 1000 + parts.millisecond;
    const double time = static_cast<double>(milliseconds) / double{kMillisecondsPerDay};
    const auto days = static_cast<double>(day);
    return DateTime{day >= 0 ? days + time : days - time};
}

}  // namespace marrowkit::jet
