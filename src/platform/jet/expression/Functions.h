#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "platform/jet/format/Format.h"
#include "platform/jet/format/TableDefinition.h"
#include "platform/jet/format/Value.h"

namespace marrowkit::expression {

/// What a function is called with.
struct Arguments {
    std::span<const jet::Value> values;
    jet::JetVersion version;

    std::size_t Count() const { return values.size(); }
    const jet::Value& operator[](std::size_t i) const { return values[i]; }
    bool Has(std::size_t i) const { return i < values.size() && !jet::IsNull(values[i]); }
};

/// How the type of a result follows from the arguments.
enum class TypeRule : std::uint8_t {
    Fixed,           ///< not at all
    Magnitude,       ///< a number's own type; all whole numbers are Long
    Rounded,         ///< the same, but decimals become Double
    OneOfAll,        ///< the result is one of the arguments
    OneBehindFirst,  ///< one of those behind the first
    EverySecond,     ///< one of the second, fourth, ...
};

/// A function of the expression language.
struct Function {
    std::string_view name;
    std::uint8_t fewest;  ///< arguments
    std::uint8_t most;
    jet::Value (*call)(const Arguments& arguments);
    /// Type of the result where it does not depend on the arguments.
    std::optional<jet::ColumnType> type;
    /// Null as an argument gives Null without a call.
    bool nullMakesNull = true;
    /// The same arguments always give the same result.
    bool pure = true;
    TypeRule rule = TypeRule::Fixed;
};

/// The functions of one subject; each list stands in a file of its own.
std::span<const Function> TextFunctions();
std::span<const Function> NumberFunctions();
std::span<const Function> DateFunctions();
std::span<const Function> ConversionFunctions();

/// By name, ignoring case and a trailing $; nullptr when there is none.
const Function* FindFunction(std::string_view name);

}  // namespace marrowkit::expression
