#include "platform/jet/expression/Operators.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <optional>
#include <vector>

#include "platform/jet/expression/Calendar.h"
#include "platform/jet/expression/Conversion.h"
#include "platform/jet/format/Collation.h"
#include "platform/jet/format/ValueText.h"

namespace marrowkit::expression {
namespace {

/// A magnitude with room for two decimals brought to one scale; least significant word first.
using Wide = std::array<std::uint32_t, 8>;

Wide ScaleUp(const jet::Numeric& number, int scale) {
    Wide wide{};
    for (std::size_t i = 0; i < 4; ++i) wide.at(i) = number.magnitude.at(3 - i);
    for (int place = number.scale; place < scale; ++place) {
        std::uint64_t carry = 0;
        for (std::uint32_t& word : wide) {
            carry += std::uint64_t{word} * 10;
            word = static_cast<std::uint32_t>(carry);
            carry >>= 32;
        }
    }
    return wide;
}

int CompareNumerics(const jet::Numeric& left, const jet::Numeric& right) {
    const int scale = std::max(left.scale, right.scale);
    const Wide a = ScaleUp(left, scale);
    const Wide b = ScaleUp(right, scale);
    const bool leftNegative = left.negative && a != Wide{};
    const bool rightNegative = right.negative && b != Wide{};
    if (leftNegative != rightNegative) return leftNegative ? -1 : 1;
    for (std::size_t i = a.size(); i-- > 0;) {
        if (a.at(i) == b.at(i)) continue;
        return (a.at(i) < b.at(i)) != leftNegative ? -1 : 1;
    }
    return 0;
}

template <class T>
int Order(const T& left, const T& right) {
    if (left < right) return -1;
    return right < left ? 1 : 0;
}

/// What sums and differences of dates work with.
double AsContinuous(const jet::Value& value) {
    if (const auto* moment = std::get_if<jet::DateTime>(&value)) return ToContinuousDays(*moment);
    return ToDouble(value);
}

/// Dates compare by their numbers: that is the order of Jet's indexes. Among days before 1899-12-30 the times
/// of one day come backwards.
int CompareNumbers(const jet::Value& left, const jet::Value& right) {
    if (const auto* a = std::get_if<std::int32_t>(&left))
        if (const auto* b = std::get_if<std::int32_t>(&right)) return Order(*a, *b);
    if (const auto* a = std::get_if<jet::Currency>(&left))
        if (const auto* b = std::get_if<jet::Currency>(&right))
            return Order(a->tenThousandths, b->tenThousandths);
    if (const auto* a = std::get_if<jet::Numeric>(&left))
        if (const auto* b = std::get_if<jet::Numeric>(&right)) return CompareNumerics(*a, *b);
    return Order(ToDouble(left), ToDouble(right));
}

/// GUIDs in statements are texts: "{guid {01020304-...}}", or without the outer part.
std::optional<jet::Guid> GuidOfLiteral(std::string_view text) {
    constexpr std::string_view kOpening = "{guid ";
    if (text.starts_with(kOpening) && text.ends_with('}'))
        text = text.substr(kOpening.size(), text.size() - kOpening.size() - 1);
    return jet::GuidFromText(text);
}

bool IsCounting(ValueClass kind) {
    return kind == ValueClass::Number || kind == ValueClass::Date;
}

bool IsWhole(const jet::Value& value) {
    return std::holds_alternative<bool>(value) || std::holds_alternative<std::uint8_t>(value) ||
           std::holds_alternative<std::int16_t>(value) || std::holds_alternative<std::int32_t>(value);
}

jet::Value FromWhole(std::int64_t number) {
    if (number >= std::numeric_limits<std::int32_t>::min() &&
        number <= std::numeric_limits<std::int32_t>::max())
        return static_cast<std::int32_t>(number);
    return static_cast<double>(number);
}

jet::Value FromDouble(double number) {
    if (!std::isfinite(number)) RaiseOverflow();
    return number;
}

bool IsMoney(const jet::Value& value) {
    return std::holds_alternative<jet::Currency>(value);
}

jet::Value AddMoney(jet::Currency left, jet::Currency right, bool subtract) {
    if (!subtract) return AddCurrency(left, right);
    if (right.tenThousandths == std::numeric_limits<std::int64_t>::min()) RaiseOverflow();
    return AddCurrency(left, {-right.tenThousandths});
}

std::int64_t MultiplyWhole(std::int64_t left, std::int64_t right) {
    std::int64_t product = 0;
    if (__builtin_mul_overflow(left, right, &product)) RaiseOverflow();
    return product;
}

/// The exact product, its last decimal rounded half to even.
jet::Value MultiplyMoney(jet::Currency left, jet::Currency right) {
    constexpr std::int64_t kUnit = 10000;
    const std::int64_t a = left.tenThousandths;
    const std::int64_t b = right.tenThousandths;
    // a * b / 10000, taken apart so that only what is too large overflows.
    const std::int64_t small = (a % kUnit) * (b % kUnit);
    jet::Currency product = AddCurrency({MultiplyWhole(a / kUnit, b)}, {a % kUnit * (b / kUnit)});
    product = AddCurrency(product, {small / kUnit});
    const std::int64_t rest = std::abs(small % kUnit);
    const bool away = rest * 2 > kUnit || (rest * 2 == kUnit && product.tenThousandths % 2 != 0);
    if (!away) return product;
    return AddCurrency(product, {small < 0 ? -1 : 1});
}

jet::Value AddDates(Operator op, const jet::Value& left, const jet::Value& right) {
    const double a = AsContinuous(left);
    const double b = AsContinuous(right);
    const bool both = ClassOf(left) == ValueClass::Date && ClassOf(right) == ValueClass::Date;
    if (op == Operator::Subtract) return both ? jet::Value(a - b) : jet::Value(FromContinuousDays(a - b));
    return FromContinuousDays(a + b);
}

jet::Value AddOrMultiply(Operator op, const jet::Value& left, const jet::Value& right) {
    if (IsWhole(left) && IsWhole(right)) {
        const auto a = static_cast<std::int64_t>(ToDouble(left));
        const auto b = static_cast<std::int64_t>(ToDouble(right));
        if (op == Operator::Add) return FromWhole(a + b);
        return FromWhole(op == Operator::Subtract ? a - b : a * b);
    }
    const bool money =
        (IsMoney(left) && (IsMoney(right) || IsWhole(right))) || (IsMoney(right) && IsWhole(left));
    if (money && op == Operator::Multiply) return MultiplyMoney(ToCurrency(left), ToCurrency(right));
    if (money) return AddMoney(ToCurrency(left), ToCurrency(right), op == Operator::Subtract);
    const double a = ToDouble(left);
    const double b = ToDouble(right);
    if (op == Operator::Add) return FromDouble(a + b);
    return FromDouble(op == Operator::Subtract ? a - b : a * b);
}

jet::Value DivideWhole(Operator op, const jet::Value& left, const jet::Value& right) {
    const std::int64_t a = ToLong(left);
    const std::int64_t b = ToLong(right);
    if (b == 0) RaiseDivisionByZero();
    return FromWhole(op == Operator::Modulo ? a % b : a / b);
}

jet::Value Raise(double base, double exponent) {
    if (base < 0 && exponent != std::trunc(exponent)) RaiseInvalidArgument();
    if (base == 0 && exponent < 0) RaiseInvalidArgument();
    return FromDouble(std::pow(base, exponent));
}

void AppendBigEndian(std::uint64_t bits, std::string& key) {
    for (int shift = 56; shift >= 0; shift -= 8) key += static_cast<char>(bits >> shift & 0xFF);
}

/// IEEE bits turned so that their order as unsigned numbers is the order of the values; both zeros are equal.
void AppendNumberKey(double number, std::string& key) {
    const auto bits = std::bit_cast<std::uint64_t>(number == 0 ? 0.0 : number);
    constexpr std::uint64_t kSign = std::uint64_t{1} << 63;
    AppendBigEndian((bits & kSign) != 0 ? ~bits : bits | kSign, key);
}

/// The key of the same number as a Double, so that amounts and other numbers of one column go together. Large
/// amounts that share a Double have all their digits behind it.
void AppendMoneyKey(jet::Currency amount, std::string& key) {
    AppendNumberKey(ToDouble(amount), key);
    constexpr std::int64_t kShared = 549755813888 * 10000;
    if (amount.tenThousandths > -kShared && amount.tenThousandths < kShared) return;
    AppendBigEndian(static_cast<std::uint64_t>(amount.tenThousandths) ^ std::uint64_t{1} << 63, key);
}

/// The same for decimals.
void AppendNumericKey(const jet::Numeric& number, std::string& key) {
    AppendNumberKey(ToDouble(number), key);
    // Decimals of up to fifteen digits do not share Doubles.
    constexpr std::uint64_t kShared = 1'000'000'000'000'000;
    const auto& words = number.magnitude;
    if (words[0] == 0 && words[1] == 0 && (std::uint64_t{words[2]} << 32 | words[3]) < kShared) return;
    // The widest scale of a file is 28: brought to it, all decimals compare as whole numbers.
    constexpr int kWidestScale = 28;
    const Wide wide = ScaleUp(number, kWidestScale);
    for (std::size_t i = wide.size(); i-- > 0;) {
        const std::uint32_t word = number.negative ? ~wide.at(i) : wide.at(i);
        for (int shift = 24; shift >= 0; shift -= 8) key += static_cast<char>(word >> shift & 0xFF);
    }
}

/// Keeps the order and makes an end that is smaller than any continuation.
template <class Bytes>
void AppendEscaped(const Bytes& bytes, std::string& key) {
    for (const auto byte : bytes) {
        key += static_cast<char>(byte);
        if (byte == 0) key += '\xFF';
    }
    key.append(2, '\0');
}

void AppendValueKey(jet::JetVersion version, const jet::Value& value, std::string& key) {
    switch (ClassOf(value)) {
        case ValueClass::Text: {
            std::vector<std::uint8_t> text;
            jet::AppendComparisonKey(version, std::get<std::string>(value), text);
            return AppendEscaped(text, key);
        }
        case ValueClass::Binary:
            return AppendEscaped(std::get<jet::Binary>(value), key);
        case ValueClass::Guid:
            key += jet::GuidText(std::get<jet::Guid>(value));
            return;
        default:
            break;
    }
    if (const auto* amount = std::get_if<jet::Currency>(&value)) return AppendMoneyKey(*amount, key);
    if (const auto* number = std::get_if<jet::Numeric>(&value)) return AppendNumericKey(*number, key);
    AppendNumberKey(ToDouble(value), key);
}

}  // namespace

bool IsComparison(Operator op) {
    return op >= Operator::Equal && op <= Operator::GreaterOrEqual;
}

int Compare(jet::JetVersion version, const jet::Value& left, const jet::Value& right) {
    const ValueClass a = ClassOf(left);
    const ValueClass b = ClassOf(right);
    if (IsCounting(a) && IsCounting(b)) return CompareNumbers(left, right);
    if (a == ValueClass::Text && b == ValueClass::Text)
        return jet::CompareText(version, std::get<std::string>(left), std::get<std::string>(right));
    if (a == ValueClass::Binary && b == ValueClass::Binary)
        return Order(std::get<jet::Binary>(left), std::get<jet::Binary>(right));
    const auto asGuid = [](const jet::Value& value) -> std::string {
        if (const auto* guid = std::get_if<jet::Guid>(&value)) return jet::GuidText(*guid);
        if (const auto* text = std::get_if<std::string>(&value))
            if (const auto guid = GuidOfLiteral(*text)) return jet::GuidText(*guid);
        RaiseTypeMismatch();
    };
    if (a == ValueClass::Guid || b == ValueClass::Guid) return Order(asGuid(left), asGuid(right));
    RaiseTypeMismatch();
}

bool Satisfies(Operator op, int order) {
    switch (op) {
        case Operator::Equal:
            return order == 0;
        case Operator::NotEqual:
            return order != 0;
        case Operator::Less:
            return order < 0;
        case Operator::Greater:
            return order > 0;
        case Operator::LessOrEqual:
            return order <= 0;
        default:
            return order >= 0;
    }
}

jet::Value Calculate(Operator op, const jet::Value& left, const jet::Value& right) {
    if (op == Operator::Concatenate) {
        if (jet::IsNull(left) && jet::IsNull(right)) return jet::Null{};
        return (jet::IsNull(left) ? std::string() : ToText(left)) +
               (jet::IsNull(right) ? std::string() : ToText(right));
    }
    if (jet::IsNull(left) || jet::IsNull(right)) return jet::Null{};
    const ValueClass a = ClassOf(left);
    const ValueClass b = ClassOf(right);
    if (op == Operator::Add && a == ValueClass::Text && b == ValueClass::Text)
        return std::get<std::string>(left) + std::get<std::string>(right);
    const bool dates = a == ValueClass::Date || b == ValueClass::Date;
    switch (op) {
        case Operator::Add:
        case Operator::Subtract:
            return dates ? AddDates(op, left, right) : AddOrMultiply(op, left, right);
        case Operator::Multiply:
            return AddOrMultiply(op, left, right);
        case Operator::Divide: {
            const double divisor = ToDouble(right);
            const double dividend = ToDouble(left);
            if (divisor == 0) RaiseDivisionByZero();
            return FromDouble(dividend / divisor);
        }
        case Operator::IntegerDivide:
        case Operator::Modulo:
            return DivideWhole(op, left, right);
        default:
            return Raise(ToDouble(left), ToDouble(right));
    }
}

jet::Value Negate(const jet::Value& value) {
    if (jet::IsNull(value)) return value;
    if (const auto* moment = std::get_if<jet::DateTime>(&value))
        return FromContinuousDays(-ToContinuousDays(*moment));
    if (const auto* number = std::get_if<jet::Numeric>(&value)) {
        jet::Numeric negated = *number;
        negated.negative = !negated.negative;
        return negated;
    }
    return AddOrMultiply(Operator::Subtract, std::int32_t{0}, value);
}

void AppendSortKey(jet::JetVersion version, const jet::Value& value, bool descending, std::string& key) {
    const std::size_t start = key.size();
    if (jet::IsNull(value)) {
        key += '\0';
    } else {
        key += '\1';
        AppendValueKey(version, value, key);
    }
    if (!descending) return;
    for (std::size_t i = start; i < key.size(); ++i) key[i] = static_cast<char>(~key[i]);
}

}  // namespace marrowkit::expression
