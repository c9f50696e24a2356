#include <algorithm>
#include <array>
#include <cmath>
#include <string>

#include "platform/jet/expression/Calendar.h"
#include "platform/jet/expression/Characters.h"
#include "platform/jet/expression/Conversion.h"
#include "platform/jet/expression/Functions.h"

namespace marrowkit::expression {
namespace {

using jet::ColumnType;
using jet::Value;

constexpr double kSecondsPerDay = 86400;

/// Intervals of DateAdd, DateDiff and DatePart.
enum class Interval { Year, Quarter, Month, DayOfYear, Day, Weekday, Week, Hour, Minute, Second };

Interval ReadInterval(const Value& value) {
    struct Word {
        std::string_view text;
        Interval interval;
    };
    static constexpr std::array kWords{
        Word{"yyyy", Interval::Year},   Word{"q", Interval::Quarter}, Word{"m", Interval::Month},
        Word{"y", Interval::DayOfYear}, Word{"d", Interval::Day},     Word{"w", Interval::Weekday},
        Word{"ww", Interval::Week},     Word{"h", Interval::Hour},    Word{"n", Interval::Minute},
        Word{"s", Interval::Second},
    };
    const std::string text = ToText(value);
    for (const Word& word : kWords)
        if (SameName(text, word.text)) return word.interval;
    RaiseInvalidArgument();
}

std::int64_t DayOf(jet::DateTime moment) {
    const CalendarTime time = TakeApart(moment);
    return DayNumber(time.year, time.month, time.day);
}

std::int64_t SecondsOf(jet::DateTime moment) {
    const CalendarTime time = TakeApart(moment);
    return ((DayOf(moment) * 24 + time.hour) * 60 + time.minute) * 60 + time.second;
}

/// Dates run from year 100 to 9999.
jet::DateTime Checked(jet::DateTime moment) {
    if (!(moment.days > -657435.0 && moment.days < 2958466.0)) RaiseInvalidArgument();
    return moment;
}

Value Now(const Arguments&) {
    return CurrentMoment();
}

Value Date(const Arguments&) {
    return jet::DateTime{std::trunc(CurrentMoment().days)};
}

Value Time(const Arguments&) {
    const double days = CurrentMoment().days;
    return jet::DateTime{days - std::trunc(days)};
}

template <int CalendarTime::*Member>
Value Part(const Arguments& a) {
    return static_cast<std::int32_t>(TakeApart(ToDate(a[0])).*Member);
}

int WeekdayFrom(std::int64_t day, int firstDay) {
    return (WeekdayOf(day) - firstDay + 7) % 7 + 1;
}

int FirstDayArgument(const Arguments& a, std::size_t position) {
    const std::int32_t first = a.Count() > position ? ToLong(a[position]) : 1;
    if (first < 0 || first > 7) RaiseInvalidArgument();
    return first == 0 ? 1 : first;
}

Value Weekday(const Arguments& a) {
    return static_cast<std::int32_t>(WeekdayFrom(DayOf(ToDate(a[0])), FirstDayArgument(a, 1)));
}

Value DateSerial(const Arguments& a) {
    std::int64_t year = ToWhole(a[0], -32768, 32767);
    if (year >= 0 && year < 100) year += year < 30 ? 2000 : 1900;
    const std::int64_t day = DayNumber(year, ToWhole(a[1], -32768, 32767), ToWhole(a[2], -32768, 32767));
    return Checked(PutTogether(day, 0));
}

Value TimeSerial(const Arguments& a) {
    const std::int64_t seconds = ToWhole(a[0], -32768, 32767) * 3600 + ToWhole(a[1], -32768, 32767) * 60 +
                                 ToWhole(a[2], -32768, 32767);
    return FromContinuousDays(static_cast<double>(seconds) / kSecondsPerDay);
}

jet::DateTime AddMonths(jet::DateTime moment, std::int64_t months) {
    CalendarTime time = TakeApart(moment);
    const std::int64_t count = std::int64_t{time.year} * 12 + time.month - 1 + months;
    if (count < 1200 || count >= 120000) RaiseInvalidArgument();
    time.year = static_cast<int>(count / 12);
    time.month = static_cast<int>(count % 12) + 1;
    time.day = std::min(time.day, DaysInMonth(time.year, time.month));
    return PutTogether(time);
}

Value DateAdd(const Arguments& a) {
    const Interval interval = ReadInterval(a[0]);
    const std::int64_t count = ToLong(a[1]);
    const jet::DateTime moment = ToDate(a[2]);
    switch (interval) {
        case Interval::Year:
            return AddMonths(moment, count * 12);
        case Interval::Quarter:
            return AddMonths(moment, count * 3);
        case Interval::Month:
            return AddMonths(moment, count);
        case Interval::Week:
            return Checked(FromContinuousDays(ToContinuousDays(moment) + static_cast<double>(count * 7)));
        case Interval::Hour:
        case Interval::Minute:
        case Interval::Second: {
            const std::int64_t unit =
                interval == Interval::Hour ? 3600 : (interval == Interval::Minute ? 60 : 1);
            const std::int64_t seconds = SecondsOf(moment) + count * unit;
            return Checked(FromContinuousDays(static_cast<double>(seconds) / kSecondsPerDay));
        }
        default:
            return Checked(FromContinuousDays(ToContinuousDays(moment) + static_cast<double>(count)));
    }
}

std::int64_t FloorDivide(std::int64_t number, std::int64_t divisor) {
    return number >= 0 ? number / divisor : -((-number + divisor - 1) / divisor);
}

/// How often the boundary of an interval lies between two moments.
Value DateDiff(const Arguments& a) {
    const Interval interval = ReadInterval(a[0]);
    const jet::DateTime from = ToDate(a[1]);
    const jet::DateTime to = ToDate(a[2]);
    const CalendarTime first = TakeApart(from);
    const CalendarTime last = TakeApart(to);
    const auto months = [](const CalendarTime& time) { return time.year * 12 + time.month - 1; };
    const auto weekStart = [&](jet::DateTime moment) {
        return DayOf(moment) - WeekdayFrom(DayOf(moment), FirstDayArgument(a, 3));
    };
    const auto units = [&](std::int64_t unit) {
        return FloorDivide(SecondsOf(to), unit) - FloorDivide(SecondsOf(from), unit);
    };
    std::int64_t count = 0;
    switch (interval) {
        case Interval::Year:
            count = last.year - first.year;
            break;
        case Interval::Quarter:
            count = months(last) / 3 - months(first) / 3;
            break;
        case Interval::Month:
            count = months(last) - months(first);
            break;
        case Interval::Week:
            count = (weekStart(to) - weekStart(from)) / 7;
            break;
        case Interval::Weekday:
            count = (DayOf(to) - DayOf(from)) / 7;
            break;
        case Interval::Hour:
            count = units(3600);
            break;
        case Interval::Minute:
            count = units(60);
            break;
        case Interval::Second:
            count = units(1);
            break;
        default:
            count = DayOf(to) - DayOf(from);
    }
    return static_cast<std::int32_t>(ToWhole(Value(static_cast<double>(count)), -2147483648LL, 2147483647));
}

Value DatePart(const Arguments& a) {
    const Interval interval = ReadInterval(a[0]);
    const jet::DateTime moment = ToDate(a[1]);
    const CalendarTime time = TakeApart(moment);
    const std::int64_t newYear = DayNumber(time.year, 1, 1);
    const std::int64_t dayOfYear = DayOf(moment) - newYear + 1;
    switch (interval) {
        case Interval::Year:
            return std::int32_t{time.year};
        case Interval::Quarter:
            return std::int32_t{(time.month + 2) / 3};
        case Interval::Month:
            return std::int32_t{time.month};
        case Interval::DayOfYear:
            return static_cast<std::int32_t>(dayOfYear);
        case Interval::Weekday:
            return std::int32_t{WeekdayFrom(DayOf(moment), FirstDayArgument(a, 2))};
        case Interval::Week:
            return static_cast<std::int32_t>(
                (dayOfYear + WeekdayFrom(newYear, FirstDayArgument(a, 2)) - 2) / 7 + 1);
        case Interval::Hour:
            return std::int32_t{time.hour};
        case Interval::Minute:
            return std::int32_t{time.minute};
        case Interval::Second:
            return std::int32_t{time.second};
        default:
            return std::int32_t{time.day};
    }
}

Value MonthNameOf(const Arguments& a) {
    const std::int64_t month = ToLong(a[0]);
    if (month < 1 || month > 12) RaiseInvalidArgument();
    const std::string_view name = MonthName(static_cast<int>(month));
    const bool brief = a.Count() > 1 && ToBoolean(a[1]);
    return std::string(brief ? name.substr(0, 3) : name);
}

}  // namespace

std::span<const Function> DateFunctions() {
    static const std::array kFunctions{
        Function{"Now", 0, 0, Now, ColumnType::DateTime, false, false},
        Function{"Date", 0, 0, Date, ColumnType::DateTime, false, false},
        Function{"Time", 0, 0, Time, ColumnType::DateTime, false, false},
        Function{"Year", 1, 1, Part<&CalendarTime::year>, ColumnType::Long},
        Function{"Month", 1, 1, Part<&CalendarTime::month>, ColumnType::Long},
        Function{"Day", 1, 1, Part<&CalendarTime::day>, ColumnType::Long},
        Function{"Hour", 1, 1, Part<&CalendarTime::hour>, ColumnType::Long},
        Function{"Minute", 1, 1, Part<&CalendarTime::minute>, ColumnType::Long},
        Function{"Second", 1, 1, Part<&CalendarTime::second>, ColumnType::Long},
        Function{"Weekday", 1, 2, Weekday, ColumnType::Long},
        Function{"DateSerial", 3, 3, DateSerial, ColumnType::DateTime},
        Function{"TimeSerial", 3, 3, TimeSerial, ColumnType::DateTime},
        Function{"DateAdd", 3, 3, DateAdd, ColumnType::DateTime},
        Function{"DateDiff", 3, 5, DateDiff, ColumnType::Long},
        Function{"DatePart", 2, 4, DatePart, ColumnType::Long},
        Function{"MonthName", 1, 2, MonthNameOf, ColumnType::Text},
    };
    return kFunctions;
}

}  // namespace marrowkit::expression
