#include "platform/jet/expression/Conversion.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <limits>

#include "platform/errors/RuntimeError.h"
#include "platform/jet/expression/Calendar.h"
#include "platform/jet/expression/Characters.h"
#include "platform/jet/format/JetErrors.h"
#include "platform/jet/format/NumericValue.h"
#include "platform/jet/format/ValueText.h"

namespace marrowkit::expression {
namespace {

template <class... Cases>
struct Overloaded : Cases... {
    using Cases::operator()...;
};
template <class... Cases>
Overloaded(Cases...) -> Overloaded<Cases...>;

std::string_view Trimmed(std::string_view text) {
    while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
    while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) text.remove_suffix(1);
    return text;
}

std::optional<double> ParseRadix(std::string_view text) {
    if (text.size() < 3 || text[0] != '&') return std::nullopt;
    const char letter = ToAsciiUpper(text[1]);
    if (letter != 'H' && letter != 'O') return std::nullopt;
    std::uint32_t number = 0;
    const char* last = text.data() + text.size();
    const auto [end, error] = std::from_chars(text.data() + 2, last, number, letter == 'H' ? 16 : 8);
    if (error != std::errc{} || end != last) return std::nullopt;
    if (number > 0x7FFF && number <= 0xFFFF) return static_cast<std::int16_t>(number);
    return static_cast<std::int32_t>(number);
}

constexpr std::int64_t kCurrencyUnit = 10000;
/// Currency holds 922337203685477.5807 at most.
constexpr double kMostCurrency = 922337203685478.0;
/// Below 2 to the 39th the next Double is less than half of a ten-thousandth away.
constexpr double kNarrowDecimals = 549755813888.0;

/// A sign, digits with commas between them and a point, to the last digit; nullopt for any other number, or
/// one that does not fit.
std::optional<jet::Currency> ParsePlainCurrency(std::string_view text) {
    text = Trimmed(text);
    const bool negative = text.starts_with('-');
    if (negative || text.starts_with('+')) text.remove_prefix(1);
    std::string digits;
    std::size_t point = std::string::npos;
    for (const char c : text) {
        if (IsAsciiDigit(c))
            digits += c;
        else if (c == '.' && point == std::string::npos)
            point = digits.size();
        else if (c != ',' || digits.empty() || point != std::string::npos)
            return std::nullopt;
    }
    if (digits.empty()) return std::nullopt;
    const std::size_t end = std::min(point, digits.size()) + 4;
    const std::string rest = digits.size() > end ? digits.substr(end) : std::string();
    digits.resize(end, '0');
    if (negative) digits.insert(0, "-");
    std::int64_t number = 0;
    if (std::from_chars(digits.data(), digits.data() + digits.size(), number).ec != std::errc{})
        return std::nullopt;
    const bool half = rest.starts_with('5') && rest.find_first_not_of('0', 1) == std::string::npos;
    const bool away = half ? number % 2 != 0 : (!rest.empty() && rest.front() >= '5');
    return AddCurrency({number}, {away ? (negative ? -1 : 1) : 0});
}

/// Digits and an exponent out of printf's "%.*e", laid out as the language prints numbers.
std::string LayOutNumber(double number, int digits) {
    if (number == 0) return "0";
    std::array<char, 40> buffer{};
    std::snprintf(buffer.data(), buffer.size(), "%.*e", digits - 1, std::fabs(number));
    const std::string_view printed(buffer.data());
    const std::size_t mark = printed.find('e');
    std::string figures;
    for (const char c : printed.substr(0, mark))
        if (IsAsciiDigit(c)) figures += c;
    while (figures.size() > 1 && figures.back() == '0') figures.pop_back();
    int exponent = 0;
    std::string_view power = printed.substr(mark + 1);
    if (power.front() == '+') power.remove_prefix(1);
    std::from_chars(power.data(), power.data() + power.size(), exponent);

    std::string text = number < 0 ? "-" : "";
    const int length = static_cast<int>(figures.size());
    if (exponent >= digits || exponent < -5) {
        text += figures.substr(0, 1);
        if (length > 1) text += "." + figures.substr(1);
        const int size = std::abs(exponent);
        text += exponent < 0 ? "E-" : "E+";
        return text + (size < 10 ? "0" : "") + std::to_string(size);
    }
    if (exponent < 0)
        return text + "0." + std::string(static_cast<std::size_t>(-exponent - 1), '0') + figures;
    const auto whole = static_cast<std::size_t>(exponent) + 1;
    if (figures.size() <= whole) return text + figures + std::string(whole - figures.size(), '0');
    return text + figures.substr(0, whole) + "." + figures.substr(whole);
}

}  // namespace

