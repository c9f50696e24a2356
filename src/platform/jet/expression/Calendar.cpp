#include "platform/jet/expression/Calendar.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <vector>

#include "platform/files/Clock.h"
#include "platform/jet/expression/Characters.h"

namespace marrowkit::expression {
namespace {

constexpr int kSecondsPerDay = 86400;
/// 1899-12-30 as a count of days from 1970-01-01.
constexpr std::int64_t kEpochShiftDays = 25569;
constexpr std::int64_t kFirstDay = -657434;  ///< 100-01-01
constexpr std::int64_t kLastDay = 2958465;   ///< 9999-12-31

constexpr std::array<std::string_view, 12> kMonths{"January",   "February", "March",    "April",
                                                   "May",       "June",     "July",     "August",
                                                   "September", "October",  "November", "December"};
constexpr std::array<std::string_view, 7> kWeekdays{"Sunday",   "Monday", "Tuesday", "Wednesday",
                                                    "Thursday", "Friday", "Saturday"};

/// Days from 1970-01-01; eras of 400 years that begin in March, so that a leap day is the last of its year.
std::int64_t DaysFromCivil(std::int64_t year, int month, std::int64_t day) {
    year -= month <= 2 ? 1 : 0;
    const std::int64_t era = (year >= 0 ? year : year - 399) / 400;
    const std::int64_t yearOfEra = year - era * 400;
    const std::int64_t dayOfYear = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
    const std::int64_t dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return era * 146097 + dayOfEra - 719468;
}

void CivilFromDays(std::int64_t days, CalendarTime& time) {
    days += 719468;
    const std::int64_t era = (days >= 0 ? days : days - 146096) / 146097;
    const std::int64_t dayOfEra = days - era * 146097;
    const std::int64_t yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const std::int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const std::int64_t shifted = (5 * dayOfYear + 2) / 153;
    time.day = static_cast<int>(dayOfYear - (153 * shifted + 2) / 5 + 1);
    time.month = static_cast<int>(shifted < 10 ? shifted + 3 : shifted - 9);
    time.year = static_cast<int>(yearOfEra + era * 400 + (time.month <= 2 ? 1 : 0));
}

/// One piece of a date text: a number (with the count of its digits), a word, or a separator.
struct Piece {
    char separator = 0;
    int number = -1;
    int digits = 0;
    std::string word;
};

std::optional<std::vector<Piece>> CutPieces(std::string_view text) {
    std::vector<Piece> pieces;
    for (std::size_t at = 0; at < text.size();) {
        const char c = text[at];
        Piece piece;
        if (IsAsciiDigit(c)) {
            piece.number = 0;
            for (; at < text.size() && IsAsciiDigit(text[at]); ++at, ++piece.digits) {
                if (piece.digits == 4) return std::nullopt;
                piece.number = piece.number * 10 + (text[at] - '0');
            }
        } else if (IsAsciiLetter(c)) {
            for (; at < text.size() && IsAsciiLetter(text[at]); ++at) piece.word += ToAsciiUpper(text[at]);
        } else if (c == ' ' || c == ',' || c == '\t') {
            ++at;
            continue;
        } else if (c == '/' || c == '-' || c == ':' || c == '.') {
            piece.separator = c;
            ++at;
        } else {
            return std::nullopt;
        }
        pieces.push_back(std::move(piece));
    }
    return pieces;
}

int MonthByName(std::string_view word) {
    for (std::size_t i = 0; i < kMonths.size(); ++i) {
        const std::string_view name = kMonths[i];
        if (SameName(word, name) || (word.size() == 3 && SameName(word, name.substr(0, 3))))
            return static_cast<int>(i) + 1;
    }
    return 0;
}

int FullYear(const Piece& piece) {
    if (piece.digits > 2) return piece.number;
    return piece.number + (piece.number < 30 ? 2000 : 1900);
}

bool IsDay(int year, int month, int day) {
    return year >= 100 && month >= 1 && month <= 12 && day >= 1 && day <= DaysInMonth(year, month);
}

/// Turns up to three numbers, one of which may be a named month, into a day.
std::optional<std::int64_t> ReadDay(const std::vector<Piece>& parts, std::size_t wordAt) {
    const std::size_t count = parts.size();
    if (count < 2 || count > 3) return std::nullopt;
    int year = TakeApart(CurrentMoment()).year;
    int month = 0;
    int day = 0;
    if (wordAt < count) {
        month = MonthByName(parts[wordAt].word);
        if (month == 0) return std::nullopt;
        std::vector<Piece> numbers;
        for (const Piece& part : parts)
            if (part.number >= 0) numbers.push_back(part);
        if (numbers.size() + 1 != count) return std::nullopt;
        if (numbers.size() == 2 && numbers[0].digits > 2) std::swap(numbers[0], numbers[1]);
        if (numbers.size() == 2) year = FullYear(numbers[1]);
        day = numbers[0].number;
        if (numbers.size() == 1 && numbers[0].digits > 2) {
            year = numbers[0].number;
            day = 1;
        }
    } else if (parts[0].digits > 2) {
        if (count != 3) return std::nullopt;
        year = parts[0].number;
        month = parts[1].number;
        day = parts[2].number;
        if (!IsDay(year, month, day)) std::swap(month, day);
    } else {
        month = parts[0].number;
        day = parts[1].number;
        if (count == 3) year = FullYear(parts[2]);
        if (!IsDay(year, month, day)) std::swap(month, day);
    }
    if (!IsDay(year, month, day)) return std::nullopt;
    return DayNumber(year, month, day);
}

/// "13", ":", "30" ... and AM or PM; nullopt when the pieces are no time.
std::optional<double> ReadTime(const std::vector<Piece>& pieces) {
    std::array<int, 3> units{};
    std::size_t count = 0;
    std::string half;
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        const Piece& piece = pieces[i];
        if (!piece.word.empty()) {
            if (i + 1 != pieces.size()) return std::nullopt;
            half = piece.word;
        } else if (i % 2 == 0) {
            if (piece.number < 0 || piece.digits > 2 || count == units.size()) return std::nullopt;
            units[count++] = piece.number;
        } else if (piece.separator != ':') {
            return std::nullopt;
        }
    }
    if (count == 0 || (count == 1 && half.empty())) return std::nullopt;
    if (half == "AM" || half == "A" || half == "PM" || half == "P") {
        if (units[0] < 1 || units[0] > 12) return std::nullopt;
        units[0] = units[0] % 12 + (half[0] == 'P' ? 12 : 0);
    } else if (!half.empty()) {
        return std::nullopt;
    }
    if (units[0] > 23 || units[1] > 59 || units[2] > 59) return std::nullopt;
    return (units[0] * 3600 + units[1] * 60 + units[2]) / double{kSecondsPerDay};
}

/// Where the time begins: at the number in front of the first colon, or of AM/PM.
std::size_t TimeStart(const std::vector<Piece>& pieces) {
    for (std::size_t i = 1; i < pieces.size(); ++i) {
        const bool half = pieces[i].word == "AM" || pieces[i].word == "PM" || pieces[i].word == "A" ||
                          pieces[i].word == "P";
        if (pieces[i].separator == ':' || half) return i - 1;
    }
    return pieces.size();
}

}  // namespace

