#pragma once

#include <optional>

#include "platform/jet/format/Value.h"

namespace marrowkit::jet {

/// A Date/Time in the Gregorian calendar. Local time; Jet knows no zones.
struct DateParts {
    int year = 1899;  ///< 100 to 9999
    int month = 12;
    int day = 30;
    int hour = 0;
    int minute = 0;
    int second = 0;
    int millisecond = 0;
    bool operator==(const DateParts&) const = default;
};

/// Rounded to whole milliseconds. nullopt outside the years 100 to 9999 (and for a NaN).
std::optional<DateParts> ToDateParts(DateTime value);

/// nullopt when there is no such day or time.
std::optional<DateTime> FromDateParts(const DateParts& parts);

}  // namespace marrowkit::jet
