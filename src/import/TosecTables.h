#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace marrowkit::tosec {

struct LanguageRow {
    std::string_view code;  ///< lower case, as it stands between the brackets
    std::string_view name;  ///< the text written into table Languages
};

/// Searched from the top: the first row that a file name holds wins, wherever its group stands.
inline constexpr std::array<LanguageRow, 16> kLanguages = {{
    {"us", "United States (English)"},
    {"jp", "Japanese"},
    {"uk", "United Kingdom (English)"},
    {"en", "English"},
    {"fr", "French"},
    {"de", "German"},
    {"sp", "Spanish"},
    {"nl", "Dutch"},
    {"it", "Italian"},
    {"cz", "Czech"},
    {"sw", "Swedish"},
    {"hk", "Hong Kong"},
    {"au", "Australian"},
    {"pl", "Polish"},
    {"br", "Brazilian"},
    {"eu", "European"},
}};

inline constexpr std::string_view kDefaultLanguage = "English";

struct YearRow {
    std::array<char, 6> text;  ///< the group with its brackets: "(1985)"
    std::int32_t yearId;       ///< row of the frontend's year table

    constexpr std::string_view Token() const { return {text.data(), text.size()}; }
};

/// The row of the frontend's year table that stands for an unknown year.
inline constexpr std::int32_t kUnknownYearId = 1;

constexpr std::array<YearRow, 49> MakeYears() {
    constexpr std::array<std::string_view, 8> kDecades = {"(19xx)", "(197x)", "(198x)", "(199x)",
                                                          "(20xx)", "(200x)", "(201x)", "(202x)"};
    constexpr int kFirstYear = 1970;
    std::array<YearRow, 49> years{};
    for (std::size_t row = 0; row < years.size(); ++row) {
        years[row].yearId = static_cast<std::int32_t>(row) + 2;
        if (row < kDecades.size()) {
            for (std::size_t i = 0; i < 6; ++i) years[row].text[i] = kDecades[row][i];
            continue;
        }
        int year = kFirstYear + static_cast<int>(row - kDecades.size());
        years[row].text = {'(', '0', '0', '0', '0', ')'};
        for (std::size_t digit = 4; digit >= 1; --digit, year /= 10) {
            years[row].text[digit] = static_cast<char>('0' + year % 10);
        }
    }
    return years;
}

/// Decades first, then 1970 to 2010. The frontend has no rows for other years: they stay unrecognised.
inline constexpr std::array<YearRow, 49> kYears = MakeYears();

static_assert(kYears.front().Token() == "(19xx)" && kYears.front().yearId == 2);
static_assert(kYears[8].Token() == "(1970)" && kYears[8].yearId == 10);
static_assert(kYears.back().Token() == "(2010)" && kYears.back().yearId == 50);

}  // namespace marrowkit::tosec
