#include "platform/jet/engine/NumericConversion.h"

#include <charconv>
#include <string>
#include <system_error>

#include "platform/expression/Conversion.h"
#include "platform/jet/format/JetErrors.h"

namespace marrowkit::jet {

namespace {

/// A decimal number as its digits: 0.digits * 10^pointAt.
struct Digits {
    std::string digits;  ///< without leading zeros; empty for zero
    int pointAt = 0;
    bool negative = false;
};

/// Takes "-12.5e3" apart; nullopt unless the whole text is such a number.
std::optional<Digits> ParseDigits(std::string_view text) {
    Digits number;
    std::size_t i = 0;
    if (i < text.size() && (text[i] == '-' || text[i] == '+')) number.negative = text[i++] == '-';
    bool anyDigit = false;
    bool afterPoint = false;
    for (; i < text.size(); ++i) {
        if (text[i] == '.' && !afterPoint) {
            afterPoint = true;
        } else if (text[i] >= '0' && text[i] <= '9') {
            anyDigit = true;
            if (number.digits.empty() && text[i] == '0') {
                if (afterPoint) --number.pointAt;
                continue;
            }
            number.digits += text[i];
            if (!afterPoint) ++number.pointAt;
        } else {
            break;
        }
    }
    if (!anyDigit) return std::nullopt;
    if (i == text.size()) return number;
    if (text[i] != 'e' && text[i] != 'E') return std::nullopt;
    ++i;
    if (i < text.size() && text[i] == '+') ++i;
    int exponent = 0;
    const auto [end, error] = std::from_chars(text.data() + i, text.data() + text.size(), exponent);
    if (error != std::errc{} || end != text.data() + text.size()) return std::nullopt;
    if (exponent > 1000 || exponent < -1000) return std::nullopt;
    number.pointAt += exponent;
    return number;
}

void Increment(std::string& digits) {
    for (std::size_t i = digits.size(); i-- > 0;) {
        if (digits[i] != '9') {
            ++digits[i];
            return;
        }
        digits[i] = '0';
    }
    digits.insert(digits.begin(), '1');
}

/// The whole number `number * 10^scale` as digits, halves rounded to even.
std::string Scale(const Digits& number, int scale) {
    const int count = number.pointAt + scale;
    const int have = static_cast<int>(number.digits.size());
    if (number.digits.empty() || count < 0) return {};
    if (count >= have) return number.digits + std::string(static_cast<std::size_t>(count - have), '0');
    const auto cut = static_cast<std::size_t>(count);
    std::string kept = number.digits.substr(0, cut);
    const std::string dropped = number.digits.substr(cut);
    const bool odd = !kept.empty() && (kept.back() - '0') % 2 == 1;
    const bool aboveHalf = dropped[0] > '5' || (dropped[0] == '5' &&
                                                dropped.find_first_not_of('0', 1) != std::string::npos);
    if (aboveHalf || (dropped[0] == '5' && odd)) Increment(kept);
    return kept;
}

/// magnitude = magnitude * 10 + digit
void AppendDigit(std::array<std::uint32_t, 4>& magnitude, char digit) {
    std::uint64_t carry = static_cast<std::uint64_t>(digit - '0');
    for (std::size_t word = 4; word-- > 0;) {
        carry += std::uint64_t{magnitude[word]} * 10;
        magnitude[word] = static_cast<std::uint32_t>(carry);
        carry >>= 32;
    }
}

std::string DecimalText(const Value& value) {
    if (const auto* number = std::get_if<Numeric>(&value)) return expression::NumericToText(*number);
    if (const auto* number = std::get_if<Currency>(&value)) return expression::CurrencyToText(*number);
    if (const auto* text = std::get_if<std::string>(&value)) {
        if (ParseDigits(*text)) return *text;
    }
    return expression::NumberToText(expression::ToDouble(value));
}

}  // namespace

Numeric ToNumeric(const Value& value, int precision, int scale) {
    const auto number = ParseDigits(DecimalText(value));
    if (!number) RaiseJet(JetError::ConversionError);
    if (number->pointAt > 40) RaiseJet(JetError::NumericOverflow);
    const std::string digits = Scale(*number, scale);
    if (static_cast<int>(digits.size()) > precision) RaiseJet(JetError::NumericOverflow);
    Numeric result;
    result.scale = static_cast<std::uint8_t>(scale);
    for (const char digit : digits) AppendDigit(result.magnitude, digit);
    result.negative = number->negative && !digits.empty();
    return result;
}

}  // namespace marrowkit::jet
