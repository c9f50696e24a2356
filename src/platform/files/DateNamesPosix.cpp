#include <array>
#include <clocale>
#include <langinfo.h>

#include "platform/files/DateNames.h"

namespace marrowkit {

std::optional<DateNames> NamesOfLocale(std::size_t weekday, std::size_t month, const char* localeName) {
    // The names come in the locale's own encoding; those that are not UTF-8 are not used.
    locale_t locale = newlocale(LC_TIME_MASK | LC_CTYPE_MASK, localeName, nullptr);
    if (locale == nullptr) return std::nullopt;
    constexpr std::array<nl_item, 7> kDays = {DAY_1, DAY_2, DAY_3, DAY_4, DAY_5, DAY_6, DAY_7};
    constexpr std::array<nl_item, 12> kMonths = {MON_1, MON_2, MON_3, MON_4,  MON_5,  MON_6,
                                                 MON_7, MON_8, MON_9, MON_10, MON_11, MON_12};
    DateNames names{nl_langinfo_l(kDays.at(weekday), locale), nl_langinfo_l(kMonths.at(month), locale)};
    freelocale(locale);
    return names;
}

}  // namespace marrowkit
