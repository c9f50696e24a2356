#include <array>
#include <cmath>
#include <limits>
#include <random>

#include "platform/jet/expression/Conversion.h"
#include "platform/jet/expression/Functions.h"
#include "platform/jet/expression/Operators.h"

namespace marrowkit::expression {
namespace {

using jet::ColumnType;
using jet::Value;

bool IsExact(const Value& value) {
    return std::holds_alternative<bool>(value) || std::holds_alternative<std::uint8_t>(value) ||
           std::holds_alternative<std::int16_t>(value) || std::holds_alternative<std::int32_t>(value);
}

/// A number of the argument's own kind where the result always fits it.
Value Like(const Value& model, double number) {
    if (std::holds_alternative<float>(model)) return static_cast<float>(number);
    if (std::holds_alternative<jet::Currency>(model)) return ToCurrency(Value(number));
    if (std::holds_alternative<jet::DateTime>(model)) return jet::DateTime{number};
    if (!std::isfinite(number)) RaiseOverflow();
    return number;
}

/// The next whole amount below (`down`) or towards zero. Doubles have no room for the decimals of a large
/// one.
Value CutDecimals(jet::Currency amount, bool down) {
    constexpr std::int64_t kUnit = 10000;
    const std::int64_t rest = amount.tenThousandths % kUnit;
    const jet::Currency whole{amount.tenThousandths - rest};
    return rest < 0 && down ? AddCurrency(whole, {-kUnit}) : whole;
}

Value Abs(const Arguments& a) {
    if (std::holds_alternative<jet::Currency>(a[0]) || std::holds_alternative<jet::Numeric>(a[0]))
        return ToDouble(a[0]) < 0 ? Negate(a[0]) : a[0];
    if (IsExact(a[0])) return ToDouble(a[0]) < 0 ? Negate(a[0]) : a[0];
    return Like(a[0], std::abs(ToDouble(a[0])));
}

Value Int(const Arguments& a) {
    if (const auto* amount = std::get_if<jet::Currency>(&a[0])) return CutDecimals(*amount, true);
    return IsExact(a[0]) ? a[0] : Like(a[0], std::floor(ToDouble(a[0])));
}

Value Fix(const Arguments& a) {
    if (const auto* amount = std::get_if<jet::Currency>(&a[0])) return CutDecimals(*amount, false);
    return IsExact(a[0]) ? a[0] : Like(a[0], std::trunc(ToDouble(a[0])));
}

Value Sgn(const Arguments& a) {
    const double number = ToDouble(a[0]);
    return std::int16_t{static_cast<std::int16_t>(number < 0 ? -1 : (number > 0 ? 1 : 0))};
}

Value Sqr(const Arguments& a) {
    const double number = ToDouble(a[0]);
    if (number < 0) RaiseInvalidArgument();
    return std::sqrt(number);
}

Value Round(const Arguments& a) {
    const std::int32_t places = a.Count() > 1 ? ToLong(a[1]) : 0;
    if (places < 0 || places > 22) RaiseInvalidArgument();
    if (IsExact(a[0])) return a[0];
    const double scale = std::pow(10.0, places);
    const double number = ToDouble(a[0]);
    const double scaled = number * scale;
    if (std::abs(scaled) > 9e15) return Like(a[0], number);
    // 2.675 is stored a little below itself; the decimal digits decide what is a half.
    const double half = std::round(scaled * 2) / 2;
    const double exact = std::abs(scaled - half) < std::abs(scaled) * 1e-15 ? half : scaled;
    return Like(a[0], RoundHalfEven(exact) / scale);
}

template <double (*Map)(double)>
Value Apply(const Arguments& a) {
    const double result = Map(ToDouble(a[0]));
    if (std::isnan(result)) RaiseInvalidArgument();
    if (std::isinf(result)) RaiseOverflow();
    return result;
}

double NaturalLogarithm(double number) {
    return number > 0 ? std::log(number) : std::numeric_limits<double>::quiet_NaN();
}
double Exponential(double number) {
    return std::exp(number);
}
double Sine(double number) {
    return std::sin(number);
}
double Cosine(double number) {
    return std::cos(number);
}
double Tangent(double number) {
    return std::tan(number);
}
double Arctangent(double number) {
    return std::atan(number);
}

std::mt19937& Generator() {
    thread_local std::mt19937 generator{std::random_device{}()};
    return generator;
}

Value Rnd(const Arguments&) {
    return static_cast<float>(static_cast<double>(Generator()() >> 8) / 16777216.0);
}

Value GenUniqueId(const Arguments&) {
    return static_cast<std::int32_t>(Generator()());
}

Value GenGuid(const Arguments&) {
    jet::Guid guid;
    for (std::uint8_t& byte : guid.bytes) byte = static_cast<std::uint8_t>(Generator()());
    guid.bytes[7] = static_cast<std::uint8_t>((guid.bytes[7] & 0x0F) | 0x40);  // random, version 4
    guid.bytes[8] = static_cast<std::uint8_t>((guid.bytes[8] & 0x3F) | 0x80);
    return guid;
}

}  // namespace

std::span<const Function> NumberFunctions() {
    static const std::array kFunctions{
        Function{"Abs", 1, 1, Abs, std::nullopt, true, true, TypeRule::Magnitude},
        Function{"Int", 1, 1, Int, std::nullopt, true, true, TypeRule::Rounded},
        Function{"Fix", 1, 1, Fix, std::nullopt, true, true, TypeRule::Rounded},
        Function{"Sgn", 1, 1, Sgn, ColumnType::Integer},
        Function{"Sqr", 1, 1, Sqr, ColumnType::Double},
        Function{"Round", 1, 2, Round, std::nullopt, true, true, TypeRule::Rounded},
        Function{"Exp", 1, 1, Apply<Exponential>, ColumnType::Double},
        Function{"Log", 1, 1, Apply<NaturalLogarithm>, ColumnType::Double},
        Function{"Sin", 1, 1, Apply<Sine>, ColumnType::Double},
        Function{"Cos", 1, 1, Apply<Cosine>, ColumnType::Double},
        Function{"Tan", 1, 1, Apply<Tangent>, ColumnType::Double},
        Function{"Atn", 1, 1, Apply<Arctangent>, ColumnType::Double},
        Function{"Rnd", 0, 1, Rnd, ColumnType::Single, false, false},
        // The two expressions that random AutoNumbers and replication IDs have as their default.
        Function{"GenUniqueID", 0, 0, GenUniqueId, ColumnType::Long, false, false},
        Function{"GenGUID", 0, 0, GenGuid, ColumnType::Guid, false, false},
    };
    return kFunctions;
}

}  // namespace marrowkit::expression
