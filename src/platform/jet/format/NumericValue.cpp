#include "platform/jet/format/NumericValue.h"

#include <algorithm>
#include <cmath>

namespace marrowkit::jet {
namespace {

using Magnitude = std::array<std::uint32_t, 4>;

bool IsZero(const Magnitude& words) {
    return std::all_of(words.begin(), words.end(), [](std::uint32_t word) { return word == 0; });
}

/// words = words * factor + summand; false on overflow (words are then undefined).
bool MultiplyAdd(Magnitude& words, std::uint32_t factor, std::uint32_t summand) {
    std::uint64_t carry = summand;
    for (std::size_t i = words.size(); i-- > 0;) {
        carry += static_cast<std::uint64_t>(words[i]) * factor;
        words[i] = static_cast<std::uint32_t>(carry);
        carry >>= 32U;
    }
    return carry == 0;
}

std::uint32_t DivideBy10(Magnitude& words) {
    std::uint64_t remainder = 0;
    for (std::uint32_t& word : words) {
        remainder = remainder << 32U | word;
        word = static_cast<std::uint32_t>(remainder / 10);
        remainder %= 10;
    }
    return static_cast<std::uint32_t>(remainder);
}

}  // namespace

std::string NumericText(const Numeric& value) {
    Magnitude rest = value.magnitude;
    std::string text;  // backwards
    for (unsigned digit = 0; digit <= value.scale || !IsZero(rest); ++digit) {
        if (digit == value.scale && digit != 0) text.push_back('.');
        text.push_back(static_cast<char>('0' + DivideBy10(rest)));
    }
    if (value.negative) text.push_back('-');
    std::reverse(text.begin(), text.end());
    return text;
}

std::optional<Numeric> NumericFromText(std::string_view text) {
    Numeric value;
    if (!text.empty() && (text[0] == '-' || text[0] == '+')) {
        value.negative = text[0] == '-';
        text.remove_prefix(1);
    }
    bool point = false;
    bool digits = false;
    for (const char c : text) {
        if (c == '.' && !point) {
            point = true;
            continue;
        }
        if (c < '0' || c > '9') return std::nullopt;
        digits = true;
        if (!MultiplyAdd(value.magnitude, 10, static_cast<std::uint32_t>(c - '0'))) return std::nullopt;
        if (point && ++value.scale > kMaxNumericPrecision) return std::nullopt;
    }
    if (!digits) return std::nullopt;
    if (IsZero(value.magnitude)) value.negative = false;
    return value;
}

std::optional<Numeric> RescaleNumeric(const Numeric& value, std::uint8_t scale) {
    Numeric result = value;
    result.scale = scale;
    for (unsigned at = value.scale; at < scale && !IsZero(result.magnitude); ++at) {
        if (!MultiplyAdd(result.magnitude, 10, 0)) return std::nullopt;
    }
    std::uint32_t last = 0;
    for (unsigned at = value.scale; at > scale; --at) last = DivideBy10(result.magnitude);
    if (last >= 5) MultiplyAdd(result.magnitude, 1, 1);
    if (IsZero(result.magnitude) && !IsZero(value.magnitude)) result.negative = false;
    return result;
}

bool FitsPrecision(const Numeric& value, std::uint8_t precision) {
    Magnitude rest = value.magnitude;
    for (unsigned digit = 0; digit < precision; ++digit) DivideBy10(rest);
    return IsZero(rest);
}

double NumericToDouble(const Numeric& value) {
    double magnitude = 0;
    for (const std::uint32_t word : value.magnitude) magnitude = magnitude * 4294967296.0 + word;
    magnitude /= std::pow(10.0, value.scale);
    return value.negative ? -magnitude : magnitude;
}

}  // namespace marrowkit::jet