std::int64_t DayNumber(std::int64_t year, std::int64_t month, std::int64_t day) {
    const std::int64_t months = year * 12 + month - 1;
    const std::int64_t wholeYear = months >= 0 ? months / 12 : (months - 11) / 12;
    return DaysFromCivil(wholeYear, static_cast<int>(months - wholeYear * 12) + 1, 1) + day - 1 +
           kEpochShiftDays;
}

int DaysInMonth(int year, int month) {
    return static_cast<int>(DayNumber(year, month + 1, 1) - DayNumber(year, month, 1));
}

int WeekdayOf(std::int64_t dayNumber) {
    // 1899-12-30 was a Saturday.
    return static_cast<int>(((dayNumber + 6) % 7 + 7) % 7) + 1;
}

double ToContinuousDays(jet::DateTime moment) {
    const double day = std::trunc(moment.days);
    return day + std::abs(moment.days - day);
}

jet::DateTime FromContinuousDays(double days) {
    // Beyond any calendar, too: no whole number holds every day that a sum can come to.
    const double day = std::floor(days);
    return {day < 0 ? day - (days - day) : days};
}

CalendarTime TakeApart(jet::DateTime moment) {
    const double continuous = ToContinuousDays(moment);
    std::int64_t day = 0;
    std::int64_t seconds = 0;
    if (continuous >= static_cast<double>(kFirstDay) && continuous < static_cast<double>(kLastDay + 1)) {
        day = static_cast<std::int64_t>(std::floor(continuous));
        seconds = std::llround((continuous - static_cast<double>(day)) * kSecondsPerDay);
        if (seconds == kSecondsPerDay) {
            seconds = 0;
            ++day;
        }
    }
    CalendarTime time;
    CivilFromDays(day - kEpochShiftDays, time);
    time.hour = static_cast<int>(seconds / 3600);
    time.minute = static_cast<int>(seconds / 60 % 60);
    time.second = static_cast<int>(seconds % 60);
    return time;
}