ValueClass ClassOf(jet::ColumnType type) {
    switch (type) {
        case jet::ColumnType::DateTime:
            return ValueClass::Date;
        case jet::ColumnType::Text:
        case jet::ColumnType::Memo:
            return ValueClass::Text;
        case jet::ColumnType::Binary:
        case jet::ColumnType::Ole:
        case jet::ColumnType::FixedBlock:
            return ValueClass::Binary;
        case jet::ColumnType::Guid:
            return ValueClass::Guid;
        default:
            return ValueClass::Number;
    }
}

ValueClass ClassOf(const jet::Value& value) {
    return jet::IsNull(value) ? ValueClass::Null : ClassOf(TypeOf(value));
}

jet::ColumnType TypeOf(const jet::Value& value) {
    static constexpr std::array<jet::ColumnType, 13> kTypes{
        jet::ColumnType::Text,    jet::ColumnType::Boolean, jet::ColumnType::Byte,
        jet::ColumnType::Integer, jet::ColumnType::Long,    jet::ColumnType::Currency,
        jet::ColumnType::Single,  jet::ColumnType::Double,  jet::ColumnType::DateTime,
        jet::ColumnType::Text,    jet::ColumnType::Binary,  jet::ColumnType::Guid,
        jet::ColumnType::Numeric};
    return kTypes.at(value.index());
}

bool IsWholeType(jet::ColumnType type) {
    return type == jet::ColumnType::Boolean || type == jet::ColumnType::Byte ||
           type == jet::ColumnType::Integer || type == jet::ColumnType::Long;
}

std::optional<jet::ColumnType> CommonType(jet::ColumnType left, jet::ColumnType right) {
    if (left == right) return left;
    const ValueClass kind = ClassOf(left);
    if (kind != ClassOf(right)) return std::nullopt;
    if (kind == ValueClass::Text) return jet::ColumnType::Memo;
    if (kind != ValueClass::Number) return std::nullopt;
    if (IsWholeType(left) && IsWholeType(right)) return jet::ColumnType::Long;
    const auto money = [](jet::ColumnType type) {
        return type == jet::ColumnType::Currency || IsWholeType(type);
    };
    return money(left) && money(right) ? jet::ColumnType::Currency : jet::ColumnType::Double;
}

std::optional<double> ParseNumber(std::string_view text) {
    text = Trimmed(text);
    if (const auto radix = ParseRadix(text)) return radix;
    std::string plain;
    bool digit = false;
    bool point = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (IsAsciiDigit(c)) {
            digit = true;
            plain += c;
        } else if ((c == '+' || c == '-') && i == 0) {
            if (c == '-') plain += c;
        } else if (c == ',' && digit && !point) {
            continue;
        } else if (c == '.' && !point) {
            point = true;
            plain += c;
        } else if ((c == 'e' || c == 'E' || c == 'd' || c == 'D') && digit) {
            std::string_view power = text.substr(i + 1);
            if (!power.empty() && power.front() == '+') power.remove_prefix(1);
            if (power.empty()) return std::nullopt;
            plain += 'e';
            plain += power;
            break;
        } else {
            return std::nullopt;
        }
    }
    double number = 0;
    const char* last = plain.data() + plain.size();
    const auto [end, error] = std::from_chars(plain.data(), last, number);
    if (!digit || error != std::errc{} || end != last) return std::nullopt;
    return number;
}

double ToDouble(const jet::Value& value) {
    return std::visit(
        Overloaded{
            [](jet::Null) -> double { RaiseTypeMismatch(); },
            [](bool truth) { return truth ? -1.0 : 0.0; },
            [](jet::Currency amount) { return static_cast<double>(amount.tenThousandths) / 10000.0; },
            [](jet::DateTime moment) { return moment.days; },
            [](const std::string& text) -> double {
                if (const auto number = ParseNumber(text)) return *number;
                RaiseTypeMismatch();
            },
            [](const jet::Binary&) -> double { RaiseTypeMismatch(); },
            [](const jet::Guid&) -> double { RaiseTypeMismatch(); },
            [](const jet::Numeric& number) { return jet::NumericToDouble(number); },
            [](auto number) { return static_cast<double>(number); },
        },
        value);
}

