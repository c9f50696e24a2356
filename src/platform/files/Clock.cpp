#include "platform/files/Clock.h"

#include <chrono>
#include <cstdio>
#include <ctime>
#include <optional>

#ifndef _WIN32
#include <clocale>
#include <langinfo.h>
#endif

#include <array>
#include <cstddef>

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

struct DateNames {
    std::string day;
    std::string month;
};

/// 0 is Sunday.
std::size_t WeekdayOf(const CalendarDate& date) {
    const std::chrono::year_month_day day{std::chrono::year{date.year},
                                          std::chrono::month{static_cast<unsigned>(date.month)},
                                          std::chrono::day{static_cast<unsigned>(date.day)}};
    return std::chrono::weekday{std::chrono::sys_days{day}}.c_encoding();
}

#ifndef _WIN32
bool IsUsable(const std::string& name) {
    return !name.empty() && IsValidUtf8(name, Surrogates::Refused) && FitsCp1252(name);
}

std::optional<DateNames> NamesOfLocale(const CalendarDate& date, const char* localeName) {
    // The names come in the locale's own encoding; those that are not UTF-8 are not used.
    locale_t locale = newlocale(LC_TIME_MASK | LC_CTYPE_MASK, localeName, nullptr);
    if (locale == nullptr) return std::nullopt;
    constexpr std::array<nl_item, 7> kDays = {DAY_1, DAY_2, DAY_3, DAY_4, DAY_5, DAY_6, DAY_7};
    constexpr std::array<nl_item, 12> kMonths = {MON_1, MON_2, MON_3, MON_4,  MON_5,  MON_6,
                                                 MON_7, MON_8, MON_9, MON_10, MON_11, MON_12};
    DateNames names{nl_langinfo_l(kDays.at(WeekdayOf(date)), locale),
                    nl_langinfo_l(kMonths.at(static_cast<std::size_t>(date.month) - 1), locale)};
    freelocale(locale);
    if (!IsUsable(names.day) || !IsUsable(names.month)) return std::nullopt;
    return names;
}
#else
std::optional<DateNames> NamesOfLocale(const CalendarDate&, const char*) {
    return std::nullopt;
}
#endif

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
    const DateNames english{kDayNames.at(WeekdayOf(date)),
                            kMonthNames.at(static_cast<std::size_t>(date.month) - 1)};
    const DateNames names = NamesOfLocale(date, localeName.c_str()).value_or(english);
    const std::string day = std::to_string(date.day);
    const std::string year = std::to_string(date.year);
    return names.day + (day.size() < 2 ? " 0" : " ") + day + " " + names.month + " " + year;
}

}  // namespace marrowkit
