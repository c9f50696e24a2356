#include "platform/jet/expression/Format.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <optional>
#include <vector>

#include "platform/jet/expression/Calendar.h"
#include "platform/jet/expression/Characters.h"
#include "platform/jet/expression/Conversion.h"
#include "platform/text/CaseMapping.h"
#include "platform/text/Utf8.h"

namespace marrowkit::expression {
namespace {

struct NamedFormat {
    std::string_view name;
    std::string_view pattern;
};

constexpr std::array kNamedNumbers{
    NamedFormat{"Fixed", "0.00"},          NamedFormat{"Standard", "#,##0.00"},
    NamedFormat{"Percent", "0.00%"},       NamedFormat{"Currency", "$#,##0.00;($#,##0.00)"},
    NamedFormat{"Scientific", "0.00E+00"},
};
constexpr std::array kNamedDates{
    NamedFormat{"Long Date", "dddd, mmmm dd, yyyy"}, NamedFormat{"Medium Date", "dd-mmm-yy"},
    NamedFormat{"Short Date", "m/d/yyyy"},           NamedFormat{"Long Time", "h:nn:ss AM/PM"},
    NamedFormat{"Medium Time", "hh:nn AM/PM"},       NamedFormat{"Short Time", "hh:nn"},
};

template <class List>
std::optional<std::string_view> FindNamed(const List& list, std::string_view name) {
    for (const NamedFormat& format : list)
        if (SameName(format.name, name)) return format.pattern;
    return std::nullopt;
}

/// Cuts a picture at its semicolons, leaving quoted ones alone.
std::vector<std::string_view> Sections(std::string_view pattern) {
    std::vector<std::string_view> sections;
    std::size_t start = 0;
    bool quoted = false;
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        if (pattern[i] == '"') quoted = !quoted;
        if (pattern[i] == '\\')
            ++i;
        else if (pattern[i] == ';' && !quoted) {
            sections.push_back(pattern.substr(start, i - start));
            start = i + 1;
        }
    }
    sections.push_back(pattern.substr(std::min(start, pattern.size())));
    return sections;
}

/// What a number picture asks for.
struct Picture {
    int wholeDigits = 0;
    int places = 0;       ///< 0 and # behind the point
    int fixedPlaces = 0;  ///< 0 behind the point
    int percents = 0;
    int exponentDigits = 0;
    bool point = false;
    bool thousands = false;
};

Picture Measure(std::string_view section) {
    Picture picture;
    for (std::size_t i = 0; i < section.size(); ++i) {
        const char c = section[i];
        if (c == '"') {
            i = std::min(section.find('"', i + 1), section.size());
        } else if (c == '\\') {
            ++i;
        } else if (c == '.') {
            picture.point = true;
        } else if (c == '%') {
            ++picture.percents;
        } else if (c == ',') {
            picture.thousands |= !picture.point;
        } else if ((c == 'E' || c == 'e') && i + 1 < section.size() &&
                   (section[i + 1] == '+' || section[i + 1] == '-')) {
            for (i += 2; i < section.size() && section[i] == '0'; ++i) ++picture.exponentDigits;
            --i;
        } else if (c == '0' || c == '#') {
            if (!picture.point)
                picture.wholeDigits += c == '0' ? 1 : 0;
            else
                ++picture.places;
            if (picture.point && c == '0') picture.fixedPlaces = picture.places;
        }
    }
    return picture;
}

/// Digits in front of and behind the point, rounded half away from zero.
void CutDigits(double size, const Picture& picture, std::string& whole, std::string& places) {
    std::array<char, 400> buffer{};
    const double scale = std::pow(10.0, picture.places);
    const double rounded =
        size < 9e15 / scale ? std::floor(size * scale + 0.5 + size * scale * 1e-16) / scale : size;
    std::snprintf(buffer.data(), buffer.size(), "%.*f", std::min(picture.places, 30), rounded);
    const std::string text(buffer.data());
    const std::size_t point = text.find('.');
    whole = text.substr(0, point);
    places = point == std::string::npos ? std::string() : text.substr(point + 1);
    while (static_cast<int>(places.size()) > picture.fixedPlaces && places.back() == '0') places.pop_back();
    if (whole == "0") whole.clear();
    while (static_cast<int>(whole.size()) < picture.wholeDigits) whole.insert(whole.begin(), '0');
    if (!picture.thousands) return;
    for (auto at = static_cast<int>(whole.size()) - 3; at > 0; at -= 3)
        whole.insert(static_cast<std::size_t>(at), ",");
}

std::string FormatNumber(double number, std::string_view section, bool showMinus) {
    const Picture picture = Measure(section);
    double size = std::abs(number) * std::pow(100.0, picture.percents);
    int exponent = 0;
    if (picture.exponentDigits > 0 && size > 0) {
        exponent = static_cast<int>(std::floor(std::log10(size)));
        size /= std::pow(10.0, exponent);
    }
    std::string whole;
    std::string places;
    CutDigits(size, picture, whole, places);
    std::string text = number < 0 && showMinus ? "-" : "";
    bool digitsDone = false;
    for (std::size_t i = 0; i < section.size(); ++i) {
        const char c = section[i];
        if (c == '"') {
            const std::size_t close = std::min(section.find('"', i + 1), section.size());
            text += section.substr(i + 1, close - i - 1);
            i = close;
        } else if (c == '\\') {
            if (++i < section.size()) text += section[i];
        } else if (c == '0' || c == '#' || c == '.' || c == ',') {
            if (!digitsDone) {
                text.append(whole).append(picture.point ? "." : "").append(places);
            }
            digitsDone = true;
        } else if ((c == 'E' || c == 'e') && picture.exponentDigits > 0 && i + 1 < section.size()) {
            std::string digits = std::to_string(std::abs(exponent));
            while (static_cast<int>(digits.size()) < picture.exponentDigits)
                digits.insert(digits.begin(), '0');
            text += c;
            if (exponent < 0 || section[i + 1] == '+') text += exponent < 0 ? '-' : '+';
            text += digits;
            i += 1 + static_cast<std::size_t>(picture.exponentDigits);
        } else {
            text += c;
        }
    }
    return text;
}

std::string Padded(int number, std::size_t width) {
    std::string text = std::to_string(number);
    while (text.size() < width) text.insert(text.begin(), '0');
    return text;
}

std::string DayText(const CalendarTime& time, std::size_t width) {
    if (width <= 2) return Padded(time.day, width);
    const std::string_view name = WeekdayName(WeekdayOf(DayNumber(time.year, time.month, time.day)));
    return std::string(width == 3 ? name.substr(0, 3) : name);
}

std::string MonthText(const CalendarTime& time, std::size_t width) {
    if (width <= 2) return Padded(time.month, width);
    return std::string(width == 3 ? MonthName(time.month).substr(0, 3) : MonthName(time.month));
}

std::string FormatDate(jet::DateTime moment, std::string_view pattern) {
    const CalendarTime time = TakeApart(moment);
    const std::string folded = FoldName(pattern);
    const bool halves = folded.find("AM/PM") != std::string::npos;
    std::string text;
    bool afterHour = false;
    for (std::size_t i = 0; i < folded.size();) {
        const char c = folded[i];
        std::size_t width = 1;
        while (i + width < folded.size() && folded[i + width] == c) ++width;
        if (folded.compare(i, 5, "AM/PM") == 0) {
            const bool lower = pattern[i] == 'a';
            text += time.hour < 12 ? (lower ? "am" : "AM") : (lower ? "pm" : "PM");
            i += 5;
            continue;
        }
        if (c == '"') {
            const std::size_t close = std::min(folded.find('"', i + 1), folded.size());
            text += pattern.substr(i + 1, close - i - 1);
            i = close + 1;
            continue;
        }
        if (c == '\\') {
            text += pattern.substr(std::min(i + 1, pattern.size()), 1);
            i += 2;
            continue;
        }
        if (c == 'D') text += DayText(time, width);
        // An m right behind hours means minutes.
        else if (c == 'M')
            text += afterHour ? Padded(time.minute, width) : MonthText(time, width);
        else if (c == 'Y')
            text += width > 2 ? Padded(time.year, 4) : Padded(time.year % 100, 2);
        else if (c == 'H')
            text += Padded(halves ? (time.hour + 11) % 12 + 1 : time.hour, std::min<std::size_t>(width, 2));
        else if (c == 'N')
            text += Padded(time.minute, std::min<std::size_t>(width, 2));
        else if (c == 'S')
            text += Padded(time.second, std::min<std::size_t>(width, 2));
        else
            text += pattern.substr(i, width);
        if (IsAsciiLetter(c)) afterHour = c == 'H';
        i += width;
    }
    return text;
}

std::optional<std::string_view> Truths(std::string_view name, bool truth) {
    if (SameName(name, "Yes/No")) return truth ? "Yes" : "No";
    if (SameName(name, "True/False")) return truth ? "True" : "False";
    if (SameName(name, "On/Off")) return truth ? "On" : "Off";
    return std::nullopt;
}

std::string FormatText(const std::string& text, std::string_view pattern) {
    std::string mapped;
    if (pattern == "<" || pattern == ">") {
        for (const char32_t point : ToCodePoints(text))
            AppendUtf8(mapped, pattern == "<" ? ToLower(point) : ToUpper(point));
        return mapped;
    }
    return text;
}

}  // namespace

