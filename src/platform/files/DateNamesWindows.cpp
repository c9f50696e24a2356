#include <array>
#include <string_view>
#include <windows.h>

#include "platform/files/DateNames.h"
#include "platform/windows/WideText.h"

namespace marrowkit {

namespace {

std::string NameOf(LCTYPE which, const wchar_t* localeName) {
    std::array<wchar_t, 80> name{};  // the longest that the system gives, with its end
    if (GetLocaleInfoEx(localeName, which, name.data(), static_cast<int>(name.size())) == 0) return "";
    return windows::FromWide(name.data());
}

}  // namespace

std::optional<DateNames> NamesOfLocale(std::size_t weekday, std::size_t month, const char* localeName) {
    constexpr std::size_t kDays = 7;
    const std::wstring wideName = windows::ToWide(localeName);
    const wchar_t* const locale = wideName.empty() ? LOCALE_NAME_USER_DEFAULT : wideName.c_str();
    // The system's numbers for names of days begin with Monday, and follow each other like those of months.
    const std::size_t day = (weekday + kDays - 1) % kDays;
    DateNames names{NameOf(LOCALE_SDAYNAME1 + static_cast<LCTYPE>(day), locale),
                    NameOf(LOCALE_SMONTHNAME1 + static_cast<LCTYPE>(month), locale)};
    if (names.day.empty() || names.month.empty()) return std::nullopt;
    return names;
}

}  // namespace marrowkit
