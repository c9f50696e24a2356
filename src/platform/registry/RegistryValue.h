#pragma once

#include <cstdint>
#include <string>
#include <variant>

namespace marrowkit {

/// What the program stores and asks for: a text, a single-precision float, a 32-bit integer.
using RegistryVariant = std::variant<std::string, float, std::int32_t>;

/// A value as the registry has it. Types that the program never uses are Other; they are known to exist and
/// left alone unless written over.
struct RegistryData {
    enum class Type { Text, ExpandableText, Number, Other };
    Type type = Type::Text;
    std::string text;          // Text, ExpandableText
    std::uint32_t number = 0;  // Number
};

}  // namespace marrowkit