std::string FormatValue(const jet::Value& value, std::string_view pattern) {
    if (pattern.empty() || SameName(pattern, "General Number") || SameName(pattern, "General Date")) {
        if (const auto* truth = std::get_if<bool>(&value)) return *truth ? "True" : "False";
        return ToText(value);
    }
    if (const auto dates = FindNamed(kNamedDates, pattern)) return FormatDate(ToDate(value), *dates);
    if (const auto* moment = std::get_if<jet::DateTime>(&value)) return FormatDate(*moment, pattern);
    const auto* text = std::get_if<std::string>(&value);
    const bool picture = pattern.find_first_of("0#") != std::string_view::npos;
    if (text && !(picture && ParseNumber(*text))) return FormatText(*text, pattern);
    const double number = ToDouble(value);
    if (const auto word = Truths(pattern, number != 0)) return std::string(*word);
    const auto named = FindNamed(kNamedNumbers, pattern);
    if (!named && !picture && FoldName(pattern).find_first_of("DMYHNS") != std::string::npos)
        return FormatDate(ToDate(value), pattern);
    const auto sections = Sections(named ? *named : pattern);
    if (number == 0 && sections.size() > 2) return FormatNumber(0, sections[2], false);
    if (number < 0 && sections.size() > 1 && !sections[1].empty())
        return FormatNumber(number, sections[1], false);
    return FormatNumber(number, sections[0], true);
}

}  // namespace marrowkit::expression