jet::DateTime PutTogether(std::int64_t dayNumber, double dayFraction) {
    const auto day = static_cast<double>(dayNumber);
    return {dayNumber < 0 ? day - dayFraction : day + dayFraction};
}

jet::DateTime PutTogether(const CalendarTime& time) {
    const int seconds = time.hour * 3600 + time.minute * 60 + time.second;
    return PutTogether(DayNumber(time.year, time.month, time.day), seconds / double{kSecondsPerDay});
}

std::optional<jet::DateTime> ParseDate(std::string_view text) {
    const auto pieces = CutPieces(text);
    if (!pieces || pieces->empty()) return std::nullopt;
    const std::size_t timeStart = TimeStart(*pieces);
    double fraction = 0;
    if (timeStart < pieces->size()) {
        const auto start = pieces->begin() + static_cast<std::ptrdiff_t>(timeStart);
        const auto time = ReadTime({start, pieces->end()});
        if (!time) return std::nullopt;
        fraction = *time;
    }
    if (timeStart == 0) return jet::DateTime{fraction};
    std::vector<Piece> parts;
    std::size_t wordAt = 3;
    for (std::size_t i = 0; i < timeStart; ++i) {
        const Piece& piece = (*pieces)[i];
        if (piece.separator == ':') return std::nullopt;
        if (piece.separator != 0) {
            if (i == 0 || i + 1 == timeStart) return std::nullopt;
            continue;
        }
        if (!piece.word.empty()) wordAt = parts.size();
        parts.push_back(piece);
    }
    const auto day = ReadDay(parts, wordAt);
    if (!day) return std::nullopt;
    return PutTogether(*day, fraction);
}

std::string DateToText(jet::DateTime moment) {
    const CalendarTime time = TakeApart(moment);
    const bool noDay = time.year == 1899 && time.month == 12 && time.day == 30;
    const bool midnight = time.hour == 0 && time.minute == 0 && time.second == 0;
    std::string text;
    if (!noDay)
        text = std::to_string(time.month) + "/" + std::to_string(time.day) + "/" + std::to_string(time.year);
    if (noDay || !midnight) {
        std::array<char, 32> clock{};
        std::snprintf(clock.data(), clock.size(), "%d:%02d:%02d %s", (time.hour + 11) % 12 + 1, time.minute,
                      time.second, time.hour < 12 ? "AM" : "PM");
        text += (text.empty() ? "" : " ") + std::string(clock.data());
    }
    return text;
}

jet::DateTime CurrentMoment() {
    const std::tm local = LocalNow();
    return PutTogether(CalendarTime{local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour,
                                    local.tm_min, local.tm_sec > 59 ? 59 : local.tm_sec});
}

std::string_view MonthName(int month) {
    return kMonths.at(static_cast<std::size_t>(month - 1));
}

std::string_view WeekdayName(int weekday) {
    return kWeekdays.at(static_cast<std::size_t>(weekday - 1));
}

}  // namespace marrowkit::expression