double RoundHalfEven(double number) {
    const double down = std::floor(number);
    const double fraction = number - down;
    if (fraction < 0.5) return down;
    if (fraction > 0.5) return down + 1;
    return std::fmod(down, 2.0) == 0 ? down : down + 1;
}

std::int64_t ToWhole(const jet::Value& value, std::int64_t lowest, std::int64_t highest) {
    const double number = RoundHalfEven(ToDouble(value));
    if (!(number >= static_cast<double>(lowest) && number <= static_cast<double>(highest))) RaiseOverflow();
    return static_cast<std::int64_t>(number);
}

std::int32_t ToLong(const jet::Value& value) {
    if (const auto* number = std::get_if<std::int32_t>(&value)) return *number;
    return static_cast<std::int32_t>(
        ToWhole(value, std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max()));
}

bool ToBoolean(const jet::Value& value) {
    if (const auto* truth = std::get_if<bool>(&value)) return *truth;
    if (const auto* text = std::get_if<std::string>(&value)) {
        const std::string_view word = Trimmed(*text);
        if (SameName(word, "True") || SameName(word, "Yes") || SameName(word, "On")) return true;
        if (SameName(word, "False") || SameName(word, "No") || SameName(word, "Off")) return false;
    }
    return ToDouble(value) != 0;
}

jet::Currency ToCurrency(const jet::Value& value) {
    if (const auto* amount = std::get_if<jet::Currency>(&value)) return *amount;
    if (const auto* text = std::get_if<std::string>(&value))
        if (const auto amount = ParsePlainCurrency(*text)) return *amount;
    if (const auto* number = std::get_if<jet::Numeric>(&value))
        if (const auto amount = ParsePlainCurrency(jet::NumericText(*number))) return *amount;
    const double number = ToDouble(value);
    // A product of a large number with 10000 has no room for the last decimals.
    const double whole = std::abs(number) < kNarrowDecimals ? 0 : std::trunc(number);
    if (!(std::abs(whole) < kMostCurrency)) RaiseOverflow();
    const auto decimals = static_cast<std::int64_t>(RoundHalfEven((number - whole) * kCurrencyUnit));
    const std::int64_t scaled = static_cast<std::int64_t>(whole) * kCurrencyUnit;
    return AddCurrency({scaled}, {decimals});
}

jet::Currency AddCurrency(jet::Currency left, jet::Currency right) {
    constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();
    constexpr std::int64_t kLeast = std::numeric_limits<std::int64_t>::min();
    const std::int64_t a = left.tenThousandths;
    const std::int64_t b = right.tenThousandths;
    if ((b > 0 && a > kMost - b) || (b < 0 && a < kLeast - b)) RaiseOverflow();
    return {a + b};
}

jet::DateTime ToDate(const jet::Value& value) {
    if (const auto* moment = std::get_if<jet::DateTime>(&value)) return *moment;
    if (const auto* text = std::get_if<std::string>(&value)) {
        if (const auto moment = ParseDate(*text)) return *moment;
    }
    const double days = ToDouble(value);
    if (!(days > -657435.0 && days < 2958466.0)) RaiseOverflow();
    return {days};
}

std::string NumberToText(double number) {
    return LayOutNumber(number, 15);
}

std::string NumberToText(float number) {
    return LayOutNumber(static_cast<double>(number), 7);
}

std::string ToText(const jet::Value& value) {
    return std::visit(Overloaded{
                          [](jet::Null) -> std::string { RaiseTypeMismatch(); },
                          [](bool truth) -> std::string { return truth ? "-1" : "0"; },
                          [](jet::Currency amount) { return jet::CurrencyText(amount); },
                          [](float number) { return NumberToText(number); },
                          [](double number) { return NumberToText(number); },
                          [](jet::DateTime moment) { return DateToText(moment); },
                          [](const std::string& text) { return text; },
                          [](const jet::Binary&) -> std::string { RaiseTypeMismatch(); },
                          [](const jet::Guid& guid) { return jet::GuidText(guid); },
                          [](const jet::Numeric& number) { return jet::NumericText(number); },
                          [](auto number) { return std::to_string(number); },
                      },
                      value);
}

void RaiseTypeMismatch() {
    jet::RaiseJet(jet::JetError::CriteriaTypeMismatch);
}

void RaiseOverflow() {
    throw RuntimeError(6, "Overflow");
}

void RaiseDivisionByZero() {
    throw RuntimeError(11, "Division by zero");
}

void RaiseInvalidArgument() {
    throw RuntimeError(5, "Invalid procedure call or argument");
}

}  // namespace marrowkit::expression
