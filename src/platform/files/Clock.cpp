#include "platform/files/Clock.h"

#include <array>
#include <chrono>
#include <cstddef>
#include <ctime>
#include <optional>

#include "platform/files/DateNames.h"
#include "platform/text/CodePage1252.h"
#include "platform/text/Utf8.h"

namespace marrowkit {

namespace {

std::optional<CalendarDate> chosenToday;

constexpr std::array<const char*, 7> kDayNames = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                                  "Thursday", "Friday", "Saturday"};
constexpr std::array<const char*, 12> kMonthNames = {"January",   "February", "March",    "April",
                                                     "May",       "June",     "July",     "August",
                                                     "September", "October",  "November", "December"};

/// 0 is Sunday.
std::size_t WeekdayOf(const CalendarDate& date) {
    const std::chrono::year_month_day day{std::chrono::year{date.year},
                                          std::chrono::month{static_cast<unsigned>(date.month)},
                                          std::chrono::day{static_cast<unsigned>(date.day)}};
    return std::chrono::weekday{std::chrono::sys_days{day}}.c_encoding();
}

bool IsUsable(const std::string& name) {
    return !name.empty() && IsValidUtf8(name, Surrogates::Refused) && FitsCp1252(name);
}

}  // namespace

std::tm LocalNow() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
#ifdef _WIN32
    localtime_s(&local, &now);
#else
    localtime_r(&now, &local);
#endif
    return local;
}

CalendarDate Today() {
    if (chosenToday) return *chosenToday;
    const std::tm local = LocalNow();
    return {local.tm_year + 1900, local.tm_mon + 1, local.tm_mday};
}

void SetToday(const CalendarDate& date) {
    chosenToday = date;
}
void ResetToday() {
    chosenToday.reset();
}

std::string LongDateText(const CalendarDate& date) {
    return LongDateText(date, "");
}

std::string LongDateText(const CalendarDate& date, const std::string& localeName) {
    const std::size_t weekday = WeekdayOf(date);
    const auto month = static_cast<std::size_t>(date.month) - 1;
    DateNames names = NamesOfLocale(weekday, month, localeName.c_str()).value_or(DateNames{});
    if (!IsUsable(names.day) || !IsUsable(names.month))
        names = {kDayNames.at(weekday), kMonthNames.at(month)};
    const std::string day = std::to_string(date.day);
    const std::string year = std::to_string(date.year);
    return names.day + (day.size() < 2 ? " 0" : " ") + day + " " + names.month + " " + year;
}

}  // namespace marrowkit
