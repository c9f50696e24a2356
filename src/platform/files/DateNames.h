#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace marrowkit {

/// The names of a day of the week and of a month. Only Clock.cpp includes this.
struct DateNames {
    std::string day;
    std::string month;
};

/// In the language of a locale ("" for the user's); nullopt for one that the system does not know. Weekdays
/// count from 0, Sunday; months from 0.
std::optional<DateNames> NamesOfLocale(std::size_t weekday, std::size_t month, const char* localeName);

}  // namespace marrowkit
