#include "platform/text/Numbers.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <limits>
#include <system_error>

#include "platform/errors/RuntimeError.h"
#include "platform/text/Text.h"

namespace marrowkit {

namespace {

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

/// Value of a digit of the base, -1 for any other character.
int DigitOf(char c, int base) {
    int digit = -1;
    if (IsDigit(c)) digit = c - '0';
    if (c >= 'a' && c <= 'f') digit = c - 'a' + 10;
    if (c >= 'A' && c <= 'F') digit = c - 'A' + 10;
    return digit < base ? digit : -1;
}

/// 16 for "&H...", 8 for "&O...", else 0.
int RadixOf(std::string_view text) {
    if (text.size() < 2 || text[0] != '&') return 0;
    if (text[1] == 'H' || text[1] == 'h') return 16;
    if (text[1] == 'O' || text[1] == 'o') return 8;
    return 0;
}

/// Reads digits of the base from `position` on. Raises 6 beyond 32 bits.
std::uint32_t ReadRadixDigits(std::string_view text, int base, std::size_t& position) {
    std::uint64_t value = 0;
    for (; position < text.size(); ++position) {
        const int digit = DigitOf(text[position], base);
        if (digit < 0) break;
        value = value * static_cast<std::uint64_t>(base) + static_cast<std::uint64_t>(digit);
        if (value > std::numeric_limits<std::uint32_t>::max()) Raise(RuntimeErrorNumber::Overflow);
    }
    return static_cast<std::uint32_t>(value);
}

/// A decimal number taken apart: 0.DIGITS * 10^pointAt, without leading zeros in the digits.
struct Decimal {
    bool negative = false;
    std::string digits;
    std::int64_t pointAt = 0;
    std::size_t end = 0;     // behind the last character that belongs to it
    bool hasDigits = false;  // also true for "0"
};

/// Far beyond any double, far below overflow of the sums it takes part in.
constexpr std::int64_t kExponentLimit = 1'000'000'000;

std::size_t ReadMantissa(std::string_view text, std::size_t at, Decimal& number) {
    bool pointSeen = false;
    for (; at < text.size(); ++at) {
        if (text[at] == '.' && !pointSeen) {
            pointSeen = true;
            continue;
        }
        if (!IsDigit(text[at])) break;
        number.hasDigits = true;
        if (number.digits.empty() && text[at] == '0') {
            if (pointSeen) --number.pointAt;
            continue;
        }
        number.digits.push_back(text[at]);
        if (!pointSeen) ++number.pointAt;
    }
    return at;
}

/// `at` stands on what may be an exponent's letter. Without digits behind it, it is not part of the number.
std::size_t ReadExponent(std::string_view text, std::size_t at, Decimal& number) {
    if (at >= text.size() || std::string_view("eEdD").find(text[at]) == std::string_view::npos) return at;
    std::size_t next = at + 1;
    bool negative = false;
    if (next < text.size() && (text[next] == '+' || text[next] == '-')) negative = text[next++] == '-';
    if (next >= text.size() || !IsDigit(text[next])) return at;
    std::int64_t exponent = 0;
    for (; next < text.size() && IsDigit(text[next]); ++next) {
        if (exponent < kExponentLimit) exponent = exponent * 10 + (text[next] - '0');
    }
    number.pointAt += negative ? -exponent : exponent;
    return next;
}

Decimal ReadDecimal(std::string_view text) {
    Decimal number;
    std::size_t at = 0;
    if (!text.empty() && (text[0] == '+' || text[0] == '-')) {
        number.negative = text[0] == '-';
        ++at;
    }
    at = ReadMantissa(text, at, number);
    if (number.hasDigits) at = ReadExponent(text, at, number);
    number.end = at;
    return number;
}

/// The digit with this number behind the start of `digits`; 0 outside.
int DigitAt(const Decimal& number, std::int64_t index) {
    if (index < 0 || index >= static_cast<std::int64_t>(number.digits.size())) return 0;
    return number.digits[static_cast<std::size_t>(index)] - '0';
}

/// Exact, digit by digit: going through a double would round 0.5000000000000000001 to a half first.
std::int32_t RoundToLong(const Decimal& number) {
    if (number.digits.empty() || number.pointAt < 0) return 0;
    if (number.pointAt > 10) Raise(RuntimeErrorNumber::Overflow);
    std::int64_t whole = 0;
    for (std::int64_t i = 0; i < number.pointAt; ++i) whole = whole * 10 + DigitAt(number, i);

    const int tenths = DigitAt(number, number.pointAt);
    const auto behind = static_cast<std::size_t>(number.pointAt) + 1;
    const bool more =
        behind < number.digits.size() && number.digits.find_first_not_of('0', behind) != std::string::npos;
    if (tenths > 5 || (tenths == 5 && (more || whole % 2 != 0))) ++whole;

    if (number.negative) whole = -whole;
    if (whole < std::numeric_limits<std::int32_t>::min() ||
        whole > std::numeric_limits<std::int32_t>::max()) {
        Raise(RuntimeErrorNumber::Overflow);
    }
    return static_cast<std::int32_t>(whole);
}

std::int32_t LongFromRadixText(std::string_view text, int base) {
    std::size_t position = 2;
    if (position == text.size()) Raise(RuntimeErrorNumber::TypeMismatch);
    const std::uint32_t bits = ReadRadixDigits(text, base, position);
    if (position != text.size()) Raise(RuntimeErrorNumber::TypeMismatch);
    return static_cast<std::int32_t>(bits);
}

double ValOfRadixText(std::string_view text, int base) {
    std::size_t position = 2;
    const std::uint32_t bits = ReadRadixDigits(text, base, position);
    const bool isLong = position < text.size() && text[position] == '&';
    if (bits <= 0xFFFF && !isLong) return static_cast<std::int16_t>(bits);
    return static_cast<std::int32_t>(bits);
}

}  // namespace

double Val(std::string_view text) {
    std::string packed;
    for (const char c : text) {
        if (c != ' ' && c != '\t' && c != '\n') packed.push_back(c);
    }
    if (const int base = RadixOf(packed); base != 0) return ValOfRadixText(packed, base);

    const Decimal number = ReadDecimal(packed);
    if (number.digits.empty()) return 0;
    const std::string plain =
        (number.negative ? "-0." : "0.") + number.digits + "e" + std::to_string(number.pointAt);
    double value = 0;
    const auto read = std::from_chars(plain.data(), plain.data() + plain.size(), value);
    if (read.ec == std::errc::result_out_of_range) {
        if (number.pointAt > 0) Raise(RuntimeErrorNumber::Overflow);
        return 0;
    }
    return value;
}

std::int32_t CLng(std::string_view text) {
    text = TrimView(text);
    if (const int base = RadixOf(text); base != 0) return LongFromRadixText(text, base);
    const Decimal number = ReadDecimal(text);
    if (!number.hasDigits || number.end != text.size()) Raise(RuntimeErrorNumber::TypeMismatch);
    return RoundToLong(number);
}

std::int32_t CLng(double value) {
    const double floor = std::floor(value);
    const double rest = value - floor;
    double whole = floor;
    if (rest > 0.5 || (rest == 0.5 && std::fmod(floor, 2.0) != 0)) whole += 1;
    constexpr double kLeast = std::numeric_limits<std::int32_t>::min();
    constexpr double kMost = std::numeric_limits<std::int32_t>::max();
    if (!(whole >= kLeast && whole <= kMost)) Raise(RuntimeErrorNumber::Overflow);
    return static_cast<std::int32_t>(whole);
}

std::string Hex(std::int32_t value) {
    std::array<char, 8> digits{};
    const auto end =
        std::to_chars(digits.data(), digits.data() + digits.size(), static_cast<std::uint32_t>(value), 16);
    return UCase({digits.data(), static_cast<std::size_t>(end.ptr - digits.data())});
}

std::string Format0(double value) {
    if (!std::isfinite(value)) Raise(RuntimeErrorNumber::Overflow);
    // Not std::round(): mingw-w64's makes 1 of 0.49999999999999994. The difference is exact.
    double whole = std::trunc(value);
    if (std::abs(value - whole) >= 0.5) whole += std::copysign(1.0, value);
    whole += 0.0;                    // no "-0"
    std::array<char, 320> digits{};  // a double has at most 309 digits before the point
    const auto end =
        std::to_chars(digits.data(), digits.data() + digits.size(), whole, std::chars_format::fixed, 0);
    return {digits.data(), end.ptr};
}

std::string SingleToText(float value) {
    std::array<char, 64> digits{};  // the longest shortest form takes 48 in fixed notation
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value);
    return {digits.data(), end.ptr};
}

std::optional<float> TextToSingle(std::string_view text) {
    text = TrimView(text);
    if (text.size() > 1 && text[0] == '+' && text[1] != '-') text.remove_prefix(1);
    if (text.empty()) return std::nullopt;
    float value = 0;
    const auto read = std::from_chars(text.data(), text.data() + text.size(), value);
    if (read.ec != std::errc() || read.ptr != text.data() + text.size() || !std::isfinite(value)) {
        return std::nullopt;
    }
    return value;
}

}  // namespace marrowkit
